#include "rib/ColoredTunnelRibBuilderSm.h"

#include "rib/TunnelRibWalks.h"

namespace Tunnel::TunnelTable {

ColoredTunnelRibBuilderSm::ColoredTunnelRibBuilderSm(
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter, Vel::Ptr< TunnelRibBase > tunnelRib,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler, Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus )
      : TunnelRibBuilderSmBase( std::move( tunnelTableEntities ), std::move( tunnelIdColl ),
                                std::move( tunnelTableEntryFilter ), std::move( tunnelRib ),
                                std::move( protoTunnelRibColl ), std::move( scheduler ),
                                std::move( tunnelRibConfig ), std::move( tunnelRibGrStatus ) ) {
   handleInitialized();
   initTunnelRib();
}

ColoredTunnelRib * ColoredTunnelRibBuilderSm::coloredTunnelRibRawPtr() const {
   return dynamic_cast< ColoredTunnelRib * >( tunnelRib().get() );
}

void ColoredTunnelRibBuilderSm::processTunnelRibReview() {
   if ( ColoredTunnelRib * rib = coloredTunnelRibRawPtr() ) {
      processTunnelRibTReview( *rib, tepBookmark(), *this );
   }
}

void ColoredTunnelRibBuilderSm::initTunnelRib() { removeStaleEntries( tunnelRib() ); }

Vel::Ptr< ColoredTunnelRibBuilderSm >
coloredTunnelRibBuilderSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                  Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                                  Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                                  Vel::Ptr< TunnelRibBase > tunnelRib,
                                  Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                                  Vel::Ptr< Mox::TaskScheduler > scheduler,
                                  Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                                  Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus ) {
   return Vel::make< ColoredTunnelRibBuilderSm >(
      std::move( tunnelTableEntities ), std::move( tunnelIdColl ),
      std::move( tunnelTableEntryFilter ), std::move( tunnelRib ), std::move( protoTunnelRibColl ),
      std::move( scheduler ), std::move( tunnelRibConfig ), std::move( tunnelRibGrStatus ) );
}

} // namespace Tunnel::TunnelTable
