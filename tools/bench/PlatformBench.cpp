#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <random>
#include <vector>

#include "platform/vel/Attribute.h"
#include "platform/vel/Collection.h"
#include "platform/vel/IndexedMap.h"
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

// A large table's two hot operations at its size (the argument): inserting
// keys in random order, as reviews come out of a hash-ordered backlog, then
// finding each once. The indexed map against a node-per-key ordered map.
std::vector< TunnelId > shuffledIds( std::size_t count ) {
   std::vector< TunnelId > ids;
   ids.reserve( count );
   for ( std::size_t i = 0; i < count; ++i ) {
      ids.emplace_back( TunnelType::srTunnel, i );
   }
   std::shuffle( ids.begin(), ids.end(), std::mt19937( 1 ) );
   return ids;
}

template< class Map >
void randomInsertThenFind( benchmark::State & state ) {
   const auto ids = shuffledIds( std::size_t( state.range( 0 ) ) );
   for ( auto _ : state ) {
      Map map;
      for ( TunnelId id : ids ) {
         map.try_emplace( id, id.value() );
      }
      std::uint64_t sum = 0;
      for ( TunnelId id : ids ) {
         if constexpr ( requires { map.findValue( id ); } ) {
            sum += *map.findValue( id );
         } else {
            sum += map.find( id )->second;
         }
      }
      benchmark::DoNotOptimize( sum );
   }
   state.SetItemsProcessed( state.iterations() * state.range( 0 ) );
}
BENCHMARK_TEMPLATE( randomInsertThenFind, Vel::IndexedMap< TunnelId, std::uint64_t > )
   ->Arg( 100000 )
   ->Arg( 1000000 )
   ->Unit( benchmark::kMillisecond );
BENCHMARK_TEMPLATE( randomInsertThenFind, std::map< TunnelId, std::uint64_t > )
   ->Arg( 100000 )
   ->Arg( 1000000 )
   ->Unit( benchmark::kMillisecond );

} // namespace
