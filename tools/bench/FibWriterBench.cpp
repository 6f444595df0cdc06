#include <benchmark/benchmark.h>

#include <malloc.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <vector>

#include "fib/TunnelFibWriter.h"

using namespace Tunnel::TunnelTable;

// Every allocation of this program is counted, and the heap bytes in use
// (as the allocator hands them out, rounding included) are tracked, so a
// benchmark can report how many allocations a write costs and how many bytes
// a FIB entry holds.
namespace {
std::atomic< std::size_t > allocationCount{ 0 };
std::atomic< std::size_t > bytesInUse{ 0 };

void * countedAllocation( std::size_t size ) {
   void * p = std::malloc( size ? size : 1 );
   if ( !p ) {
      throw std::bad_alloc();
   }
   allocationCount.fetch_add( 1, std::memory_order_relaxed );
   bytesInUse.fetch_add( malloc_usable_size( p ), std::memory_order_relaxed );
   return p;
}
void countedFree( void * p ) noexcept {
   if ( p ) {
      bytesInUse.fetch_sub( malloc_usable_size( p ), std::memory_order_relaxed );
      std::free( p );
   }
}
} // namespace

void * operator new( std::size_t size ) { return countedAllocation( size ); }
void * operator new[]( std::size_t size ) { return countedAllocation( size ); }
void operator delete( void * p ) noexcept { countedFree( p ); }
void operator delete[]( void * p ) noexcept { countedFree( p ); }
void operator delete( void * p, std::size_t ) noexcept { countedFree( p ); }
void operator delete[]( void * p, std::size_t ) noexcept { countedFree( p ); }

namespace {

// A FIB of `entries` one-via tunnels over `labelStacks` shared label stacks,
// as an LDP-heavy router has: many tunnels, few distinct label operations.
struct WriterFib {
   static constexpr unsigned labelStacks = 300;

   Vel::Ptr< Tunnel::TunnelFib::TunnelFib > fib = Tunnel::TunnelFib::tunnelFibFactory();
   Vel::Ptr< TunnelFibWriter > writer = tunnelFibWriterFactory( fib );
   Korvo::IntfId intf = Korvo::IntfId::ordinary( "Ethernet1" );
   unsigned entries;

   explicit WriterFib( unsigned count ) : entries( count ) {
      for ( unsigned i = 0; i < entries; ++i ) {
         writer->addFibEntry( entry( i, i % labelStacks ) );
      }
   }

