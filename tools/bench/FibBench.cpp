#include <benchmark/benchmark.h>

#include <memory>

#include "agent/TunnelAgent.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;

namespace {

// A FIB over `tunnels` tunnels: nine in ten are IS-IS SR tunnels over an
// Ethernet interface with one label, one in ten BGP-LU tunnels, each over one
// SR tunnel; every hundredth SR tunnel carries ten BGP-LU tunnels.
struct FibNetwork {
   Tunnel::TunnelAgent agent;
   Vel::Ptr< IsisSrTunnelTable > sr = agent.producerTable< IsisSrTunnelTable >();
   Vel::Ptr< BgpLuTunnelTable > bgpLu = agent.producerTable< BgpLuTunnelTable >();
   unsigned srTunnels;
   unsigned bgpLuTunnels;

   explicit FibNetwork( unsigned tunnels )
         : srTunnels( tunnels - tunnels / 10 ), bgpLuTunnels( tunnels / 10 ) {
      for ( const char * name : { "sr", "bgpLu" } ) {
         agent.tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      }
      for ( unsigned i = 0; i < srTunnels; ++i ) {
         publishSr( i, 16000 + i % 1000 );
      }
      for ( unsigned i = 0; i < bgpLuTunnels; ++i ) {
         BgpLuTunnelTableEntry entry( TunnelId( TunnelType::bgpLuTunnel, i ), 85 );
         entry.viaAdd( Via( Korvo::IpGenAddr(), Korvo::IntfId::dynamicTunnel(
                                                   srId( carrier( i ) ).value() ) ) );
         entry.labelOperationIs(
            Korvo::MplsLabelOperation( Korvo::MplsLabelAction::push, { 100000 + i % 5000 } ) );
         entry.contributionIs( BgpLuContribution::contributing );
         bgpLu->entryIs( entry.tunnelId(), entry );
      }
   }

   static TunnelId srId( unsigned i ) { return TunnelId( TunnelType::srTunnel, i ); }
   // The SR tunnel that BGP-LU tunnel i rests on.
   unsigned carrier( unsigned i ) const { return ( i / 10 * 100 ) % srTunnels; }

   void publishSr( unsigned i, Korvo::MplsLabel label ) {
      SrTunnelTableEntry entry( srId( i ), 65 );
      entry.mplsViaAdd( MplsVia( Via( Korvo::IpGenAddr::ipv4( 0x0A010000u + i % 64 ),
                                      Korvo::IntfId::ordinary( "Ethernet" + std::to_string( i % 64 ) ) ),
                                 Korvo::MplsLabelOperation( Korvo::MplsLabelAction::push, { label } ) ) );
      sr->entryIs( entry.tunnelId(), entry );
   }
};

// Cold start: every entry published, then the agent built and run until idle.
void fibColdStart( benchmark::State & state ) {
   const auto tunnels = static_cast< unsigned >( state.range( 0 ) );
   for ( auto _ : state ) {
      state.PauseTiming();
      auto network = std::make_unique< FibNetwork >( tunnels );
      state.ResumeTiming();
      network->agent.start();
      network->agent.scheduler->runUntilIdle();
      state.PauseTiming();
      network.reset();
      state.ResumeTiming();
   }
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}
BENCHMARK( fibColdStart )->Arg( 100000 )->Unit( benchmark::kMillisecond )->Iterations( 3 );

// One lower tunnel's new label, re-flattened into the ten BGP-LU tunnels
// over it.
void fibLowerTunnelChange( benchmark::State & state ) {
   FibNetwork network( static_cast< unsigned >( state.range( 0 ) ) );
   network.agent.start();
   network.agent.scheduler->runUntilIdle();
   Korvo::MplsLabel label = 20000;
   for ( auto _ : state ) {
      network.publishSr( 0, ++label );
      network.agent.scheduler->runUntilIdle();
   }
   state.counters[ "tunnelsPerChange" ] = 11;
}
BENCHMARK( fibLowerTunnelChange )->Arg( 100000 )->Unit( benchmark::kMicrosecond );

} // namespace
