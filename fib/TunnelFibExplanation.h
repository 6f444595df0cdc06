#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "fib/TunnelFibCalcResult.h"
#include "fib/TunnelFibSm.h"
#include "platform/korvo/MplsLabelOperation.h"
#include "types/TunnelFibEntry.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// Why the tunnel FIB holds what it holds for one tunnel, and the graph of
// tunnels over tunnels, read on demand from the FIB machine's own state: its
// FIB, its dependency sets, its backlog and the flags of each tunnel's last
// via calculation. Where a finding must be derived again (which lower via a
// flattened via came through, which stack did not fit) it is derived with
// the label operations and entropy-label rule the via calculation uses.

// Where a tunnel stands in the FIB, the first that holds of: its last update
// was deferred (the FIB keeps what it had); it has an entry; it is listed
// unprogrammable; it has no table entry; its entry does not contribute; it
// has yet to be computed.
enum class TunnelFibState : std::uint8_t {
   programmed,
   deferred,
   unprogrammable,
   missing,
   notContributing,
   notReady,
};

// How a lower tunnel served the tunnel resting on it, by the tests and in
// the order of the via calculation.
enum class LowerTunnelState : std::uint8_t {
   resolved,         // its vias carried this tunnel's vias
   cycle,            // it rests on this tunnel: the cycle closes here
   notReady,         // still to be computed
   missing,          // no table entry
   notContributing,  // its entry does not contribute to the FIB
   unprogrammable,   // no programmed via
};

struct LowerTunnelFinding {
   TunnelId tunnelId;
   LowerTunnelState state = LowerTunnelState::resolved;
   // Merged stacks that did not fit, as (this tunnel's labels, the lower
   // via's labels); their sum is past MplsLabelOperation::maxStackSize.
   std::vector< std::pair< unsigned, unsigned > > stacksTooDeep;
};

// One level of a flattened via, top first: a tunnel's own labels in the
// merged stack and, but for the last level, the lower tunnel's programmed via
// it rests on (the next level's tunnel). The last level leaves by the via's
// next hop and interface.
struct ViaChainLink {
   TunnelId tunnelId;
   Korvo::MplsLabelOperation labels;
   std::optional< TunnelFib::TunnelVia > over;
   TunnelId overTunnel;
   Korvo::MplsLabelOperation overLabels;
};

struct ExplainedVia {
   TunnelFib::TunnelVia via;
   // What its encapsulation holds, when that is a label stack.
   std::optional< Korvo::MplsLabelOperation > labels;
   // How a label stack of this tunnel's primary vias came to be; empty when
   // no table via explains it (the entry waits to be computed again).
   std::vector< ViaChainLink > chain;
};

enum class UnprogrammableCause : std::uint8_t {
   none,
   noTableVia,    // the table entry lists no via
   lowerTunnels,  // no via came through its lower tunnels (see lowerTunnels)
   tooManyVias,   // more vias than a FIB entry holds
};

struct TunnelFibExplanation {
   TunnelId tunnelId;
   bool tableEntryPresent = false;
   bool contributing = false;
   bool pendingReview = false;
   bool markedUnprocessed = false;
   TunnelFibState state = TunnelFibState::notReady;
   UnprogrammableCause unprogrammableCause = UnprogrammableCause::none;
   // Vias of the FIB entry, in its order.
   std::vector< ExplainedVia > vias;
   std::vector< ExplainedVia > backupVias;
   TunnelFibSm::LastViaCalculation lastViaCalculation;
   // One per lower tunnel the last calculation met, in id order.
   std::vector< LowerTunnelFinding > lowerTunnels;
   // Directly, and everything beneath; the tunnels directly over it.
   std::vector< TunnelId > restsOn;
   std::vector< TunnelId > restsOnAll;
   std::vector< TunnelId > restedOnBy;
};

TunnelFibExplanation explainTunnel( const TunnelFibSm & fibSm, TunnelId tunnelId );

// The tunnel-over-tunnel graph: a node per tunnel with a FIB entry, a listing
// as unprogrammable or a dependency, an edge per "resolves over" relation.
struct TunnelGraph {
   struct Node {
      TunnelId tunnelId;
      TunnelFibState state = TunnelFibState::programmed;
      bool inCycle = false;
   };
   struct Edge {
      TunnelId upper;
      TunnelId lower;
      bool inCycle = false;
      // The via calculation of upper found the cycle closing over lower.
      bool closesCycle = false;
   };
   // Both in tunnel id order.
   std::vector< Node > nodes;
   std::vector< Edge > edges;
};

// With a focus, only the focus, what it rests on and what rests on it.
TunnelGraph tunnelGraph( const TunnelFibSm & fibSm, std::optional< TunnelId > focus = {} );

} // namespace Tunnel::TunnelTable
