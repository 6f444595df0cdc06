#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "platform/korvo/IpGenPrefix.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// The entry of an SR-TE policy tunnel: the policy's endpoint and color, its
// metric and IGP-cost preference. It has no preference of its own: its
// generic entry always carries 255.
class SrTePolicyTunnelTableEntry {
 public:
   static constexpr TunnelEntryPref entryPref = 255;

   SrTePolicyTunnelTableEntry() = default;
   SrTePolicyTunnelTableEntry( TunnelId tunnelId, const Korvo::IpGenPrefix & tep,
                               TunnelColor color )
         : tunnelId_( tunnelId ), tep_( tep ), color_( color ) {}

   TunnelId tunnelId() const noexcept { return tunnelId_; }
   const Korvo::IpGenPrefix & tep() const noexcept { return tep_; }
   TunnelColor color() const noexcept { return color_; }
   std::uint32_t metric() const noexcept { return metric_; }
   void metricIs( std::uint32_t metric ) noexcept { metric_ = metric; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t pref ) noexcept { igpCostPref_ = pref; }

   // The generic entry: the tunnel with preference 255, serving its endpoint.
   TunnelTableEntry entry() const {
      TunnelTableEntry generic( tunnelId_, entryPref );
      generic.endpointAdd( tep_ );
      return generic;
   }

   explicit operator bool() const { return *this != SrTePolicyTunnelTableEntry(); }
   friend bool operator==( const SrTePolicyTunnelTableEntry &,
                           const SrTePolicyTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::SrTePolicyTunnelTableEntry', ** {'tunnelId': " +
             tunnelId_.stringValue() + ", 'tep': " + tep_.stringValue() +
             ", 'color': " + std::to_string( color_ ) + ", 'metric': " + std::to_string( metric_ ) +
             ", 'igpCostPref': " + std::to_string( igpCostPref_ ) + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const SrTePolicyTunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelId tunnelId_;
   Korvo::IpGenPrefix tep_;
   TunnelColor color_ = 0;
   std::uint32_t metric_ = 0;
   std::uint32_t igpCostPref_ = 0;
};

} // namespace Tunnel::TunnelTable
