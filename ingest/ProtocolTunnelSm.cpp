#include "ingest/ProtocolTunnelSm.h"

#include <algorithm>
#include <vector>

#include "ingest/TableEntrySm.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

ProtocolTunnelSm::ProtocolTunnelSm( TableEntrySm * tableEntrySm,
                                    Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                    Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId )
      : tableEntrySm_( tableEntrySm ), tunnelTableEntities_( std::move( tunnelTableEntities ) ),
        unprogrammableTunnelId_( std::move( unprogrammableTunnelId ) ) {}

void ProtocolTunnelSm::tableEntryControlIs( Vel::PtrConst< Mirra::CollectionControl > control ) {
   tableEntryControlReactor_ = Vel::Reactor();
   tableEntryControl_ = std::move( control );
   if ( tableEntryControl_ ) {
      tableEntryControlReactor_ = tableEntryControl_->tableComplete().react(
         [ this ] { propagateQuiescedNotification(); } );
   }
}

void ProtocolTunnelSm::tunnelGrContextIs( Vel::PtrConst< Gr::TunnelGrContext > context ) {
   tunnelGrContextReactor_ = Vel::Reactor();
   tunnelGrContext_ = std::move( context );
   if ( tunnelGrContext_ ) {
      tunnelGrContextReactor_ = tunnelGrContext_->restartComplete().react(
         [ this ] { propagateQuiescedNotification(); } );
   }
}

void ProtocolTunnelSm::handleTunnelEntry() {
   VEL_ASSERT( false, "Must override in derived class" );
}

void ProtocolTunnelSm::propagateQuiescedNotification() {
   VEL_TRACE( 8 );
   VEL_ASSERT( false, "Should be implemented by derived class" );
}

void ProtocolTunnelSm::initializeGrAttrs() {
   VEL_TRACE( 8 );
   VEL_ASSERT( false, "Should be implemented by derived class" );
}

void ProtocolTunnelSm::kickSeenIds() {
   std::vector< TunnelId > ids;
   ids.reserve( seenTunnelId_.size() );
   for ( const auto & [ id, tableId ] : seenTunnelId_ ) {
      ids.push_back( id );
   }
   std::sort( ids.begin(), ids.end() );
   for ( TunnelId id : ids ) {
      if ( const TunnelTableIdentifier * tableId = seenTunnelId_.find( id ) ) {
         tableEntrySm_->handleTunnelTableEntry( id, *tableId, true );
      }
   }
}

} // namespace Tunnel::TunnelTable
