#include "types/TunnelRib.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< TunnelRib > tunnelRibFactory() { return Vel::make< TunnelRib >(); }

} // namespace Tunnel::TunnelTable
