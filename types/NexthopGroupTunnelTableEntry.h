#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "platform/korvo/IpGenPrefix.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// The entry of a nexthop-group tunnel: an endpoint forwarded through a
// configured nexthop group, with a metric and an IGP-cost preference. It has
// no preference of its own: its generic entry always carries 25.
class NexthopGroupTunnelTableEntry {
 public:
   static constexpr TunnelEntryPref entryPref = 25;

   NexthopGroupTunnelTableEntry() = default;
   NexthopGroupTunnelTableEntry( TunnelId tunnelId, const Korvo::IpGenPrefix & tep,
                                 std::uint64_t nexthopGroupId )
         : tunnelId_( tunnelId ), tep_( tep ), nexthopGroupId_( nexthopGroupId ) {}

   TunnelId tunnelId() const noexcept { return tunnelId_; }
   const Korvo::IpGenPrefix & tep() const noexcept { return tep_; }
   std::uint64_t nexthopGroupId() const noexcept { return nexthopGroupId_; }
   std::uint32_t metric() const noexcept { return metric_; }
   void metricIs( std::uint32_t metric ) noexcept { metric_ = metric; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t pref ) noexcept { igpCostPref_ = pref; }

   // The generic entry: the tunnel with preference 25, serving its endpoint.
   TunnelTableEntry entry() const {
      TunnelTableEntry generic( tunnelId_, entryPref );
      generic.endpointAdd( tep_ );
      return generic;
   }

   explicit operator bool() const { return *this != NexthopGroupTunnelTableEntry(); }
   friend bool operator==( const NexthopGroupTunnelTableEntry &,
                           const NexthopGroupTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::NexthopGroupTunnelTableEntry', ** {'tunnelId': " +
             tunnelId_.stringValue() + ", 'tep': " + tep_.stringValue() +
             ", 'nexthopGroupId': " + std::to_string( nexthopGroupId_ ) +
             ", 'metric': " + std::to_string( metric_ ) +
             ", 'igpCostPref': " + std::to_string( igpCostPref_ ) + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const NexthopGroupTunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelId tunnelId_;
   Korvo::IpGenPrefix tep_;
   std::uint64_t nexthopGroupId_ = 0;
   std::uint32_t metric_ = 0;
   std::uint32_t igpCostPref_ = 0;
};

} // namespace Tunnel::TunnelTable
