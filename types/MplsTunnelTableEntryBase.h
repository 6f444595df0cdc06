#pragma once

#include <ostream>
#include <string>

#include "types/MplsVia.h"
#include "types/TunnelTableEntry.h"
#include "types/ViaList.h"

namespace Tunnel::TunnelTable {

// A protocol table entry whose tunnel leaves over a list of labelled vias:
// the generic entry and up to 600 MplsVias. The default value is the absent
// entry.
class MplsTunnelTableEntryBase {
 public:
   MplsTunnelTableEntryBase() = default;
   MplsTunnelTableEntryBase( TunnelId tunnelId, TunnelEntryPref pref )
         : entry_( tunnelId, pref ) {}

   const TunnelTableEntry & entry() const noexcept { return entry_; }
   void entryIs( const TunnelTableEntry & entry ) { entry_ = entry; }
   TunnelId tunnelId() const noexcept { return entry_.tunnelId(); }
   void endpointAdd( const Korvo::IpGenPrefix & tep ) { entry_.endpointAdd( tep ); }

   const ViaList< MplsVia > & mplsVia() const noexcept { return mplsVia_; }
   // The 601st via raises the ViaIndex range error.
   void mplsViaAdd( const MplsVia & via ) { mplsVia_.add( via ); }
   void mplsViaDelAll() noexcept { mplsVia_.delAll(); }

   explicit operator bool() const { return *this != MplsTunnelTableEntryBase(); }
   friend bool operator==( const MplsTunnelTableEntryBase &,
                           const MplsTunnelTableEntryBase & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::MplsTunnelTableEntryBase', ** {" + fieldsText() + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const MplsTunnelTableEntryBase & e ) {
      return os << e.stringValue();
   }

 protected:
   // The fields of the string form, for the kinds built on this one.
   std::string fieldsText() const {
      return "'entry': " + entry_.stringValue() + ", 'mplsVia': " + mplsVia_.stringValue();
   }

 private:
   TunnelTableEntry entry_;
   ViaList< MplsVia > mplsVia_;
};

// Static tunnels and SR-TE segment lists publish nothing beyond their vias.
using StaticTunnelTableEntry = MplsTunnelTableEntryBase;
using SrTeSegmentListTunnelTableEntry = MplsTunnelTableEntryBase;

} // namespace Tunnel::TunnelTable
