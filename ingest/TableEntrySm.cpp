#include "ingest/TableEntrySm.h"

#include "ingest/ProtocolTunnelGr.h"
#include "ingest/TableToSm.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

TableEntrySm::TableEntrySm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                            Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId )
      : tunnelTableEntities_( std::move( tunnelTableEntities ) ),
        unprogrammableTunnelId_( std::move( unprogrammableTunnelId ) ) {
   tunnelTableReactor_ = tunnelTableEntities_->tunnelTable().react(
      [ this ]( const Vel::String & name ) { handleTunnelTableEntity( name ); } );
   if ( unprogrammableTunnelId_ ) {
      unprogrammableTunnelIdReactor_ = unprogrammableTunnelId_->entry().react(
         [ this ]( const TunnelId & id ) { handleUnprogrammableEntry( id ); } );
   }
}

TableEntrySm::~TableEntrySm() {
   // Inert first, so that nothing reaches a half-destroyed owner.
   tunnelTableReactor_.zombieIs();
   unprogrammableTunnelIdReactor_.zombieIs();
   inputProcessedStatusReactor_.zombieIs();
   tunnelGrContextReactor_.zombieIs();
}

void TableEntrySm::inputProcessedStatusIs( Vel::Ptr< Gr::InputProcessedStatus > status ) {
   inputProcessedStatusReactor_ = Vel::Reactor();
   inputProcessedStatus_ = std::move( status );
   if ( !inputProcessedStatus_ ) {
      return;
   }
   inputProcessedStatusReactor_ =
      inputProcessedStatus_->backlogsEmpty().react( [ this ] { markGrStatusBacklogEmpty(); } );
   tunnelGrContextIs( inputProcessedStatus_->tunnelGrContext() );
   inputProcessedSmIs();
}

void TableEntrySm::inputProcessedStatusDel() {
   inputProcessedStatusReactor_ = Vel::Reactor();
   inputProcessedStatus_ = nullptr;
}

void TableEntrySm::tunnelGrContextIs( Vel::PtrConst< Gr::TunnelGrContext > context ) {
   tunnelGrContextReactor_ = Vel::Reactor();
   tunnelGrContext_ = std::move( context );
   if ( tunnelGrContext_ ) {
      tunnelGrContextReactor_ = tunnelGrContext_->restartComplete().react(
         [ this ] { maybeMarkInputProcessedBacklogEmpty(); } );
   }
}

void TableEntrySm::inputProcessedSmIs() {
   VEL_ASSERT( inputProcessedStatus_, "inputProcessedStatus should be initialized" );
   inputProcessedSm_ = Gr::inputProcessedSmFactory( inputProcessedStatus_ );
}

void TableEntrySm::handleUnprogrammableEntry( const TunnelId & ) {}

void TableEntrySm::initializeInputProcessedSm() {
   VEL_ASSERT( false, "Should be initialized by derived class if needed" );
}

void TableEntrySm::maybeMarkInputProcessedBacklogEmpty() {
   VEL_TRACE( 8 );
   VEL_ASSERT( !inputProcessedStatus_,
               "Should be Implemented by derived class if inputProcessedStatus "
               "is in use" );
}

void TableEntrySm::markGrStatusBacklogEmpty() {
   VEL_TRACE( 8 );
   VEL_ASSERT( !inputProcessedStatus_,
               "Should be Implemented by derived class if inputProcessedStatus "
               "is in use" );
}

void TableEntrySm::handleTunnelTableEntity( const Vel::String & name ) {
   auto table = tunnelTableEntities_->tunnelTable( name );
   if ( table ) {
      VEL_TRACE( 8, "handleTunnelTableEntity", " adding tunnel table entity" );
      auto sm = tableToSm( name, tunnelTableEntities_, unprogrammableTunnelId_, table, this );
      VEL_ASSERT( sm, "Failed to create the per-table Sm" );
      const TunnelTableIdentifier id = table->tunnelTableId();
      // Tracking needs the machine that decides quiescence: a table that
      // comes after the restart's cleanup dropped it is simply read.
      const bool tracked =
         inputProcessedStatus_ && inputProcessedSm_ && grSupportedForTableId( id );
      if ( tracked ) {
         tunnelTypeToTunnelIdMapIs( name, id );
         inputProcessedStatus_->tunnelTablesQuiescedIs( id, false );
         sm->initializeGrAttrs();
      }
      // Every entry already there is reported before the reactor is filed.
      sm->handleTunnelEntry();
      tunnelSmIs( name, sm );
      if ( tracked ) {
         // A producer that declared its table complete before the table was
         // filed (it outlived this agent's restart) changes nothing more, so
         // nothing else would quiesce the table.
         sm->propagateQuiescedNotification();
      }
      return;
   }
   VEL_TRACE( 8, "handleTunnelTableEntity", " removing tunnel table entity" );
   if ( auto sm = tunnelSm( name ) ) {
      sm->kickSeenIds();
   }
   tunnelSmDel( name );
   if ( !inputProcessedStatus_ ) {
      return;
   }
   if ( const TunnelTableIdentifier * id = tunnelTypeToTunnelIdMap_.find( name ) ) {
      VEL_ASSERT( grSupportedForTableId( *id ), "should not be here when GR "
                                                "is not supported for this tunnelId" );
      inputProcessedStatus_->tunnelTablesQuiescedDel( *id );
      tunnelTypeToTunnelIdMapDel( name );
   }
}

void TableEntrySm::handleTunnelTableEntity() {
   VEL_TRACE( 8 );
   tunnelTableEntities_->tunnelTable().forEachKey(
      [ this ]( const Vel::String & name ) { handleTunnelTableEntity( name ); } );
}

} // namespace Tunnel::TunnelTable
