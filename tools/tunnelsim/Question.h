#pragma once

#include <optional>
#include <string>

#include "tools/tunnelsim/JsonValue.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelId.h"

namespace TunnelSim {

// What an explain or graph step asks about the agent's state.
struct Question {
   enum class Kind { endpoint, tunnel, graph };

   Kind kind = Kind::endpoint;
   // The endpoint asked about, colored when the step gives a color.
   Tunnel::TunnelTable::ColoredTunnelEndpoint endpoint;
   // The tunnel asked about; for a graph, the tunnel it is limited to.
   std::optional< Tunnel::TunnelTable::TunnelId > tunnel;
};

// { "explain": "<prefix>" [, "color": n] }, { "explain": "<tunnel id>" } or
// { "graph": "dot" [, "tunnel": "<tunnel id>"] } (and a "comment"); nothing
// when the step has neither verb.
std::optional< Question > readQuestion( const JsonValue & step );

} // namespace TunnelSim
