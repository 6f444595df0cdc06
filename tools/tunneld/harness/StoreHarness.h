#pragma once

#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/tunneld/InputKeys.h"
#include "tools/tunneld/RedisLink.h"
#include "tools/tunnelsim/JsonValue.h"

namespace TunnelD::Harness {

using KeyValues = std::vector< std::pair< std::string, std::string > >;

// The input keys that give tunneld what a scenario sets up before its script:
// toggles, settings, every table entry and description, the RIBs.
KeyValues scenarioInputKeys( const KeySchema & schema, const TunnelSim::Json & scenario );

// Writes every key in one pipelined burst.
void writeAll( RedisLink & link, const KeyValues & keys );

// Every string key matching the pattern with its value, read at one moment
// by a server-side script, so no write falls in between.
std::map< std::string, std::string > readAtOnce( RedisLink & link, const std::string & pattern );

// Writes the sync token and waits until tunneld has applied and published
// everything written before it; false when it has not within the time.
bool synced( RedisLink & link, const KeySchema & schema, const std::string & token,
             double seconds );

} // namespace TunnelD::Harness
