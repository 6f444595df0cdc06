#include "rib/TunnelRibBuilderSm.h"

#include "platform/mox/TaskScheduler.h"
#include "rib/TunnelRibWalks.h"

namespace Tunnel::TunnelTable {

TunnelRibBuilderSm::TunnelRibBuilderSm(
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter, Vel::Ptr< TunnelRibBase > tunnelRib,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler, Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus,
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< TunnelConvergence > tunnelConvergence, Vel::Ptr< Vel::Clock > clock )
      : TunnelRibBuilderSmBase( std::move( tunnelTableEntities ), std::move( tunnelIdColl ),
                                std::move( tunnelTableEntryFilter ), std::move( tunnelRib ),
                                std::move( protoTunnelRibColl ), std::move( scheduler ),
                                std::move( tunnelRibConfig ), std::move( tunnelRibGrStatus ) ),
        bgpLuConvergence_( std::move( bgpLuConvergence ) ),
        tunnelConvergence_( std::move( tunnelConvergence ) ), clock_( std::move( clock ) ) {
   handleInitialized();
   initTunnelRib();
}

TunnelRib * TunnelRibBuilderSm::tunnelRibRawPtr() const {
   return dynamic_cast< TunnelRib * >( tunnelRib().get() );
}

void TunnelRibBuilderSm::processTunnelRibReview() {
   if ( TunnelRib * rib = tunnelRibRawPtr() ) {
      processTunnelRibTReview( *rib, tepBookmark().tep(), *this );
   }
}

void TunnelRibBuilderSm::initTunnelRib() {
   if ( clock_ ) {
      clock_->minTimeIs( Mox::TaskScheduler::infinity );
   }
   removeStaleEntries( tunnelRib() );
   handleBgpLuConverged();
}

void TunnelRibBuilderSm::handleBgpLuConverged() {}

Vel::Ptr< TunnelRibBuilderSm >
tunnelRibBuilderSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                           Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                           Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                           Vel::Ptr< TunnelRibBase > tunnelRib,
                           Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                           Vel::Ptr< Mox::TaskScheduler > scheduler,
                           Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                           Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus,
                           Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                           Vel::Ptr< TunnelConvergence > tunnelConvergence,
                           Vel::Ptr< Vel::Clock > clock ) {
   return Vel::make< TunnelRibBuilderSm >(
      std::move( tunnelTableEntities ), std::move( tunnelIdColl ),
      std::move( tunnelTableEntryFilter ), std::move( tunnelRib ), std::move( protoTunnelRibColl ),
      std::move( scheduler ), std::move( tunnelRibConfig ), std::move( tunnelRibGrStatus ),
      std::move( bgpLuConvergence ), std::move( tunnelConvergence ), std::move( clock ) );
}

} // namespace Tunnel::TunnelTable
