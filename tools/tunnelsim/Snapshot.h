#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelRibEntry.h"
#include "types/TunnelRibId.h"
#include "types/TunnelType.h"

namespace TunnelSim {

class Agent;

// One tunnel RIB as the agent has written it.
struct RibView {
   Tunnel::TunnelTable::TunnelRibId id;
   // The configured name of the id; empty when no name has it any more.
   std::string name;
   bool colored = false;
   // In the RIB's own order.
   std::vector< Tunnel::TunnelTable::TunnelRibEntry > entries;
};

// What a print shows: every tunnel RIB mounted at the status paths, in id
// order, and what else was asked for.
struct Snapshot {
   std::string label;
   // Where in the script the print stands, and its verb ("print", "dump");
   // both empty for the final print.
   std::string step;
   std::string verb;
   double time = 0;
   std::vector< RibView > ribs;
   // The system RIB's per-type RIBs, when asked for.
   std::vector< std::pair< Tunnel::TunnelTable::TunnelType, RibView > > protocolRibs;
   // Per RIB id, the sequence number written when the RIB caught up with
   // BGP-LU.
   std::map< Tunnel::TunnelTable::TunnelRibId, std::uint64_t > convergence;
   // The machines' state dump, when asked for.
   std::string dump;
};

struct SnapshotOptions {
   bool protocolRibs = false;
   bool dump = false;
};

Snapshot takeSnapshot( const Agent & agent, const SnapshotOptions & options );

// A RIB entry's key within all RIBs: the RIB and the endpoint it is kept
// under (the prefix alone in an uncolored RIB).
using RibEntryKey = std::pair< Tunnel::TunnelTable::TunnelRibId,
                               Tunnel::TunnelTable::ColoredTunnelEndpoint >;
std::map< RibEntryKey, const Tunnel::TunnelTable::TunnelRibEntry * >
ribEntriesByKey( const Snapshot & snapshot );

} // namespace TunnelSim
