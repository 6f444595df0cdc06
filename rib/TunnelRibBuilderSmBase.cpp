#include "rib/TunnelRibBuilderSmBase.h"

#include <stdexcept>

#include "platform/vel/Trace.h"

// Construction, the builder's tasks, and the reports of the protocol
// reactors, the entry filter and the configuration; selection, the review
// backlog and restart handling live in the files named after them.

namespace Tunnel::TunnelTable {

TunnelRibBuilderSmBase::TunnelRibBuilderSmBase(
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter, Vel::Ptr< TunnelRibBase > tunnelRib,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler, Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus )
      : TableEntrySm( std::move( tunnelTableEntities ), std::move( tunnelIdColl ) ),
        tunnelTableEntryFilter_( std::move( tunnelTableEntryFilter ) ),
        tunnelRib_( std::move( tunnelRib ) ), protoTunnelRibColl_( std::move( protoTunnelRibColl ) ),
        scheduler_( std::move( scheduler ) ), tunnelRibConfig_( std::move( tunnelRibConfig ) ),
        tunnelRibGrStatus_( std::move( tunnelRibGrStatus ) ) {
   preferenceReactor_ = tunnelTableEntryFilter_->preference().react(
      [ this ]( const TunnelId & tunnelId ) { handlePreference( tunnelId ); } );
   configReactor_ = tunnelRibConfig_->entry().react(
      [ this ]( const TunnelTableIdentifier & table ) { handleConfigEntry( table ); } );
   for ( const auto & [ table, entry ] : tunnelRibConfig_->entry() ) {
      handleConfigEntry( table );
   }
}

TunnelRibBuilderSmBase::~TunnelRibBuilderSmBase() {
   preferenceReactor_.zombieIs();
   configReactor_.zombieIs();
   for ( auto & [ table, reactors ] : configEntryReactors_ ) {
      reactors.igpCostPrefMapping.zombieIs();
      reactors.igpCostPref.zombieIs();
   }
   grStatusBacklogEmptyReactor_.zombieIs();
   tablesQuiescedReactor_.zombieIs();
   postCleanupGrTaskDel();
   tunnelRibReviewTaskDel();
   taskDel();
}

void TunnelRibBuilderSmBase::handleConfigEntry( TunnelTableIdentifier table ) {
   auto entry = tunnelRibConfig_->entry( table );
   if ( !entry ) {
      configEntryReactors_.erase( table );
      return;
   }
   ConfigEntryReactors & reactors = configEntryReactors_[ table ];
   if ( reactors.entry == entry ) {
      return;
   }
   reactors.entry = entry;
   reactors.igpCostPrefMapping =
      entry->igpCostPrefMapping().react( [ this, table ] { handleIgpCostPrefMapping( table ); } );
   // The mapped value matters as much as the mapping itself.
   reactors.igpCostPref =
      entry->igpCostPref().react( [ this, table ] { handleIgpCostPrefMapping( table ); } );
}

void TunnelRibBuilderSmBase::handleInitialized() {
   VEL_TRACE( 8 );
   taskIs( taskPriority, taskName );
   internalTunnelRibIs();
   verifyProtoTunnelRibColl();
   initializeInputProcessedSm();
   handleTunnelTableEntity();
   tunnelRibReviewTaskIs( taskPriority, tunnelRibReviewTaskName );
   tunnelReviewBookmark_ = TunnelId();
   tepBookmark_ = ColoredTunnelEndpoint();
   initialized_ = true;
}

void TunnelRibBuilderSmBase::verifyProtoTunnelRibColl() {
   VEL_TRACE( 8 );
   if ( !protoTunnelRibColl_ ) {
      return;
   }
   for ( const auto & [ type, wrapper ] : protoTunnelRibColl_->protocolTunnelRib() ) {
      assertProtoTunnelRib( type );
   }
}

void TunnelRibBuilderSmBase::assertProtoTunnelRib( TunnelType tunnelType ) const {
   auto wrapper = protoTunnelRibColl_->protocolTunnelRib( tunnelType );
   if ( !wrapper ) {
      throw std::logic_error( "protocolTunnelRib missing for tunnelType " +
                              stringValue( tunnelType ) );
   }
   if ( !wrapper->tunnelRib() ) {
      throw std::logic_error( "protocolTunnelRib::tunnelRib missing for tunnelType " +
                              stringValue( tunnelType ) );
   }
}

// --- Tasks.

void TunnelRibBuilderSmBase::taskIs( Mox::TaskPriority priority, const char * name ) {
   task_ = Vel::make< Mox::Task >( scheduler_, priority, name );
   taskRunReactor_ = task_->onRun( [ this ] { drainTunnelBacklog(); } );
   taskWorkPendingReactor_ = task_->workPending().react( [ this ] {
      if ( !task_->workPending()() ) {
         maybeMarkInputProcessedBacklogEmpty();
      }
   } );
}

void TunnelRibBuilderSmBase::taskDel() {
   if ( !task_ ) {
      return;
   }
   taskRunReactor_.zombieIs();
   taskWorkPendingReactor_.zombieIs();
   scheduler_->unscheduleTask( *task_ );
   task_.reset();
}

void TunnelRibBuilderSmBase::tunnelRibReviewTaskIs( Mox::TaskPriority priority,
                                                    const char * name ) {
   tunnelRibReviewTask_ = Vel::make< Mox::Task >( scheduler_, priority, name );
   tunnelRibReviewTaskReactor_ = tunnelRibReviewTask_->onRun( [ this ] { doTunnelRibReview(); } );
}

void TunnelRibBuilderSmBase::tunnelRibReviewTaskDel() {
   if ( !tunnelRibReviewTask_ ) {
      return;
   }
   tunnelRibReviewTaskReactor_.zombieIs();
   scheduler_->unscheduleTask( *tunnelRibReviewTask_ );
   tunnelRibReviewTask_.reset();
}

// --- Reports.

void TunnelRibBuilderSmBase::handleTunnelTableEntry( const TunnelId & tunnelId,
                                                     TunnelTableIdentifier, bool isDeletion ) {
   VEL_TRACE( 8, "handleTunnelTableEntry", " tunnel ID ", tunnelId, ", isDeletion ", isDeletion,
              " for rib id ", tunnelRibId() );
   tunnelForReviewIs( tunnelId );
   tunnelRibConvergenceCallback();
}

void TunnelRibBuilderSmBase::handleUnprogrammableEntry( const TunnelId & tunnelId ) {
   VEL_TRACE( 8, " tunnel ID ", tunnelId );
   handleTunnelTableEntry( tunnelId, TunnelTableIdentifier::invalidTable, false );
}

void TunnelRibBuilderSmBase::handlePreference( TunnelId tunnelId ) {
   const bool held = tunnelTableEntryFilter_->preferenceHas( tunnelId );
   if ( held ) {
      refreshCandidatePreference( tunnelId );
   }
   // The flag is true while the filter holds the id; it only reaches the
   // trace, and the review finds out the rest.
   handleTunnelTableEntry( tunnelId, TunnelTableIdentifier::invalidTable, held );
}

void TunnelRibBuilderSmBase::handleIgpCostPrefMapping( TunnelTableIdentifier table ) {
   VEL_TRACE( 8, " tableId: ", table );
   tepBookmark_ = ColoredTunnelEndpoint();
   if ( tunnelRibReviewTask_ ) {
      scheduler_->scheduleTask( *tunnelRibReviewTask_ );
   }
}

// --- Dump.

const char * TunnelRibBuilderSmBase::dumpName() const {
   return isColored() ? "ColoredTunnelRibBuilderSm" : "TunnelRibBuilderSm";
}

void TunnelRibBuilderSmBase::dumpState( Mox::DumpContext & ctx, unsigned indent ) const {
   ctx.printf( "%*c%s tunnelRibId %u tunnelForReview %zu\n", static_cast< int >( indent ), ' ',
               dumpName(), tunnelRibId().value(), tunnelForReview_.size() );
}

} // namespace Tunnel::TunnelTable
