#include "ingest/TunnelTableTypeFilter.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< TunnelTableTypeFilter > tunnelTableTypeFilterFactory() {
   return Vel::make< TunnelTableTypeFilter >();
}

} // namespace Tunnel::TunnelTable
