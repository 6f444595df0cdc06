#include <benchmark/benchmark.h>

#include <cstdint>

#include "platform/vel/Attribute.h"
#include "platform/vel/Collection.h"
#include "types/TunnelId.h"
#include "types/TunnelTableEntry.h"

using namespace Tunnel::TunnelTable;

namespace {

// One notification through a reactor: the cost every table write pays per
// watcher.
void notifyOneReactor( benchmark::State & state ) {
   Vel::Attribute< std::uint64_t > attr;
   std::uint64_t seen = 0;
   auto reactor = attr.react( [ & ] { ++seen; } );
   std::uint64_t value = 0;
   for ( auto _ : state ) {
      attr.set( ++value );
   }
   benchmark::DoNotOptimize( seen );
}
BENCHMARK( notifyOneReactor );

// A keyed write and delete with one reactor per key change.
void collectionSetDel( benchmark::State & state ) {
   Vel::HashCollection< TunnelId, bool > coll;
   std::uint64_t seen = 0;
   auto reactor = coll.react( [ & ]( const TunnelId & ) { ++seen; } );
   std::uint64_t index = 0;
   for ( auto _ : state ) {
      TunnelId id( TunnelType::ldpTunnel, ++index & 0xFFFF );
      coll.set( id, true );
      coll.del( id );
   }
   benchmark::DoNotOptimize( seen );
}
BENCHMARK( collectionSetDel );

void tunnelIdHash( benchmark::State & state ) {
   std::uint64_t index = 0;
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( TunnelId( TunnelType::srTunnel, ++index ).hash() );
   }
}
BENCHMARK( tunnelIdHash );

// The candidate comparison that orders every endpoint's candidates.
void candidateOrder( benchmark::State & state ) {
   TunnelTableEntry a( TunnelId( TunnelType::srTunnel, 1 ), 10 );
   TunnelTableEntry b( TunnelId( TunnelType::isisFlexAlgoTunnel, 1 ), 10 );
   for ( auto _ : state ) {
      benchmark::DoNotOptimize( a < b );
   }
}
BENCHMARK( candidateOrder );

} // namespace
