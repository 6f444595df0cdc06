#pragma once

#include "platform/vel/RangeException.h"

namespace Tunnel::TunnelTable {

// An index into the tunnel ids of one RIB entry: 600 slots.
using TunnelIdCollIndex = Vel::BoundedIndex< "TunnelIdCollIndex", unsigned, 0u, 599u >;

constexpr unsigned maxTunnelIdsPerRibEntry = TunnelIdCollIndex::max + 1;

} // namespace Tunnel::TunnelTable
