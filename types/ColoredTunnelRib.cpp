#include "types/ColoredTunnelRib.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< ColoredTunnelRib > coloredTunnelRibFactory() {
   return Vel::make< ColoredTunnelRib >();
}

} // namespace Tunnel::TunnelTable
