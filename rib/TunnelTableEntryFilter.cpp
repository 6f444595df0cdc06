#include "rib/TunnelTableEntryFilter.h"

namespace Tunnel::TunnelTable {

void TunnelTableEntryFilter::preferenceIs( TunnelId id, std::uint32_t pref ) {
   const std::uint32_t * current = preference_.find( id );
   if ( current && *current == pref ) {
      return;
   }
   preference_.set( id, pref );
}

Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilterFactory() {
   return Vel::make< TunnelTableEntryFilter >();
}

} // namespace Tunnel::TunnelTable
