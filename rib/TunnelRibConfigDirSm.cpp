#include "rib/TunnelRibConfigDirSm.h"

#include "platform/toggles/FeatureToggles.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

TunnelRibConfigDirSm::TunnelRibConfigDirSm(
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< TunnelConvergence > tunnelConvergence,
   Vel::PtrConst< TunnelRibConfigDir > tunnelRibConfigDir,
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::Ptr< Statix::EntityManager > entityManager,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl, Vel::Ptr< TunnelRibNameIdMap > tunnelRibIdMap,
   Vel::Ptr< Mox::TaskScheduler > scheduler,
   Vel::Ptr< Gr::TunnelRibGrStatusContainer > tunnelRibGrStatusContainer )
      : bgpLuConvergence_( std::move( bgpLuConvergence ) ),
        tunnelConvergence_( std::move( tunnelConvergence ) ),
        tunnelRibConfigDir_( std::move( tunnelRibConfigDir ) ),
        tunnelTableInfoColl_( std::move( tunnelTableInfoColl ) ),
        entityManager_( std::move( entityManager ) ),
        protoTunnelRibColl_( std::move( protoTunnelRibColl ) ),
        tunnelIdColl_( std::move( tunnelIdColl ) ), tunnelRibIdMap_( std::move( tunnelRibIdMap ) ),
        scheduler_( std::move( scheduler ) ),
        tunnelRibGrStatusContainer_( std::move( tunnelRibGrStatusContainer ) ) {
   configDirReactor_ = tunnelRibConfigDir_->tunnelRibConfig().react(
      [ this ]( const Vel::Name & name ) { handleRibConfig( name ); } );
   handleInitialized();
}

TunnelRibConfigDirSm::~TunnelRibConfigDirSm() {
   configDirReactor_.zombieIs();
   tunnelRibSmDelAll();
}

void TunnelRibConfigDirSm::handleInitialized() {
   VEL_TRACE( 8 );
   handleRibConfig();
}

void TunnelRibConfigDirSm::handleRibConfig() {
   VEL_TRACE( 8 );
   removeStaleIdMapEntries();
   tunnelRibConfigDir_->tunnelRibConfig().forEachKey(
      [ this ]( const Vel::Name & name ) { handleRibConfig( name ); } );
}

void TunnelRibConfigDirSm::removeStaleIdMapEntries() {
   VEL_TRACE( 8 );
   const auto & names = tunnelRibIdMap_->names();
   for ( auto it = names.begin(); it != names.end(); ) {
      // deleteTunnelRib removes the current name; step past it first.
      Vel::Name name = it->first;
      ++it;
      if ( !tunnelRibConfigDir_->tunnelRibConfig().has( name ) ) {
         deleteTunnelRib( name );
      }
   }
}

void TunnelRibConfigDirSm::handleRibConfig( Vel::Name name ) {
   VEL_TRACE( 8, " - configDir : ", name );
   Vel::PtrConst< TunnelRibConfig > config = tunnelRibConfigDir_->tunnelRibConfig( name );
   if ( !config ) {
      deleteTunnelRib( name );
      return;
   }
   TunnelRibId id = tunnelRibIdMap_->tunnelRibNameIs( name );
   std::string path = statusPath( id );
   Vel::Ptr< TunnelRibBase > tunnelRib;
   if ( id.isSystemColoredRibId() ) {
      tunnelRib = entityManager_->mount< ColoredTunnelRib >( path );
   } else {
      tunnelRib = entityManager_->mount< TunnelRib >( path );
   }
   tunnelRib->idIs( id );
   createTunnelRibSm( config, tunnelRib );
}

