#pragma once

#include <string>

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/Snapshot.h"

namespace TunnelSim {

// { "entries", "encaps", "unprogrammable" }: every entry in tunnel id order
// with its vias, every published encapsulation in encap id order with its
// reference count, and the unprogrammable tunnels in id order.
Json fibJson( const FibView & fib );
// The same as aligned tables for a person.
std::string fibTable( const FibView & fib );

} // namespace TunnelSim
