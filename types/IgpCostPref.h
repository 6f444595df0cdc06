#pragma once

#include <cstdint>

#include "types/EncapsulatedTableEntry.h"
#include "types/TunnelId.h"
#include "types/TunnelRibConfig.h"

namespace Tunnel::TunnelTable {

// The IGP-cost preference a tunnel RIB keeps for the entry: the entry's own
// value as the RIB's configuration of the entry's table maps it.
std::uint32_t getIgpCostPref( const TunnelId & tunnelId, const EncapsulatedTableEntry & entry,
                              const TunnelRibConfig & config );

} // namespace Tunnel::TunnelTable
