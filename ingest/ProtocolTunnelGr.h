#pragma once

#include "ingest/InputProcessedSm.h"
#include "platform/vel/Assert.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

// Graceful restart is tracked for the LDP table only.
constexpr bool grSupportedForTableId( TunnelTableIdentifier tunnelTableId ) noexcept {
   return tunnelTableId == TunnelTableIdentifier::ldpTable;
}

// Points a protocol reactor's GR attributes at its table's collection control
// and at the tunnel GR context of its owner's input status.
template< class Sm >
void initializeGrAttributes( Sm & sm ) {
   auto * owner = sm.tableEntrySm();
   VEL_ASSERT( owner->inputProcessedStatus(), "inputProcessedStatus should be initialized" );
   VEL_ASSERT( owner->inputProcessedSm(), "inputProcessedSm should be initialized" );
   VEL_ASSERT( grSupportedForTableId( sm.tunnelTableId() ),
               "GR is not supported for this tunnel table" );
   sm.tableEntryControlIs( sm.table()->entry().control()() );
   sm.tunnelGrContextIs( owner->inputProcessedStatus()->tunnelGrContext() );
}

// Lets the owner's GR machine decide whether the reactor's table is now
// quiesced.
template< class Sm >
void propagateQuiesced( Sm & sm ) {
   auto * owner = sm.tableEntrySm();
   if ( !owner->inputProcessedSm() ) {
      return;
   }
   VEL_ASSERT( owner->inputProcessedStatus(), "inputProcessedStatus must be initialized" );
   if ( grSupportedForTableId( sm.tunnelTableId() ) && sm.table()->entry().control()() ) {
      Gr::handleQuiesced( *sm.table(), *owner->inputProcessedSm() );
   }
}

} // namespace Tunnel::TunnelTable
