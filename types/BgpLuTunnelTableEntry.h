#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "platform/korvo/MplsLabelOperation.h"
#include "types/TunnelTableEntry.h"
#include "types/Via.h"
#include "types/ViaList.h"

namespace Tunnel::TunnelTable {

// Whether BGP has selected a labeled-unicast tunnel for use; only a
// contributing tunnel may enter a tunnel RIB or the tunnel FIB.
enum class BgpLuContribution : std::uint8_t { notContributing = 0, contributing = 1 };

// The entry of a BGP labeled-unicast tunnel (and of its push variant): plain
// vias that all apply the one label operation, the contribution state, and
// the metrics BGP learnt with the route.
class BgpLuTunnelTableEntry {
 public:
   BgpLuTunnelTableEntry() = default;
   BgpLuTunnelTableEntry( TunnelId tunnelId, TunnelEntryPref pref ) : entry_( tunnelId, pref ) {}

   const TunnelTableEntry & entry() const noexcept { return entry_; }
   void entryIs( const TunnelTableEntry & entry ) { entry_ = entry; }
   TunnelId tunnelId() const noexcept { return entry_.tunnelId(); }
   void endpointAdd( const Korvo::IpGenPrefix & tep ) { entry_.endpointAdd( tep ); }

   const ViaList< Via > & via() const noexcept { return via_; }
   // The 601st via raises the ViaIndex range error.
   void viaAdd( const Via & via ) { via_.add( via ); }
   void viaDelAll() noexcept { via_.delAll(); }
   const Korvo::MplsLabelOperation & labelOperation() const noexcept { return labelOperation_; }
   void labelOperationIs( const Korvo::MplsLabelOperation & op ) { labelOperation_ = op; }

   BgpLuContribution contribution() const noexcept { return contribution_; }
   void contributionIs( BgpLuContribution c ) noexcept { contribution_ = c; }

   std::uint32_t m() const noexcept { return m_; }
   void mIs( std::uint32_t m ) noexcept { m_ = m; }
   std::uint32_t metricType() const noexcept { return metricType_; }
   void metricTypeIs( std::uint32_t metricType ) noexcept { metricType_ = metricType; }
   std::uint32_t m2() const noexcept { return m2_; }
   void m2Is( std::uint32_t m2 ) noexcept { m2_ = m2; }
   std::uint32_t p2() const noexcept { return p2_; }
   void p2Is( std::uint32_t p2 ) noexcept { p2_ = p2; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t pref ) noexcept { igpCostPref_ = pref; }

   explicit operator bool() const { return *this != BgpLuTunnelTableEntry(); }
   friend bool operator==( const BgpLuTunnelTableEntry &, const BgpLuTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::BgpLuTunnelTableEntry', ** {'entry': " +
             entry_.stringValue() + ", 'via': " + via_.stringValue() +
             ", 'labelOperation': " + labelOperation_.stringValue() + ", 'contribution': " +
             ( contribution_ == BgpLuContribution::contributing ? "contributing"
                                                                : "notContributing" ) +
             ", 'm': " + std::to_string( m_ ) + ", 'metricType': " + std::to_string( metricType_ ) +
             ", 'm2': " + std::to_string( m2_ ) + ", 'p2': " + std::to_string( p2_ ) +
             ", 'igpCostPref': " + std::to_string( igpCostPref_ ) + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const BgpLuTunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelTableEntry entry_;
   ViaList< Via > via_;
   Korvo::MplsLabelOperation labelOperation_;
   BgpLuContribution contribution_ = BgpLuContribution::notContributing;
   std::uint32_t m_ = 0;
   std::uint32_t metricType_ = 0;
   std::uint32_t m2_ = 0;
   std::uint32_t p2_ = 0;
   std::uint32_t igpCostPref_ = 0;
};

using BgpLuPushTunnelTableEntry = BgpLuTunnelTableEntry;

} // namespace Tunnel::TunnelTable
