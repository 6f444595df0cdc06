#include "rib/TunnelRibBuilderSm.h"

#include "platform/mox/TaskScheduler.h"
#include "platform/vel/Trace.h"
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
   bgpLuConvergenceReactor_ =
      bgpLuConvergence_->converged().react( [ this ] { handleBgpLuConverged(); } );
   clockReactor_ = clock_->react( [ this ] { handleConvergenceUpdateWaitMax(); } );
   handleInitialized();
   initTunnelRib();
}

TunnelRibBuilderSm::~TunnelRibBuilderSm() {
   bgpLuConvergenceReactor_.zombieIs();
   clockReactor_.zombieIs();
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
   clock_->minTimeIs( Mox::TaskScheduler::infinity );
   removeStaleEntries( tunnelRib() );
   // BGP-LU may have converged before this builder existed.
   handleBgpLuConverged();
}

void TunnelRibBuilderSm::handleBgpLuConverged() {
   const bool converged = bgpLuConvergence_->converged()();
   VEL_TRACE( 8, ": bgpLuConverged: ", converged );
   if ( !tunnelTableEntities()->bgpLuTable() ) {
      VEL_TRACE( 8, ": BGP isn't mounted" );
      return;
   }
   if ( !converged ) {
      VEL_TRACE( 8, ": routing agent restarted, so reset the waiting-for-convergence process." );
      waitingToNotifyConverged_ = false;
      clock_->minTimeIs( clock_->now() - 1.0 );
      return;
   }
   if ( maybeUpdateTunnelRibConvergenceSeqno() ) {
      return;
   }
   waitingToNotifyConverged_ = true;
   clock_->minTimeIs( clock_->now() + convergenceUpdateWaitMax );
   VEL_TRACE( 8, ": , start ", convergenceUpdateWaitMax, " seconds wait for bgpLuConvergence" );
}

bool TunnelRibBuilderSm::maybeUpdateTunnelRibConvergenceSeqno() {
   const bool backlogEmpty = tunnelForReview().empty();
   if ( !backlogEmpty ) {
      VEL_TRACE( 8, ": backlog not empty" );
   }
   const auto bgpLuTable = tunnelTableEntities()->bgpLuTable();
   if ( !bgpLuTable ) {
      // Gone while the RIB waited: the clock still bounds the wait.
      VEL_TRACE( 8, ": BGP isn't mounted" );
      return false;
   }
   if ( bgpLuTable->entry().sequenceNumber() < bgpLuConvergence_->bgpLuTableSeqno() ) {
      VEL_TRACE( 8, ": bgpLu mirra sequence no. not caught up." );
      return false;
   }
   if ( !backlogEmpty ) {
      return false;
   }
   VEL_TRACE( 8, ": review backlog is empty and bgpLu mirra sequence number has caught up." );
   updateTunnelRibConvergenceSeqno();
   return true;
}

void TunnelRibBuilderSm::updateTunnelRibConvergenceSeqno() {
   const std::uint64_t seqno = tunnelRib()->sequenceNumber();
   tunnelConvergence_->tunnelRibConvergenceSeqnoIs( tunnelRibId(), seqno );
   VEL_TRACE( 8, "Updated Tunnel RIB convergence sequence number for ribId ", tunnelRibId(),
              " to ", seqno );
   waitingToNotifyConverged_ = false;
}

void TunnelRibBuilderSm::tunnelRibConvergenceCallback() {
   if ( waitingToNotifyConverged_ ) {
      maybeUpdateTunnelRibConvergenceSeqno();
   }
}

void TunnelRibBuilderSm::handleConvergenceUpdateWaitMax() {
   if ( waitingToNotifyConverged_ ) {
      VEL_TRACE( 8, ": convergence timer expired." );
      updateTunnelRibConvergenceSeqno();
   } else {
      VEL_TRACE( 8, ": already declared convergence before timer expired." );
   }
}

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
