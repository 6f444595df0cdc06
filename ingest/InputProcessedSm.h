#pragma once

#include "platform/vel/Ptr.h"
#include "types/InputProcessedStatus.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::Gr {

// Decides, for one consumer's InputProcessedStatus, when a tracked protocol
// table is quiesced: once its producer has declared the table complete, or
// once the restart is over (nothing more is worth waiting for). A quiesced
// table stays quiesced until it stops being tracked.
class InputProcessedSm : public Vel::PtrInterface {
 public:
   explicit InputProcessedSm( Vel::Ptr< InputProcessedStatus > inputProcessedStatus )
         : inputProcessedStatus_( std::move( inputProcessedStatus ) ) {}

   const Vel::Ptr< InputProcessedStatus > & inputProcessedStatus() const noexcept {
      return inputProcessedStatus_;
   }

   // The producer's completeness of a table, as its collection control says.
   void handleTableComplete( TunnelTable::TunnelTableIdentifier tableId, bool tableComplete );

 private:
   Vel::Ptr< InputProcessedStatus > inputProcessedStatus_;
};

Vel::Ptr< InputProcessedSm >
inputProcessedSmFactory( Vel::Ptr< InputProcessedStatus > inputProcessedStatus );

// Hands a tracked table's completeness to the GR machine. Table is a protocol
// tunnel table whose collection control has been declared.
template< class Table >
void handleQuiesced( const Table & table, InputProcessedSm & inputProcessedSm ) {
   const auto & control = table.entry().control()();
   inputProcessedSm.handleTableComplete( table.tunnelTableId(),
                                         control && control->tableComplete()() );
}

} // namespace Tunnel::Gr
