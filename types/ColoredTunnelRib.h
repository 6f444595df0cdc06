#pragma once

#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelRibTable.h"

namespace Tunnel::TunnelTable {

// A colored tunnel RIB: one entry per endpoint prefix and color.
class ColoredTunnelRib final : public TunnelRibTable< ColoredTunnelEndpoint > {};

Vel::Ptr< ColoredTunnelRib > coloredTunnelRibFactory();

} // namespace Tunnel::TunnelTable
