#pragma once

#include <cstdint>

#include "types/EncapsulatedTableEntry.h"
#include "types/TunnelId.h"
#include "types/TunnelRibConfig.h"

namespace Tunnel::TunnelTable {

// The IGP-cost preference a tunnel RIB keeps for the entry: the configured
// one when the RIB maps the IGP-cost preference of the entry's table (mapping
// 1), else the entry's own. The RIB must be configured with that table.
std::uint32_t getIgpCostPref( const TunnelId & tunnelId, const EncapsulatedTableEntry & entry,
                              const TunnelRibConfig & config );

} // namespace Tunnel::TunnelTable
