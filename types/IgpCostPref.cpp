#include "types/IgpCostPref.h"

#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

std::uint32_t getIgpCostPref( const TunnelId & tunnelId, const EncapsulatedTableEntry & entry,
                              const TunnelRibConfig & config ) {
   const auto protoEntry = config.entry( tunnelId.tableType() );
   VEL_ASSERT( protoEntry, "config.entryHas( tunnelId.tableType() )" );
   if ( protoEntry->igpCostPrefMapping()() == 1 ) {
      return protoEntry->igpCostPref()();
   }
   return entry.igpCostPref();
}

} // namespace Tunnel::TunnelTable
