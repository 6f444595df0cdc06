#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/Snapshot.h"

namespace TunnelSim {

// { "restartTracking", "restartComplete", "ribs": { "<id>": record },
//   "fib": record or null }, where a record is { "backlogEmpty",
// "tunnelTablesProcessed", "input": null or { "backlogsEmpty",
// "tablesQuiesced": { "<table>": bool }, "inputProcessedSm" } }.
Json gracefulRestartJson( const GracefulRestartView & view );
// The same as a compact table for a person: a line for the context, then a
// row per RIB record and one for the FIB's.
std::string gracefulRestartTable( const GracefulRestartView & view );

} // namespace TunnelSim
