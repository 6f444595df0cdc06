// tunneld_bench: tunneld's throughput against a redis-server of its own.
// A producer writes N tunnels (N/2 endpoints, each reached by an LDP and an
// SR tunnel with one via and one label) in one pipelined burst; the time
// until every one is in the published RIB and FIB. Then single changes (one
// tunnel's label) and the time until the FIB entry shows each, as a median.

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/tunneld/RedisLink.h"
#include "tools/tunneld/harness/LocalRedis.h"
#include "tools/tunneld/harness/StoreHarness.h"

namespace {

using Clock = std::chrono::steady_clock;
using namespace TunnelD;

double secondsSince( Clock::time_point start ) {
   return std::chrono::duration< double >( Clock::now() - start ).count();
}

std::string endpoint( int i ) {
   return "10." + std::to_string( ( i >> 16 ) & 255 ) + "." + std::to_string( ( i >> 8 ) & 255 ) +
          "." + std::to_string( i & 255 ) + "/32";
}

std::string entry( const std::string & id, int i, int label ) {
   return R"({ "id": ")" + id + R"(", "endpoints": [ ")" + endpoint( i ) +
          R"(" ], "m": 10, "vias": [ { "hop": "10.255.0.2", "intf": "Ethernet1", "labels": [ )" +
          std::to_string( label ) + " ] } ] }";
}

std::size_t countKeys( RedisLink & link, const std::string & pattern ) {
   std::size_t count = 0;
   std::string cursor = "0";
   do {
      auto reply = link.command( { "SCAN", cursor, "MATCH", pattern, "COUNT", "10000" } );
      cursor = reply.elements[ 0 ].text;
      count += reply.elements[ 1 ].elements.size();
   } while ( cursor != "0" );
   return count;
}

} // namespace

int main( int argc, char ** argv ) {
   CLI::App app( "tunneld's throughput: a burst of tunnels and single changes", "tunneld_bench" );
   int tunnels = 100000;
   int changes = 200;
   app.add_option( "--tunnels", tunnels, "Tunnels in the burst (even)" )->check( CLI::Range( 2, 2000000 ) );
   app.add_option( "--changes", changes, "Single changes timed" )->check( CLI::Range( 1, 100000 ) );
   CLI11_PARSE( app, argc, argv );

   Harness::LocalRedis redis;
   KeySchema schema( "tunnel" );
   RedisLink link( "127.0.0.1", redis.port() );
   Harness::ChildProcess tunneld( { TUNNELD_PATH, "--port", std::to_string( redis.port() ) },
                                  redis.dir() + "/tunneld.log" );
   if ( !Harness::synced( link, schema, "started", 30 ) ) {
      std::fprintf( stderr, "tunneld did not start; see %s/tunneld.log\n", redis.dir().c_str() );
      return 1;
   }

   const int endpoints = tunnels / 2;
   Harness::KeyValues burst = {
      { schema.inputs() + "described:ldp", "true" },
      { schema.inputs() + "described:sr", "true" },
      { schema.inputs() + "rib:system-tunnel-rib",
        R"({ "ldp": { "preference": 20 }, "sr": { "preference": 10 } })" } };
   for ( int i = 0; i < endpoints; ++i ) {
      std::string ldp = "ldp:" + std::to_string( i + 1 ), sr = "sr:" + std::to_string( i + 1 );
      burst.emplace_back( schema.inputs() + "table:ldp:" + ldp, entry( ldp, i, 100000 + i ) );
      burst.emplace_back( schema.inputs() + "table:sr:" + sr, entry( sr, i, 200000 + i ) );
   }
   auto start = Clock::now();
   Harness::writeAll( link, burst );
   double written = secondsSince( start );
   if ( !Harness::synced( link, schema, "burst", 120 ) ) {
      std::fprintf( stderr, "tunneld did not catch up with the burst\n" );
      return 1;
   }
   double published = secondsSince( start );
   std::size_t ribEntries = countKeys( link, schema.outputs() + "rib:0:*" );
   std::size_t fibEntries = countKeys( link, schema.outputs() + "fib:*" );
   std::printf( "burst of %d tunnels: written in %.2f s, all published in %.2f s "
                "(%zu RIB entries, %zu FIB entries)\n",
                tunnels, written, published, ribEntries, fibEntries );
   if ( ribEntries != std::size_t( endpoints ) || fibEntries != std::size_t( tunnels ) ) {
      std::fprintf( stderr, "not every tunnel is published\n" );
      return 1;
   }

   // Single changes: a new label for one LDP tunnel, timed until its FIB
   // entry names a new encap.
   std::vector< double > latencies;
   for ( int change = 0; change < changes; ++change ) {
      int i = ( change * 7919 ) % endpoints;
      std::string ldp = "ldp:" + std::to_string( i + 1 );
      std::string fibKey = schema.outputs() + "fib:" + ldp;
      std::string before = link.command( { "GET", fibKey } ).text;
      auto sent = Clock::now();
      link.command( { "SET", schema.inputs() + "table:ldp:" + ldp, entry( ldp, i, 300000 + change ) } );
      while ( link.command( { "GET", fibKey } ).text == before ) {
         if ( secondsSince( sent ) > 5 ) {
            std::fprintf( stderr, "a change was not published within 5 s\n" );
            return 1;
         }
      }
      latencies.push_back( secondsSince( sent ) );
   }
   std::sort( latencies.begin(), latencies.end() );
   std::printf( "single change published: median %.3f ms, 90th percentile %.3f ms, max %.3f ms "
                "over %d changes\n",
                latencies[ latencies.size() / 2 ] * 1e3,
                latencies[ latencies.size() * 9 / 10 ] * 1e3, latencies.back() * 1e3, changes );
   tunneld.signal( SIGTERM );
   return tunneld.wait() == 0 ? 0 : 1;
}
