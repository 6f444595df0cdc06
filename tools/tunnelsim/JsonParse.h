#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// Parses scenario text, in time linear in its length. Refuses, with
// ScenarioError, text that is not JSON (saying at which line and column, and
// in which value), text after a NUL byte, objects that name one key twice,
// which JSON parsers otherwise resolve silently, and nesting deeper than
// JsonDocumentBuilder::maxDepth.
Json parseJson( const std::string & text );

} // namespace TunnelSim
