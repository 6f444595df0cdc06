#include "types/TunnelTableInfoCollection.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< TunnelTableInfoCollection > tunnelTableInfoCollectionFactory() {
   return Vel::make< TunnelTableInfoCollection >();
}

} // namespace Tunnel::TunnelTable
