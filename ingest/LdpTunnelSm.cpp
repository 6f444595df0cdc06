#include "ingest/LdpTunnelSm.h"

#include "ingest/ProtocolTunnelGr.h"

namespace Tunnel::TunnelTable {

void LdpTunnelSm::initializeGrAttrs() {
   initializeGrAttributes( *this );
   tableControlReactor_ = table()->entry().control().react( [ this ] {
      if ( tableEntrySm()->inputProcessedSm() ) {
         tableEntryControlIs( table()->entry().control()() );
         propagateQuiescedNotification();
      }
   } );
}

void LdpTunnelSm::propagateQuiescedNotification() { propagateQuiesced( *this ); }

} // namespace Tunnel::TunnelTable
