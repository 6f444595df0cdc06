#pragma once

#include <string>

#include "tools/tunnelsim/Explanation.h"
#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// An explanation as JSON (its fields are listed in docs/why.md), and as text
// for a person. A graph's answer carries its DOT text.
Json explanationJson( const Explanation & explanation );
std::string explanationText( const Explanation & explanation );

} // namespace TunnelSim
