#include "rib/TunnelRibBuilderSmBase.h"

#include <string>

#include "platform/toggles/FeatureToggles.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

// Graceful restart of a RIB: the input status that says when the RIB has
// processed its tables, the RIB's GR status and counters, and the cleanup
// once the restart is over.

namespace Tunnel::TunnelTable {

namespace {

// GR messages go to the trace and to the fast-trace ring, where a
// post-mortem finds them.
void traceGr( const char * signature, const std::string & message ) {
   VEL_TRACE_AS( signature, 8, message );
   Vel::fastTrace( "%s", message.c_str() );
}

} // namespace

void TunnelRibBuilderSmBase::initializeInputProcessedSm() {
   VEL_ASSERT( !inputProcessedStatus(),
               "inputProcessedStatus should not exist before initialisation" );
   VEL_ASSERT( !inputProcessedSm(), "inputProcessedSm should not exist before initialisation" );
   // Without a GR status record no restart is tracked, and nothing would
   // read what the input status says.
   if ( !tunnelRibGrStatus_ ) {
      return;
   }
   if ( Toggles::toggleEnabled( "MplsL3VpnSso" ) ) {
      postCleanupGrTaskIs( taskPriority, postCleanupGrTaskName );
   }
   auto status = Vel::make< Gr::InputProcessedStatus >( tunnelRibGrStatus_->tunnelGrContext() );
   inputProcessedStatusIs( status );
   // A table quiesced while the backlog is already empty completes the
   // input; nothing else would test it again.
   tablesQuiescedReactor_ = status->tunnelTablesQuiesced().react(
      [ this ]( const TunnelTableIdentifier & ) { maybeMarkInputProcessedBacklogEmpty(); } );
}

// Run when the backlog task goes idle, when a tracked table is quiesced and
// when the restart ends. The backlog counts as empty only once the builder is
// initialized (its first pass has queued every entry there is) and every
// tracked table is quiesced (its producer has written all it had).
void TunnelRibBuilderSmBase::maybeMarkInputProcessedBacklogEmpty() {
   const auto & status = inputProcessedStatus();
   if ( !status || status->backlogsEmpty()() || !initialized_ ) {
      return;
   }
   if ( !tunnelForReview_.empty() || !status->allTablesQuiesced() ) {
      return;
   }
   traceGr( __PRETTY_FUNCTION__,
            Vel::traceText( "Set InputProcessedStatus::backlogsEmpty to true for tunnelRibId: ",
                            tunnelRibId() ) );
   status->backlogsEmptyIs( true );
}

// Run when the input status's backlogsEmpty changes.
void TunnelRibBuilderSmBase::markGrStatusBacklogEmpty() {
   const auto & status = inputProcessedStatus();
   if ( !status || !status->backlogsEmpty()() || !tunnelRibGrStatus_ ||
        tunnelRibGrStatus_->tunnelRibSmBacklogEmpty()() ) {
      return;
   }
   traceGr( __PRETTY_FUNCTION__,
            Vel::traceText( "Set tunnelRibSmBacklogEmpty to true for tunnelRibId: ",
                            tunnelRibId() ) );
   tunnelRibGrStatus_->tunnelRibSmBacklogEmptyIs( true );
   maybeUpdateGrCounters();
}

// Counts, once per restart, the RIB having processed all of its tunnel
// tables: run right after tunnelRibSmBacklogEmpty is set.
void TunnelRibBuilderSmBase::maybeUpdateGrCounters() {
   VEL_ASSERT( tunnelRibGrStatus_, "tunnelRibGrStatus is not present" );
   const auto & counters = tunnelRibGrStatus_->grCounters();
   VEL_ASSERT( counters, "Counters not initialized" );
   VEL_ASSERT( counters->tunnelRibUpdateCounterHas( tunnelRibId() ),
               "TunnelRib counters not initialized" );
   counters->tunnelRibUpdateCounter( tunnelRibId() )->tunnelTablesProcessedInc();
   traceGr( __PRETTY_FUNCTION__,
            Vel::traceText( "Update counters for TunnelTablesProcessed stage for tunnelRibId: ",
                            tunnelRibId() ) );
}

void TunnelRibBuilderSmBase::doCleanupPostGr() {
   VEL_ASSERT( tunnelRibGrStatus_, "TunnelRibGrStatus should be present" );
   VEL_ASSERT( inputProcessedSm(), "InputProcessedSm should be present" );
   traceGr( __PRETTY_FUNCTION__,
            Vel::traceText( "Remove InputProcessedSm for tunnelRibId: ", tunnelRibId() ) );
   inputProcessedSmDel();
}

void TunnelRibBuilderSmBase::postCleanupGrTaskIs( Mox::TaskPriority priority,
                                                  const char * name ) {
   postCleanupGrTask_ = Vel::make< Mox::Task >( scheduler_, priority, name );
   postCleanupGrTaskReactor_ = postCleanupGrTask_->onRun( [ this ] { doCleanupPostGr(); } );
   grStatusBacklogEmptyReactor_ = tunnelRibGrStatus_->tunnelRibSmBacklogEmpty().react( [ this ] {
      if ( tunnelRibGrStatus_->tunnelRibSmBacklogEmpty()() && postCleanupGrTask_ ) {
         scheduler_->scheduleTask( *postCleanupGrTask_ );
      }
   } );
}

void TunnelRibBuilderSmBase::postCleanupGrTaskDel() {
   if ( !postCleanupGrTask_ ) {
      return;
   }
   postCleanupGrTaskReactor_.zombieIs();
   grStatusBacklogEmptyReactor_.zombieIs();
   scheduler_->unscheduleTask( *postCleanupGrTask_ );
   postCleanupGrTask_.reset();
}

} // namespace Tunnel::TunnelTable
