#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// Indented JSON in which an object or array that holds only scalars (or
// arrays of scalars) stays on one line: one RIB entry per line.
std::string prettyJson( const Json & json );

} // namespace TunnelSim
