#include "types/EncapsulatedTableEntry.h"

#include <algorithm>
#include <sstream>

namespace Tunnel::TunnelTable {

std::uint32_t EncapsulatedTableEntry::igpCostPref() const noexcept {
   switch ( tunnelId_.tunnelType() ) {
    case TunnelType::bgpLuTunnel:
      return bgpLuEntry().igpCostPref();
    case TunnelType::ldpTunnel:
      return ldpEntry().igpCostPref();
    case TunnelType::srTunnel:
    case TunnelType::ospfSrTunnel:
      return srEntry().igpCostPref();
    case TunnelType::nexthopGroupTunnel:
      return nexthopGroupEntry().igpCostPref();
    case TunnelType::srTePolicyTunnel:
      return srTePolicyEntry().igpCostPref();
    case TunnelType::rsvpLerTunnel:
      return rsvpLerEntry().igpCostPref();
    default:
      return 0;
   }
}

ColoredTunnelEndpointList EncapsulatedTableEntry::tunnelEndpoints() const {
   std::optional< TunnelColor > color;
   if ( tunnelId_.tunnelType() == TunnelType::srTePolicyTunnel ) {
      color = srTePolicyEntry().color();
   } else if ( tunnelId_.tunnelType() == TunnelType::rsvpLerTunnel ) {
      color = rsvpLerEntry().color();
   }
   ColoredTunnelEndpointList teps;
   for ( unsigned i = 0; i < entry_.endpointCount(); ++i ) {
      const auto & tep = entry_.endpoint( i );
      const ColoredTunnelEndpoint colored =
         color ? ColoredTunnelEndpoint( tep, *color ) : ColoredTunnelEndpoint( tep );
      const auto at = std::lower_bound( teps.begin(), teps.end(), colored );
      if ( at == teps.end() || *at != colored ) {
         teps.insert( at, colored );
      }
   }
   return teps;
}

ColoredTunnelEndpointSet EncapsulatedTableEntry::tunnelEndpointSet() const {
   ColoredTunnelEndpointSet teps;
   for ( const auto & tep : tunnelEndpoints() ) {
      teps.coloredTepIs( tep );
   }
   return teps;
}

std::string EncapsulatedTableEntry::stringValue() const {
   std::ostringstream os;
   os << "Value('Tunnel::TunnelTable::EncapsulatedTableEntry', ** {'tunnelId': " << tunnelId_
      << ", 'entry': " << entry_ << ", 'bgpLuEntry': " << bgpLuEntry()
      << ", 'srEntry': " << srEntry() << ", 'ldpEntry': " << ldpEntry()
      << ", 'rsvpLerEntry': " << rsvpLerEntry() << ", 'staticEntry': " << staticEntry()
      << ", 'nexthopGroupEntry': " << nexthopGroupEntry()
      << ", 'srTePolicyEntry': " << srTePolicyEntry() << ", 'flexAlgoEntry': " << flexAlgoEntry()
      << "})";
   return os.str();
}

} // namespace Tunnel::TunnelTable
