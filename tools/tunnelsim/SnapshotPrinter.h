#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/Snapshot.h"
#include "types/TunnelRibEntry.h"

namespace TunnelSim {

// { "endpoint", "color", "preference", "tunnelIds", "m", "metricType", "m2",
//   "igpCostPref", "p2" }
Json ribEntryJson( const Tunnel::TunnelTable::TunnelRibEntry & entry );
Json snapshotJson( const Snapshot & snapshot );
// The agent's time as printed: seconds, to the microsecond.
double roundedTime( double time );
// Aligned tables for a person.
std::string snapshotTable( const Snapshot & snapshot );

} // namespace TunnelSim
