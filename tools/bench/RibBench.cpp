#include <benchmark/benchmark.h>

#include <string>

#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;

namespace {

// The system tunnel RIB over LDP and IS-IS SR, with `endpoints` loopbacks each
// reached by one tunnel of either protocol.
struct SystemRib {
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< TunnelTableInfoCollection > tableInfo = tunnelTableInfoCollectionFactory();
   Vel::Ptr< TunnelRibConfigDir > configDir = Vel::make< TunnelRibConfigDir >();
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl =
      protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
   Vel::Ptr< LdpTunnelTable > ldp = entityManager->mount< LdpTunnelTable >( "tunnel/table/ldp" );
   Vel::Ptr< IsisSrTunnelTable > sr = entityManager->mount< IsisSrTunnelTable >( "tunnel/table/sr" );
   Vel::Ptr< TunnelRibConfigDirSm > dirSm;
   unsigned endpoints;

   explicit SystemRib( unsigned count ) : endpoints( count ) {
      auto config = configDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemTunnelRibName );
      config->entryIs( TunnelTableIdentifier::ldpTable );
      config->entryIs( TunnelTableIdentifier::srTable );
      for ( const char * name : { "ldp", "sr" } ) {
         tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      }
      for ( TunnelType type : { TunnelType::ldpTunnel, TunnelType::srTunnel } ) {
         protoColl->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
      dirSm = tunnelRibConfigDirSmFactory(
         Vel::make< BgpLuConvergence >(), Vel::make< TunnelConvergence >(), configDir, tableInfo,
         entityManager, protoColl, tunnelIdCollFactory(), Vel::make< TunnelRibNameIdMap >(),
         scheduler, nullptr );
      publish( 0 );
   }

   static Korvo::IpGenPrefix loopback( unsigned i ) {
      return Korvo::IpGenPrefix( Korvo::IpGenAddr::ipv4( 0x0A000000u + i ), 32 );
   }

   // Publishes every tunnel with the given metric and reviews them all.
   void publish( std::uint32_t metric ) {
      for ( unsigned i = 0; i < endpoints; ++i ) {
         LdpTunnelTableEntry ldpEntry( TunnelId( TunnelType::ldpTunnel, i + 1 ), 55 );
         ldpEntry.endpointAdd( loopback( i ) );
         ldpEntry.mIs( metric );
         ldp->entryIs( ldpEntry.tunnelId(), ldpEntry );
         SrTunnelTableEntry srEntry( TunnelId( TunnelType::srTunnel, i + 1 ), 65 );
         srEntry.endpointAdd( loopback( i ) );
         srEntry.mIs( metric );
         sr->entryIs( srEntry.tunnelId(), srEntry );
      }
      scheduler->runUntilIdle();
   }
};

// One review of a changed tunnel id, from the table write to the RIB write:
// two reactors (preference mapper and builder), the backlog, the selection.
void reviewPerTunnelId( benchmark::State & state ) {
   SystemRib rib( static_cast< unsigned >( state.range( 0 ) ) );
   std::uint32_t metric = 0;
   for ( auto _ : state ) {
      rib.publish( ++metric );
   }
   state.SetItemsProcessed( state.iterations() * 2 * state.range( 0 ) );
}
BENCHMARK( reviewPerTunnelId )->Arg( 100 )->Arg( 10000 )->Unit( benchmark::kMillisecond );

// The builder's working state and the RIB for many endpoints.
void buildRib( benchmark::State & state ) {
   for ( auto _ : state ) {
      SystemRib rib( static_cast< unsigned >( state.range( 0 ) ) );
      benchmark::DoNotOptimize( rib.dirSm );
   }
   state.SetItemsProcessed( state.iterations() * 2 * state.range( 0 ) );
}
BENCHMARK( buildRib )->Arg( 10000 )->Unit( benchmark::kMillisecond );

} // namespace
