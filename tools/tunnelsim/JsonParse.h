#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// Parses scenario text. Refuses, with ScenarioError, text that is not JSON
// (saying at which line and column, and in which value) and objects that name
// one key twice, which JSON parsers otherwise resolve silently.
Json parseJson( const std::string & text );

} // namespace TunnelSim
