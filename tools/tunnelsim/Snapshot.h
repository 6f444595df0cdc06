#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "platform/korvo/MplsLabelOperation.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/EncapId.h"
#include "types/GreTunnelInfo.h"
#include "types/IpsecGreTunnelInfo.h"
#include "types/IpsecVtiTunnelInfo.h"
#include "types/TunnelFibEntry.h"
#include "types/TunnelRibEntry.h"
#include "types/TunnelRibId.h"
#include "types/TunnelTableIdentifier.h"
#include "types/TunnelType.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelSim {

// One tunnel RIB as the agent has written it.
struct RibView {
   Tunnel::TunnelTable::TunnelRibId id;
   // The configured name of the id; empty when no name has it any more.
   std::string name;
   bool colored = false;
   // In the RIB's own order.
   std::vector< Tunnel::TunnelTable::TunnelRibEntry > entries;
};

// The tunnel FIB as its tables hold it; read from the tables alone, so it
// shows the same whether the machines run or not.
struct FibView {
   using EncapValue = std::variant< Korvo::MplsLabelOperation, Tunnel::GreTunnelInfo,
                                    Tunnel::IpsecVtiTunnelInfo, Tunnel::IpsecGreTunnelInfo >;
   struct Encap {
      EncapValue value;
      // How many primary and backup vias of the entries name the encap.
      std::uint32_t refCount = 0;
      // The running writer's own count, kept only when it differs.
      std::optional< std::uint32_t > writerRefCount;
   };

   // In tunnel id order.
   std::vector< Tunnel::TunnelFib::TunnelFibEntry > entries;
   // Every published encapsulation, in encap id order.
   std::map< Tunnel::TunnelFib::EncapId, Encap > encaps;
   // In tunnel id order.
   std::vector< Tunnel::TunnelTable::TunnelId > unprogrammable;
};

// One consumer's part in graceful restart (a RIB builder's or the FIB
// machine's): what its GR status record says, and while the machine runs,
// its input-processed status.
struct GrRecordView {
   struct Input {
      // Set once every tracked table is quiesced and the backlog is empty.
      bool backlogsEmpty = false;
      // Per tracked table, whether it is quiesced.
      std::map< Tunnel::TunnelTable::TunnelTableIdentifier, bool > tablesQuiesced;
      // Whether the input-processed machine is still there; the cleanup after
      // the restart drops it.
      bool inputProcessedSm = false;
   };

   // tunnelRibSmBacklogEmpty or tunnelFibSmBacklogEmpty.
   bool backlogEmpty = false;
   // The counter of the tunnel-tables-processed stage.
   std::uint64_t tunnelTablesProcessed = 0;
   // Absent while the machine is stopped, or runs without an input status.
   std::optional< Input > input;
};

// The agent's graceful-restart records: its GR context, each RIB's GR status
// record, and the FIB's when the FIB machine takes part (the agent runs it
// with "MplsL3VpnSso" on).
struct GracefulRestartView {
   bool restartTracking = false;
   bool restartComplete = false;
   std::map< Tunnel::TunnelTable::TunnelRibId, GrRecordView > ribs;
   std::optional< GrRecordView > fib;
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
   // Per RIB id, the sequence number the RIB last reported to BGP-LU
   // convergence.
   std::map< Tunnel::TunnelTable::TunnelRibId, std::uint64_t > convergence;
   // Absent when no RIB has a GR status record and the FIB takes no part.
   std::optional< GracefulRestartView > gracefulRestart;
   // Absent when the agent runs without its FIB machine.
   std::optional< FibView > fib;
   // The machines' state dump, when asked for.
   std::string dump;
};

struct SnapshotOptions {
   bool protocolRibs = false;
   bool dump = false;
};

Snapshot takeSnapshot( const Tunnel::TunnelAgent & agent, const SnapshotOptions & options );

// A RIB entry's key within all RIBs: the RIB and the endpoint it is kept
// under (the prefix alone in an uncolored RIB).
using RibEntryKey = std::pair< Tunnel::TunnelTable::TunnelRibId,
                               Tunnel::TunnelTable::ColoredTunnelEndpoint >;
std::map< RibEntryKey, const Tunnel::TunnelTable::TunnelRibEntry * >
ribEntriesByKey( const Snapshot & snapshot );

} // namespace TunnelSim
