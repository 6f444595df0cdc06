#include "agent/TunnelAgent.h"

#include <tuple>
#include <utility>

#include "fib/TunnelFibSm.h"
#include "ingest/TunnelTablesMountSm.h"
#include "platform/mox/DumpContext.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelRib.h"

namespace Tunnel {

using namespace TunnelTable;

namespace {

template< std::size_t... I >
void fileEveryTableName( TunnelTableTypeFilter & filter, std::index_sequence< I... > ) {
   ( filter.tableIs(
        Vel::String( std::tuple_element_t< I, ProtocolTunnelTables >::tableName ) ),
     ... );
}

} // namespace

TunnelAgent::TunnelAgent() : TunnelAgent( Options{} ) {}

TunnelAgent::TunnelAgent( Options options )
      : scheduler( Vel::make< Mox::TaskScheduler >() ),
        entityManager( Vel::make< Statix::EntityManager >() ),
        ribConfigDir( Vel::make< TunnelRibConfigDir >() ),
        tableInfo( tunnelTableInfoCollectionFactory() ),
        bgpLuConvergence( Vel::make< BgpLuConvergence >() ),
        mplsTunnelConfig( mplsTunnelConfigFactory() ),
        tunnelConvergence( Vel::make< TunnelConvergence >() ),
        protocolRibs( protocolTunnelRibCollectionFactory( "protocolTunnelRibs" ) ),
        unprogrammable( tunnelIdCollFactory() ),
        ribNameIdMap( Vel::make< TunnelRibNameIdMap >() ),
        grStatus( Vel::make< Gr::TunnelRibGrStatusContainer >(
           Vel::make< Gr::TunnelGrContext >() ) ),
        tunnelFibGrStatus( Vel::make< Gr::TunnelFibGrStatus >( grStatus->tunnelGrContext() ) ),
        tunnelFib( entityManager->mount< TunnelFib::TunnelFib >( TunnelFib::TunnelFib::mountPath ) ),
        options_( options ) {
   // The system RIB keeps, per type that can enter a RIB, the best tunnels of
   // that type alone; the agent provides those RIBs.
   for ( std::uint32_t value = 0; value <= maxTunnelTypeValue; ++value ) {
      auto type = static_cast< TunnelType >( value );
      if ( isTunnelType( value ) && contributeToTunnelRib( type ) ) {
         protocolRibs->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
   }
}

TunnelAgent::~TunnelAgent() { stop(); }

bool TunnelAgent::running() const noexcept { return bool( ribConfigDirSm_ ); }

void TunnelAgent::start() {
   if ( running() ) {
      return;
   }
   if ( options_.tunnelFib ) {
      // The FIB reads every protocol and interface table the descriptions
      // publish.
      fibTableFilter_ = tunnelTableTypeFilterFactory();
      fileEveryTableName( *fibTableFilter_,
                          std::make_index_sequence< std::tuple_size_v< ProtocolTunnelTables > >() );
      fibTableEntities_ = tunnelTableEntitiesFactory();
      fibMountSm_ = tunnelTablesMountSmFactory( tableInfo, fibTableFilter_, entityManager,
                                                fibTableEntities_ );
      tunnelFibSm_ = tunnelFibSmFactory( tunnelFib, unprogrammable, mplsTunnelConfig,
                                         tunnelFibGrStatus, fibTableEntities_, scheduler );
   }
   ribConfigDirSm_ = tunnelRibConfigDirSmFactory(
      bgpLuConvergence, tunnelConvergence, ribConfigDir, tableInfo, entityManager, protocolRibs,
      unprogrammable, ribNameIdMap, scheduler, grStatus );
}

void TunnelAgent::stop() {
   ribConfigDirSm_ = nullptr;
   tunnelFibSm_ = nullptr;
   fibMountSm_ = nullptr;
   fibTableEntities_ = nullptr;
   fibTableFilter_ = nullptr;
}

void TunnelAgent::restart() {
   stop();
   start();
}

std::string TunnelAgent::dump() const {
   if ( !running() ) {
      return "(the agent's machines are stopped)\n";
   }
   Mox::DumpContext context;
   ribConfigDirSm_->dumpState( context, 0 );
   if ( tunnelFibSm_ ) {
      tunnelFibSm_->dumpState( context, 0 );
   }
   return context.text();
}

} // namespace Tunnel
