#pragma once

#include "fib/ConsolidatedTunnelFibEntry.h"
#include "fib/TunnelFibCalcResult.h"
#include "types/MplsVia.h"

namespace Tunnel::TunnelTable {

class TunnelFibSm;

// Computes the vias of the tunnel named by the consolidated entry from its
// protocol table entry, as far as the FIB machine's tables and the FIB allow,
// and appends them to the entry.
TunnelFibCalcResult calculateTunnelFibEntryVias( TunnelFibSm & fibSm,
                                                 ConsolidatedTunnelFibEntry & consFibEntry );

// Resolves one via of that tunnel: over the lower tunnel's programmed entry
// when it leaves through a dynamic tunnel interface, else as it stands.
TunnelFibViaCalcResult calculateTunnelFibEntryMplsVia( TunnelFibSm & fibSm,
                                                       ConsolidatedTunnelFibEntry & consFibEntry,
                                                       const MplsVia & mplsVia );

} // namespace Tunnel::TunnelTable
