#include "types/TunnelIdColl.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< TunnelIdColl > tunnelIdCollFactory() { return Vel::make< TunnelIdColl >(); }

} // namespace Tunnel::TunnelTable
