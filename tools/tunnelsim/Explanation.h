#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "fib/TunnelFibExplanation.h"
#include "rib/TunnelRibExplanation.h"
#include "tools/tunnelsim/Question.h"
#include "types/TunnelRibId.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelSim {

// One RIB's part of an endpoint's explanation.
struct RibExplanation {
   Tunnel::TunnelTable::TunnelRibId id;
   std::string name;
   Tunnel::TunnelTable::EndpointExplanation endpoint;
};

// Where a tunnel wins: a RIB, the endpoint, and whether it is the winner or
// in the ECMP set beside it.
struct TunnelWin {
   Tunnel::TunnelTable::TunnelRibId id;
   std::string name;
   Tunnel::TunnelTable::ColoredTunnelEndpoint endpoint;
   bool winner = false;
};

// The answer to a question, read from the agent's machines as they are.
struct Explanation {
   Question question;
   // Where the step stands ("$.script[3]"); empty for the command line's.
   std::string step;
   double time = 0;
   // False while the agent's machines are stopped: they know nothing then.
   bool running = true;
   // Whether the agent runs its FIB machine.
   bool tunnelFib = true;

   // An endpoint: every RIB that knows it, by id; and the FIB's explanation of
   // every tunnel the FIB could not program among their candidates.
   std::vector< RibExplanation > ribs;
   std::map< Tunnel::TunnelTable::TunnelId, Tunnel::TunnelTable::TunnelFibExplanation >
      unprogrammable;

   // A tunnel.
   std::optional< Tunnel::TunnelTable::TunnelFibExplanation > tunnelFibExplanation;
   std::vector< TunnelWin > wins;

   // A graph.
   Tunnel::TunnelTable::TunnelGraph graph;
};

Explanation explain( const Tunnel::TunnelAgent & agent, const Question & question );

} // namespace TunnelSim
