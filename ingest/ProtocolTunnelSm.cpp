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

std::optional< TunnelTableIdentifier >
ProtocolTunnelSm::SeenTunnelIds::find( TunnelId id ) const {
   if ( auto at = extra_.find( id ); at != extra_.end() ) {
      return at->second;
   }
   if ( sm_.keepsSeenIds() && !unseen_.contains( id ) && sm_.tableHolds( id ) ) {
      return sm_.seenIdsTableId();
   }
   return std::nullopt;
}

std::size_t ProtocolTunnelSm::SeenTunnelIds::size() const {
   return extra_.size() + ( sm_.keepsSeenIds() ? sm_.tableSize() - unseen_.size() : 0 );
}

std::vector< std::pair< TunnelId, TunnelTableIdentifier > >
ProtocolTunnelSm::SeenTunnelIds::entries() const {
   std::vector< std::pair< TunnelId, TunnelTableIdentifier > > seen( extra_.begin(),
                                                                     extra_.end() );
   if ( sm_.keepsSeenIds() ) {
      seen.reserve( size() );
      const TunnelTableIdentifier tableId = sm_.seenIdsTableId();
      sm_.forEachTableId( [ & ]( TunnelId id ) {
         if ( !unseen_.contains( id ) && !extra_.contains( id ) ) {
            seen.emplace_back( id, tableId );
         }
      } );
   }
   std::sort( seen.begin(), seen.end() );
   return seen;
}

void ProtocolTunnelSm::seenTunnelIdIs( TunnelId id, TunnelTableIdentifier tableId ) {
   auto & seen = seenTunnelId_;
   if ( keepsSeenIds() && tableId == seenIdsTableId() && tableHolds( id ) ) {
      seenInTableIs( id );
      return;
   }
   if ( keepsSeenIds() && tableHolds( id ) ) {
      seen.unseen_.try_emplace( id );
   }
   seen.extra_.insert_or_assign( id, tableId );
}

void ProtocolTunnelSm::seenTunnelIdDel( TunnelId id ) {
   auto & seen = seenTunnelId_;
   seen.extra_.erase( id );
   if ( keepsSeenIds() && tableHolds( id ) ) {
      seen.unseen_.try_emplace( id );
   } else {
      seen.unseen_.erase( id );
   }
}

void ProtocolTunnelSm::seenTunnelIdDelAll() {
   auto & seen = seenTunnelId_;
   seen.extra_.clear();
   if ( keepsSeenIds() ) {
      forEachTableId( [ & ]( TunnelId id ) { seen.unseen_.try_emplace( id ); } );
   }
}

void ProtocolTunnelSm::kickSeenIds() {
   for ( const auto & [ id, tableId ] : seenTunnelId_.entries() ) {
      // The owner may change what is seen as it handles each removal.
      if ( const auto still = seenTunnelId_.find( id ) ) {
         tableEntrySm_->handleTunnelTableEntry( id, *still, true );
      }
   }
}

} // namespace Tunnel::TunnelTable