void TunnelRibConfigDirSm::createTunnelRibSm(
   const Vel::PtrConst< TunnelRibConfig > & tunnelRibConfig,
   const Vel::Ptr< TunnelRibBase > & tunnelRib ) {
   VEL_TRACE_AS( "void Tunnel::TunnelTable::TunnelRibConfigDirSm::createTunnelRibSm("
                 "const PtrConst&, const Ptr&)",
                 8, tunnelRibConfig->name() );
   TunnelRibId id = tunnelRib->tunnelRibId();
   // Only the system tunnel RIB keeps the per-protocol tunnel RIBs.
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl =
      id == TunnelRibId::systemTunnelRib ? protoTunnelRibColl_ : nullptr;

   Vel::Ptr< Gr::TunnelRibGrStatus > grStatus;
   const auto & container = tunnelRibGrStatusContainer_;
   if ( container && ( container->tunnelGrContext()->restartTracking()() ||
                       Toggles::toggleEnabled( "MplsL3VpnSso" ) ) ) {
      grStatus = Vel::make< Gr::TunnelRibGrStatus >( id, container->tunnelGrContext(),
                                                     container->grCounters() );
      container->tunnelRibGrStatusIs( id, grStatus );
      container->grCounters()->tunnelRibUpdateCounterIs( id );
   }

   auto sm = tunnelRibSmFactory( tunnelRibConfig, tunnelTableInfoColl_, bgpLuConvergence_,
                                 entityManager_, tunnelIdColl_, tunnelRib, tunnelConvergence_,
                                 protoColl, scheduler_, grStatus );
   tunnelRibSmIs( id, sm );
}

void TunnelRibConfigDirSm::deleteTunnelRib( Vel::Name name ) {
   VEL_TRACE( 8, " - configDir : ", name );
   // A name the map never held has nothing to tear down; without this guard
   // its default id would tear down the system tunnel RIB.
   if ( !tunnelRibIdMap_->tunnelRibNameHas( name ) ) {
      return;
   }
   TunnelRibId id = tunnelRibIdMap_->tunnelRibNameDel( name );
   tunnelRibSmDel( id );
   if ( tunnelRibGrStatusContainer_ ) {
      tunnelRibGrStatusContainer_->tunnelRibGrStatusDel( id );
   }
   std::string path = statusPath( id );
   entityManager_->cleanup( path );
   entityManager_->unmount( path );
}

void TunnelRibConfigDirSm::tunnelRibSmIs( TunnelRibId id, Vel::Ptr< TunnelRibSm > sm ) {
   tunnelRibSm_.set( id, std::move( sm ) );
}

void TunnelRibConfigDirSm::tunnelRibSmDel( TunnelRibId id ) { tunnelRibSm_.del( id ); }

void TunnelRibConfigDirSm::tunnelRibSmDelAll() { tunnelRibSm_.delAll(); }

void TunnelRibConfigDirSm::dumpState( Mox::DumpContext & ctx, int indent ) const {
   if ( indent > 0 ) {
      ctx.printf( "%*cTunnelRibConfigDirSm\n", indent, ' ' );
   } else {
      ctx.printf( "TunnelRibConfigDirSm\n" );
   }
   ctx.printf( "%*cTunnelRibSm #%u\n", indent + 2, ' ',
               static_cast< unsigned >( tunnelRibSm_.size() ) );
   for ( const auto & [ id, sm ] : tunnelRibSm_ ) {
      sm->dumpState( ctx, indent + 4 );
   }
}

Vel::Ptr< TunnelRibConfigDirSm > tunnelRibConfigDirSmFactory(
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< TunnelConvergence > tunnelConvergence,
   Vel::PtrConst< TunnelRibConfigDir > tunnelRibConfigDir,
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::Ptr< Statix::EntityManager > entityManager,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl, Vel::Ptr< TunnelRibNameIdMap > tunnelRibIdMap,
   Vel::Ptr< Mox::TaskScheduler > scheduler,
   Vel::Ptr< Gr::TunnelRibGrStatusContainer > tunnelRibGrStatusContainer ) {
   return Vel::make< TunnelRibConfigDirSm >(
      std::move( bgpLuConvergence ), std::move( tunnelConvergence ),
      std::move( tunnelRibConfigDir ), std::move( tunnelTableInfoColl ),
      std::move( entityManager ), std::move( protoTunnelRibColl ), std::move( tunnelIdColl ),
      std::move( tunnelRibIdMap ), std::move( scheduler ),
      std::move( tunnelRibGrStatusContainer ) );
}

} // namespace Tunnel::TunnelTable
