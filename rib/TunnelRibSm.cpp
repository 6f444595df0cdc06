#include "rib/TunnelRibSm.h"

#include "platform/vel/Clock.h"
#include "platform/vel/Trace.h"
#include "rib/ColoredTunnelRibBuilderSm.h"
#include "rib/TunnelRibBuilderSm.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

TunnelRibSm::TunnelRibSm( Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                          Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                          Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                          Vel::Ptr< Statix::EntityManager > entityManager,
                          Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                          Vel::Ptr< TunnelRibBase > tunnelRib,
                          Vel::Ptr< TunnelConvergence > tunnelConvergence,
                          Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                          Vel::Ptr< Mox::TaskScheduler > scheduler,
                          Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus )
      : tunnelRibConfig_( std::move( tunnelRibConfig ) ),
        tunnelTableInfoColl_( std::move( tunnelTableInfoColl ) ),
        bgpLuConvergence_( std::move( bgpLuConvergence ) ),
        entityManager_( std::move( entityManager ) ), tunnelIdColl_( std::move( tunnelIdColl ) ),
        tunnelRib_( std::move( tunnelRib ) ), tunnelConvergence_( std::move( tunnelConvergence ) ),
        protoTunnelRibColl_( std::move( protoTunnelRibColl ) ),
        scheduler_( std::move( scheduler ) ),
        tunnelRibGrStatus_( std::move( tunnelRibGrStatus ) ) {
   ribConfigReactor_ = tunnelRibConfig_->entry().react(
      [ this ]( const TunnelTableIdentifier & id ) { handleRibConfig( id ); } );
   handleInitialized();
}

TunnelRibSm::~TunnelRibSm() {
   ribConfigReactor_.zombieIs();
   tableTypeFilterDel();
   tunnelTablesMountSmDel();
   tableEntryFilterDel();
   preferenceMapperSmDel();
}

void TunnelRibSm::handleInitialized() {
   tableTypeFilterIs();
   tunnelTableEntitiesIs( tunnelTableEntitiesFactory() );
   // The filter is complete before the mount machine first looks at it.
   handleRibConfig();
   tunnelTablesMountSmIs( tunnelTableInfoColl_, tableTypeFilter_, entityManager_,
                          tunnelTableEntities_ );
   tableEntryFilterIs();
   preferenceMapperSmIs( tunnelTableEntities_, tunnelIdColl_, tunnelRibConfig_, tableEntryFilter_,
                         tunnelRib_->tunnelRibId() );
   tunnelRibBuilderSmIs();
}

void TunnelRibSm::handleRibConfig() {
   VEL_TRACE( 8 );
   tunnelRibConfig_->entry().forEachKey(
      [ this ]( const TunnelTableIdentifier & id ) { handleRibConfig( id ); } );
}

void TunnelRibSm::handleRibConfig( TunnelTableIdentifier id ) {
   VEL_TRACE( 8, " handling config entry updates" );
   // The inserting lookup is deliberate: an identifier without a name files
   // the empty name.
   const Vel::String & name = TableIdToNameMap[ id ];
   if ( tunnelRibConfig_->entryHas( id ) ) {
      tableTypeFilter_->tableIs( name );
   } else {
      tableTypeFilter_->tableDel( name );
   }
}

void TunnelRibSm::tableTypeFilterIs() { tableTypeFilter_ = tunnelTableTypeFilterFactory(); }

void TunnelRibSm::tableTypeFilterDel() { tableTypeFilter_.reset(); }

void TunnelRibSm::tunnelTableEntitiesIs( Vel::Ptr< TunnelTableEntities > entities ) {
   tunnelTableEntities_ = std::move( entities );
}

void TunnelRibSm::tunnelTableEntitiesDel() { tunnelTableEntities_.reset(); }

void TunnelRibSm::tunnelTablesMountSmIs(
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
   Vel::Ptr< Statix::EntityManager > entityManager,
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities ) {
   tunnelTablesMountSm_ = tunnelTablesMountSmFactory(
      std::move( tunnelTableInfoColl ), std::move( tableTypeFilter ), std::move( entityManager ),
      std::move( tunnelTableEntities ) );
}

void TunnelRibSm::tunnelTablesMountSmDel() { tunnelTablesMountSm_.reset(); }

void TunnelRibSm::tableEntryFilterIs() { tableEntryFilter_ = tunnelTableEntryFilterFactory(); }

void TunnelRibSm::tableEntryFilterDel() { tableEntryFilter_.reset(); }

void TunnelRibSm::preferenceMapperSmIs( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                        Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                                        Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                                        Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                                        TunnelRibId tunnelRibId ) {
   preferenceMapperSm_ = preferenceMapperSmFactory(
      std::move( tunnelTableEntities ), std::move( tunnelIdColl ), std::move( tunnelRibConfig ),
      std::move( tableEntryFilter ), tunnelRibId );
}

void TunnelRibSm::preferenceMapperSmDel() { preferenceMapperSm_.reset(); }

void TunnelRibSm::tunnelRibBuilderSmIs() {
   if ( tunnelRib_->isColored() ) {
      // A colored RIB never reports convergence, so it never sees its inputs.
      tunnelRibBuilderSm_ = coloredTunnelRibBuilderSmFactory(
         tunnelTableEntities_, tunnelIdColl_, tableEntryFilter_, tunnelRib_, protoTunnelRibColl_,
         scheduler_, tunnelRibConfig_, tunnelRibGrStatus_ );
   } else {
      tunnelRibBuilderSm_ = tunnelRibBuilderSmFactory(
         tunnelTableEntities_, tunnelIdColl_, tableEntryFilter_, tunnelRib_, protoTunnelRibColl_,
         scheduler_, tunnelRibConfig_, tunnelRibGrStatus_, bgpLuConvergence_, tunnelConvergence_,
         Vel::make< Vel::Clock >( scheduler_ ) );
   }
}

void TunnelRibSm::tunnelRibBuilderSmDel() { tunnelRibBuilderSm_.reset(); }

void TunnelRibSm::dumpState( Mox::DumpContext & ctx, int indent ) const {
   if ( indent > 0 ) {
      ctx.printf( "%*cTunnelRibSm tunnelRibId %u\n", indent, ' ',
                  tunnelRib_->tunnelRibId().value() );
   } else {
      ctx.printf( "TunnelRibSm tunnelRibId %u\n", tunnelRib_->tunnelRibId().value() );
   }
   if ( tunnelRibBuilderSm_ ) {
      tunnelRibBuilderSm_->dumpState( ctx, static_cast< unsigned >( indent + 2 ) );
   }
}

Vel::Ptr< TunnelRibSm > tunnelRibSmFactory(
   Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< Statix::EntityManager > entityManager, Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelRibBase > tunnelRib, Vel::Ptr< TunnelConvergence > tunnelConvergence,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus ) {
   return Vel::make< TunnelRibSm >(
      std::move( tunnelRibConfig ), std::move( tunnelTableInfoColl ),
      std::move( bgpLuConvergence ), std::move( entityManager ), std::move( tunnelIdColl ),
      std::move( tunnelRib ), std::move( tunnelConvergence ), std::move( protoTunnelRibColl ),
      std::move( scheduler ), std::move( tunnelRibGrStatus ) );
}

} // namespace Tunnel::TunnelTable
