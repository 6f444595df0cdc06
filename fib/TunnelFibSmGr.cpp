#include "fib/TunnelFibSm.h"
#include "ingest/ProtocolTunnelGr.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

// The tunnel FIB machine's part in graceful restart.

namespace Tunnel::TunnelTable {

namespace {

constexpr Mox::TaskPriority cleanupTaskPriority{ 2 };

} // namespace

void TunnelFibSm::initializeGr() {
   postGrCleanupTask_ =
      Vel::make< Mox::Task >( scheduler_, cleanupTaskPriority, "TunnelFibSm GR Cleanup" );
   postGrCleanupTaskReactor_ = postGrCleanupTask_->onRun( [ this ] { doCleanupPostGr(); } );
   tunnelGrContext_ = tunnelFibGrStatus_->tunnelGrContext();
   inputProcessedStatus_ = Vel::make< Gr::InputProcessedStatus >( tunnelGrContext_ );
   inputProcessedSm_ = Gr::inputProcessedSmFactory( inputProcessedStatus_ );
   backlogsEmptyReactor_ =
      inputProcessedStatus_->backlogsEmpty().react( [ this ] { markGrStatusBacklogEmpty(); } );
   // A new restart: what the previous run reported no longer holds.
   tunnelFibGrStatus_->tunnelFibSmBacklogEmptyIs( false );
   grStatusBacklogEmptyReactor_ = tunnelFibGrStatus_->tunnelFibSmBacklogEmpty().react( [ this ] {
      if ( tunnelFibGrStatus_->tunnelFibSmBacklogEmpty()() && postGrCleanupTask_ ) {
         scheduler_->scheduleTask( *postGrCleanupTask_ );
      }
   } );
   if ( tunnelGrContext_ ) {
      restartCompleteReactor_ = tunnelGrContext_->restartComplete().react( [ this ] {
         handleQuiescedNotification();
         maybeMarkInputProcessedBacklogEmpty();
      } );
   }
   handleLdpEntryControl();
   // With nothing queued the task never runs to say so.
   maybeMarkInputProcessedBacklogEmpty();
}

// Tracks the LDP table's completeness while it is published.
void TunnelFibSm::handleLdpEntryControl() {
   if ( !inputProcessedStatus_ ) {
      return;
   }
   if ( !ldpTable_ ) {
      ldpControlReactor_ = Vel::Reactor();
      ldpTableCompleteReactor_ = Vel::Reactor();
      ldpEntryControl_ = nullptr;
      inputProcessedStatus_->tunnelTablesQuiescedDel( TunnelTableIdentifier::ldpTable );
      maybeMarkInputProcessedBacklogEmpty();
      return;
   }
   if ( !inputProcessedStatus_->tunnelTablesQuiesced().has( TunnelTableIdentifier::ldpTable ) ) {
      inputProcessedStatus_->tunnelTablesQuiescedIs( TunnelTableIdentifier::ldpTable, false );
      ldpControlReactor_ = ldpTable_->entry().control().react( [ this ] { handleLdpEntryControl(); } );
   }
   if ( ldpEntryControl_ != ldpTable_->entry().control()() ) {
      ldpEntryControl_ = ldpTable_->entry().control()();
      ldpTableCompleteReactor_ =
         ldpEntryControl_
            ? ldpEntryControl_->tableComplete().react( [ this ] { handleQuiescedNotification(); } )
            : Vel::Reactor();
   }
   handleQuiescedNotification();
}

void TunnelFibSm::handleQuiescedNotification() {
   VEL_ASSERT( inputProcessedStatus_, "inputProcessedStatus should be initialized" );
   if ( !inputProcessedSm_ ) {
      return;
   }
   for ( const auto & [ tableId, quiesced ] : inputProcessedStatus_->tunnelTablesQuiesced() ) {
      VEL_ASSERT( grSupportedForTableId( tableId ), "GR not supported for this table" );
      if ( !quiesced ) {
         addTunnelTablesQuiesced( tableId );
      }
   }
   maybeMarkInputProcessedBacklogEmpty();
}

// Lets the GR machine record the table as quiesced once its producer has
// declared it complete, or the restart has ended without it.
void TunnelFibSm::addTunnelTablesQuiesced( TunnelTableIdentifier tableId ) {
   VEL_ASSERT( grSupportedForTableId( tableId ), "GR is not supported for this tunnel table" );
   if ( ldpTable_ ) {
      Gr::handleQuiesced( *ldpTable_, *inputProcessedSm_ );
   }
}

void TunnelFibSm::maybeMarkInputProcessedBacklogEmpty() {
   if ( !inputProcessedStatus_ || inputProcessedStatus_->backlogsEmpty()() ||
        !tunnelForReview_.empty() || !inputProcessedStatus_->allTablesQuiesced() ) {
      return;
   }
   VEL_TRACE( 8, "Set InputProcessedStatus::backlogsEmpty to true for TunnelFibSm" );
   inputProcessedStatus_->backlogsEmptyIs( true );
}

void TunnelFibSm::markGrStatusBacklogEmpty() {
   if ( !inputProcessedStatus_->backlogsEmpty()() ) {
      return;
   }
   VEL_TRACE( 8, "Set tunnelFibSmBacklogEmpty to true" );
   tunnelFibGrStatus_->tunnelFibSmBacklogEmptyIs( true );
   maybeUpdateGrCounters();
}

void TunnelFibSm::maybeUpdateGrCounters() {
   VEL_TRACE( 8, "Update counters for TunnelTablesProcessed stage for TunnelFib" );
   tunnelFibGrStatus_->tunnelTablesProcessedInc();
}

void TunnelFibSm::doCleanupPostGr() {
   VEL_ASSERT( inputProcessedSm_, "InputProcessedSm should be present" );
   VEL_TRACE( 8, "Remove InputProcessedSm" );
   inputProcessedSmDel();
}

} // namespace Tunnel::TunnelTable
