#include "ingest/TunnelTablesMountSm.h"

#include "platform/vel/Trace.h"
#include "types/TunnelTableMounter.h"

namespace Tunnel::TunnelTable {

// The signature is spelled out: the compiler's own text drops the const of
// the aliased pointer parameter.
static constexpr const char * setTableEntitySignature =
   "void Tunnel::TunnelTable::setTableEntity(Tunnel::TunnelTable::TunnelTableEntities&, "
   "const Vel::String&, const Vel::PtrConst<Tunnel::TunnelTable::TunnelTableBase>&)";

static void setTableEntity( TunnelTableEntities & entities, const Vel::String & name,
                            const Vel::PtrConst< TunnelTableBase > & table ) {
   if ( table ) {
      VEL_TRACE_AS( setTableEntitySignature, 8, "setTableEntity", " Adding tunnel entity" );
      entities.tunnelTableIs( name, table );
   } else {
      VEL_TRACE_AS( setTableEntitySignature, 8, "setTableEntity", " Deleting tunnel entity" );
      entities.tunnelTableDel( name );
   }
}

TunnelTablesMountSm::TunnelTablesMountSm(
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
   Vel::Ptr< Statix::EntityManager > entityManager,
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities )
      : tunnelTableInfoColl_( std::move( tunnelTableInfoColl ) ),
        tableTypeFilter_( std::move( tableTypeFilter ) ),
        entityManager_( std::move( entityManager ) ),
        tunnelTableEntities_( std::move( tunnelTableEntities ) ) {
   tableInfoReactor_ = tunnelTableInfoColl_->tableInfo().react(
      [ this ]( const Vel::String & name ) { handleTunnelTable( name ); } );
   tableTypeFilterReactor_ = tableTypeFilter_->table().react(
      [ this ]( const Vel::String & name ) { handleTableTypeFilterTable( name ); } );
   handleInitialized();
}

void TunnelTablesMountSm::handleInitialized() {
   handleTunnelTable();
   handleTableTypeFilterTable();
}

void TunnelTablesMountSm::handleTunnelTable( const Vel::String & name ) {
   VEL_TRACE( 8, " for Tunnel Table ", name );
   const TunnelTableInfo info = tunnelTableInfoColl_->tableInfo( name );
   if ( info == TunnelTableInfo() ) {
      VEL_TRACE( 8, " Tunnel Table ", name, " has been removed" );
      setTableEntity( *tunnelTableEntities_, name, nullptr );
      return;
   }
   // Mounted even when this RIB does not want it: the filter may ask later.
   auto table = TunnelTableMounter( entityManager_ ).readMountTable( info );
   if ( tableTypeFilter_->tableHas( name ) ) {
      setTableEntity( *tunnelTableEntities_, name, table );
   } else {
      VEL_TRACE( 8, " not interested in this table" );
   }
}

void TunnelTablesMountSm::handleTunnelTable() {
   tunnelTableEntities_->tunnelTableDelAll();
   tunnelTableInfoColl_->tableInfo().forEachKey(
      [ this ]( const Vel::String & name ) { handleTunnelTable( name ); } );
}

void TunnelTablesMountSm::handleTableTypeFilterTable( const Vel::String & name ) {
   VEL_TRACE( 8, " for Tunnel Table ", name );
   if ( tableTypeFilter_->tableHas( name ) ) {
      handleTunnelTable( name );
   } else {
      setTableEntity( *tunnelTableEntities_, name, nullptr );
   }
}

void TunnelTablesMountSm::handleTableTypeFilterTable() {
   tableTypeFilter_->table().forEachKey(
      [ this ]( const Vel::String & name ) { handleTableTypeFilterTable( name ); } );
}

Vel::Ptr< TunnelTablesMountSm >
tunnelTablesMountSmFactory( Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                            Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
                            Vel::Ptr< Statix::EntityManager > entityManager,
                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities ) {
   return Vel::make< TunnelTablesMountSm >( std::move( tunnelTableInfoColl ),
                                            std::move( tableTypeFilter ),
                                            std::move( entityManager ),
                                            std::move( tunnelTableEntities ) );
}

} // namespace Tunnel::TunnelTable
