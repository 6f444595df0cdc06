#pragma once

#include <functional>
#include <map>
#include <string>

#include "tools/tunneld/InputKeys.h"
#include "tools/tunnelsim/JsonValue.h"

namespace TunnelD {

// The inputs held in the store (every input key with its value) as a
// tunnelsim scenario, so a change can be tried on a copy of the live state.
// Keys tunneld would refuse are reported through `refuse` and left out.
TunnelSim::Json scenarioOf(
   const KeySchema & schema, const std::map< std::string, std::string > & inputs,
   const std::function< void( const std::string & key, const std::string & reason ) > & refuse );

} // namespace TunnelD
