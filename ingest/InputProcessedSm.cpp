#include "ingest/InputProcessedSm.h"

#include "platform/vel/Trace.h"

namespace Tunnel::Gr {

void InputProcessedSm::handleTableComplete( TunnelTable::TunnelTableIdentifier tableId,
                                            bool tableComplete ) {
   const bool * quiesced = inputProcessedStatus_->tunnelTablesQuiesced().find( tableId );
   if ( !quiesced || *quiesced ) {
      return;
   }
   const auto & context = inputProcessedStatus_->tunnelGrContext();
   const bool restartComplete = context && context->restartComplete()();
   VEL_TRACE( 8, " table ", tableId, " tableComplete ", tableComplete, " restartComplete ",
              restartComplete );
   if ( tableComplete || restartComplete ) {
      inputProcessedStatus_->tunnelTablesQuiescedIs( tableId, true );
   }
}

Vel::Ptr< InputProcessedSm >
inputProcessedSmFactory( Vel::Ptr< InputProcessedStatus > inputProcessedStatus ) {
   return Vel::make< InputProcessedSm >( std::move( inputProcessedStatus ) );
}

} // namespace Tunnel::Gr