   ConsolidatedTunnelFibEntry entry( std::uint64_t tunnel, std::uint32_t stack,
                                     std::uint32_t hop = 1 ) const {
      ConsolidatedTunnelFibEntry cons( TunnelId( TunnelType::ldpTunnel, tunnel + 1 ) );
      cons.insertLabelStackVia( Via( Korvo::IpGenAddr::ipv4( 0x0A000000u + hop ), intf ),
                                Korvo::MplsLabelOperation( Korvo::MplsLabelAction::push,
                                                           { 1000 + stack } ) );
      cons.arePrimaryViasUsableIs( true );
      return cons;
   }
};

struct AllocationsPerOp {
   benchmark::State & state;
   std::size_t before = allocationCount.load();
   ~AllocationsPerOp() {
      state.counters[ "allocs/op" ] = benchmark::Counter(
         double( allocationCount.load() - before ) / double( state.iterations() ) );
   }
};

// Adds tunnels the FIB does not hold yet, a thousand per round; the deletes
// that make room again are not timed. Arg 1: each new tunnel brings a label
// stack of its own (a new encap id is published), 0: it shares one.
void addNewEntry( benchmark::State & state ) {
   constexpr unsigned batch = 1000;
   WriterFib w( 10000 );
   const bool ownStack = state.range( 0 ) != 0;
   std::vector< ConsolidatedTunnelFibEntry > fresh;
   for ( unsigned i = 0; i < batch; ++i ) {
      fresh.push_back( w.entry( w.entries + i, ownStack ? 100000 + i : i % w.labelStacks ) );
   }
   std::size_t allocations = 0;
   for ( auto _ : state ) {
      std::size_t before = allocationCount.load();
      for ( const ConsolidatedTunnelFibEntry & cons : fresh ) {
         w.writer->addFibEntry( cons );
      }
      allocations += allocationCount.load() - before;
      state.PauseTiming();
      for ( const ConsolidatedTunnelFibEntry & cons : fresh ) {
         w.writer->deleteFibEntry( cons.tunnelId() );
      }
      state.ResumeTiming();
   }
   state.SetItemsProcessed( state.iterations() * batch );
   state.counters[ "allocs/op" ] =
      benchmark::Counter( double( allocations ) / double( state.iterations() * batch ) );
}
BENCHMARK( addNewEntry )->Arg( 0 )->Arg( 1 );

// Changes the label stack of one tunnel after another, each time to another
// stack that other tunnels share.
void addChangedEntry( benchmark::State & state ) {
   WriterFib w( 10000 );
   std::vector< ConsolidatedTunnelFibEntry > changes[ 2 ];
   for ( unsigned i = 0; i < w.entries; ++i ) {
      changes[ 0 ].push_back( w.entry( i, ( i + 1 ) % w.labelStacks ) );
      changes[ 1 ].push_back( w.entry( i, i % w.labelStacks ) );
   }
   std::size_t n = 0;
   AllocationsPerOp allocs{ state };
   for ( auto _ : state ) {
      w.writer->addFibEntry( changes[ ( n / w.entries ) % 2 ][ n % w.entries ] );
      ++n;
   }
}
BENCHMARK( addChangedEntry );

// Hands the writer entries that the FIB already holds.
void addUnchangedEntry( benchmark::State & state ) {
   WriterFib w( 10000 );
   std::vector< ConsolidatedTunnelFibEntry > same;
   for ( unsigned i = 0; i < w.entries; ++i ) {
      same.push_back( w.entry( i, i % w.labelStacks ) );
   }
   std::size_t n = 0;
   AllocationsPerOp allocs{ state };
   for ( auto _ : state ) {
      w.writer->addFibEntry( same[ n++ % w.entries ] );
   }
}
BENCHMARK( addUnchangedEntry );

// What a one-via FIB entry costs in memory: the record sizes, and the heap
// the FIB and the writer hold per tunnel once the entries are written (the
// entry table's node included, the shared encap records spread over all
// tunnels). node = bytes/entry - sizeof(TunnelFibEntry).
void bytesPerFibEntry( benchmark::State & state ) {
   const unsigned entries = static_cast< unsigned >( state.range( 0 ) );
   double bytes = 0;
   double allocations = 0;
   for ( auto _ : state ) {
      WriterFib w( 0 );
      std::vector< ConsolidatedTunnelFibEntry > conses;
      for ( unsigned i = 0; i < entries; ++i ) {
         conses.push_back( w.entry( i, i % w.labelStacks ) );
      }
      const std::size_t bytesBefore = bytesInUse.load();
      const std::size_t allocationsBefore = allocationCount.load();
      for ( const ConsolidatedTunnelFibEntry & cons : conses ) {
         w.writer->addFibEntry( cons );
      }
      bytes = double( bytesInUse.load() - bytesBefore ) / entries;
      allocations = double( allocationCount.load() - allocationsBefore ) / entries;
   }
   const double entrySize = sizeof( Tunnel::TunnelFib::TunnelFibEntry );
   state.counters[ "sizeof(TunnelFibEntry)" ] = entrySize;
   state.counters[ "sizeof(TunnelVia)" ] = double( sizeof( Tunnel::TunnelFib::TunnelVia ) );
   state.counters[ "sizeof(ViaAndTunnelInfo)" ] = double( sizeof( ViaAndTunnelInfo ) );
   state.counters[ "bytes/entry" ] = bytes;
   state.counters[ "node" ] = bytes - entrySize;
   state.counters[ "allocs/entry" ] = allocations;
}
BENCHMARK( bytesPerFibEntry )->Arg( 10000 )->Arg( 100000 )->Iterations( 1 )->Unit(
   benchmark::kMillisecond );

} // namespace
