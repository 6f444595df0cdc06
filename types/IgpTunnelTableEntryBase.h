#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "types/MplsTunnelTableEntryBase.h"

namespace Tunnel::TunnelTable {

// An IGP's preference of a path, as the IGP publishes it with the tunnel.
using TunnelIgpPref = std::uint32_t;

// The entry of an IGP-derived tunnel (LDP, IS-IS and OSPF segment routing,
// IS-IS flex-algo): its vias, the IGP metric m with a second metric m2, the
// IGP preference p with a second preference p2, and the IGP-cost preference.
class IgpTunnelTableEntryBase : public MplsTunnelTableEntryBase {
 public:
   IgpTunnelTableEntryBase() = default;
   IgpTunnelTableEntryBase( TunnelId tunnelId, TunnelEntryPref pref )
         : MplsTunnelTableEntryBase( tunnelId, pref ) {}

   std::uint32_t m() const noexcept { return m_; }
   void mIs( std::uint32_t m ) noexcept { m_ = m; }
   std::uint32_t m2() const noexcept { return m2_; }
   void m2Is( std::uint32_t m2 ) noexcept { m2_ = m2; }
   TunnelIgpPref p() const noexcept { return p_; }
   void pIs( TunnelIgpPref p ) noexcept { p_ = p; }
   TunnelIgpPref p2() const noexcept { return p2_; }
   void p2Is( TunnelIgpPref p2 ) noexcept { p2_ = p2; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t pref ) noexcept { igpCostPref_ = pref; }

   explicit operator bool() const { return *this != IgpTunnelTableEntryBase(); }
   friend bool operator==( const IgpTunnelTableEntryBase &,
                           const IgpTunnelTableEntryBase & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::IgpTunnelTableEntryBase', ** {" + fieldsText() + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const IgpTunnelTableEntryBase & e ) {
      return os << e.stringValue();
   }

 protected:
   std::string fieldsText() const {
      return MplsTunnelTableEntryBase::fieldsText() + ", 'm': " + std::to_string( m_ ) +
             ", 'm2': " + std::to_string( m2_ ) + ", 'p': " + std::to_string( p_ ) +
             ", 'p2': " + std::to_string( p2_ ) +
             ", 'igpCostPref': " + std::to_string( igpCostPref_ );
   }

 private:
   std::uint32_t m_ = 0;
   std::uint32_t m2_ = 0;
   TunnelIgpPref p_ = 0;
   TunnelIgpPref p2_ = 0;
   std::uint32_t igpCostPref_ = 0;
};

using LdpTunnelTableEntry = IgpTunnelTableEntryBase;
using FlexAlgoTunnelTableEntry = IgpTunnelTableEntryBase;

} // namespace Tunnel::TunnelTable
