#pragma once

#include <string>

#include "fib/TunnelFibExplanation.h"

namespace TunnelSim {

// The tunnel-over-tunnel graph in Graphviz DOT: a box per tunnel with its id,
// type and FIB state, an arrow from each tunnel to each tunnel it resolves
// over. Unprogrammable and deferred tunnels are dashed, tunnels and arrows
// of a cycle red, and the arrow where the via calculation found the cycle
// closing is labelled so.
std::string graphDot( const Tunnel::TunnelTable::TunnelGraph & graph );

// The state's name as explanations print it ("programmed", "notReady").
const char * stateName( Tunnel::TunnelTable::TunnelFibState state );

} // namespace TunnelSim
