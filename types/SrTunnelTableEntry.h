#pragma once

#include <ostream>
#include <string>

#include "types/IgpTunnelTableEntryBase.h"

namespace Tunnel::TunnelTable {

// The entry of an IS-IS or OSPF segment-routing tunnel. A fresh entry carries
// the "sr" default preference, 65, and that fresh entry is the absent one.
class SrTunnelTableEntry : public IgpTunnelTableEntryBase {
 public:
   static constexpr TunnelEntryPref freshPref = 65;

   SrTunnelTableEntry() : IgpTunnelTableEntryBase( TunnelId(), freshPref ) {}
   SrTunnelTableEntry( TunnelId tunnelId, TunnelEntryPref pref )
         : IgpTunnelTableEntryBase( tunnelId, pref ) {}

   explicit operator bool() const { return *this != SrTunnelTableEntry(); }
   friend bool operator==( const SrTunnelTableEntry &, const SrTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::SrTunnelTableEntry', ** {" + fieldsText() + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const SrTunnelTableEntry & e ) {
      return os << e.stringValue();
   }
};

} // namespace Tunnel::TunnelTable
