#include "ingest/TunnelTableEntities.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< TunnelTableEntities > tunnelTableEntitiesFactory() {
   return Vel::make< TunnelTableEntities >();
}

} // namespace Tunnel::TunnelTable
