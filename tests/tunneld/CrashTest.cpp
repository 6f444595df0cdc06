#include <gtest/gtest.h>

#include <signal.h>

#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

#include "tests/tunneld/TunneldWorld.h"

// tunneld killed with SIGKILL at random moments while a producer churns its
// inputs, and the store itself restarted once: whatever was observed in
// between, no FIB entry named an unpublished encap; a restart without input
// changes kept every encap id; and once idle, the outputs are those of a
// fresh tunneld over the same inputs.

namespace TunneldTest {
namespace {

constexpr int kills = 12;
constexpr int burstsPerRun = 12;

unsigned seed() {
   if ( const char * env = std::getenv( "TUNNELD_CRASH_SEED" ) ) {
      return static_cast< unsigned >( std::strtoul( env, nullptr, 10 ) );
   }
   return std::random_device{}();
}

// Random writes over a small world: LDP and SR tunnels to a few endpoints
// with labels from a small set, so encapsulations are shared; BGP-LU tunnels
// over them; two RIBs; the entropy-label setting.
class Producer {
 public:
   explicit Producer( unsigned seed ) : random_( seed ) {}

   // One key and its value, or no value for a delete.
   std::pair< std::string, std::optional< std::string > > next() {
      int choice = pick( 100 );
      if ( choice < 70 ) {
         return tableWrite();
      }
      if ( choice < 78 ) {
         std::string table = pick( 2 ) ? "ldp" : ( pick( 2 ) ? "sr" : "bgpLu" );
         return { "described:" + table, pick( 4 ) ? "true" : "false" };
      }
      if ( choice < 88 ) {
         if ( pick( 5 ) == 0 ) {
            return { "rib:red", std::nullopt };
         }
         return { pick( 2 ) ? "rib:red" : "rib:system-tunnel-rib",
                  R"({ "ldp": { "preference": )" + std::to_string( 10 + pick( 3 ) * 10 ) +
                     R"( }, "sr": { "preference": 20 }, "bgpLu": {} })" };
      }
      return { "mplsTunnelConfig",
               std::string( R"({ "entropyLabelPush": )" ) + ( pick( 2 ) ? "true" : "false" ) + " }" };
   }

 private:
   int pick( int n ) { return std::uniform_int_distribution< int >( 0, n - 1 )( random_ ); }

   std::pair< std::string, std::optional< std::string > > tableWrite() {
      const char * tables[] = { "ldp", "sr", "bgpLu" };
      std::string table = tables[ pick( 3 ) ];
      std::string id = table + ":" + std::to_string( 1 + pick( 5 ) );
      std::string key = "table:" + table + ":" + id;
      if ( pick( 4 ) == 0 ) {
         return { key, std::nullopt };
      }
      // Tunnels to one endpoint share their metric: which member's metric an
      // ECMP set shows depends on the order the members came in.
      const int host = 1 + pick( 4 );
      const std::string metric = std::to_string( host * 10 );
      std::string endpoint = "\"10.0.0." + std::to_string( host ) + "/32\"";
      if ( table == "bgpLu" ) {
         std::string under = ( pick( 2 ) ? "ldp:" : "sr:" ) + std::to_string( 1 + pick( 5 ) );
         return { key, R"({ "id": ")" + id + R"(", "endpoints": [)" + endpoint + R"(], "m": )" +
                          metric + R"(, "vias": [ { "hop": "10.0.0.)" +
                          std::to_string( 1 + pick( 4 ) ) + R"(", "tunnel": ")" + under +
                          R"(" } ], "labels": [)" + std::to_string( 100000 + pick( 3 ) ) + "] }" };
      }
      std::string vias;
      for ( int via = 0, count = 1 + pick( 2 ); via < count; ++via ) {
         vias += std::string( via ? ", " : "" ) + R"({ "hop": "10.1.)" + std::to_string( via ) +
                 R"(.2", "intf": "Ethernet)" + std::to_string( 1 + via ) + R"(", "labels": [)" +
                 std::to_string( 16000 + pick( 4 ) ) + "] }";
      }
      return { key, R"({ "id": ")" + id + R"(", "endpoints": [)" + endpoint + R"(], "m": )" +
                       metric + R"(, "vias": [ )" + vias + " ] }" };
   }

   std::mt19937 random_;
};

std::map< std::string, std::string > currentOutputs( World & world ) {
   std::map< std::string, std::string > outputs;
   const std::string prefix = world.schema().outputs();
   for ( auto & [ key, value ] : TunnelD::Harness::readAtOnce( world.client(), prefix + "*" ) ) {
      outputs.emplace( key.substr( prefix.size() ), std::move( value ) );
   }
   return outputs;
}

// Problems that may not be seen at any moment: an entry whose encap or whose
// RIB is not published. (An encap briefly named by nobody is fine: it is
// published before the entry that will name it.)
void expectConsistent( const std::map< std::string, std::string > & outputs,
                       const std::string & when ) {
   for ( const std::string & problem : publishedOf( outputs ).problems ) {
      EXPECT_TRUE( problem.find( "named by no FIB entry" ) != std::string::npos )
         << when << ": " << problem;
   }
}

// The encap id each published via names, by the via and what the encap
// carries: a via that stays the same over a restart keeps its encap id.
std::map< std::string, std::string >
encapIdsByVia( const std::map< std::string, std::string > & outputs ) {
   std::map< std::string, std::string > ids;
   const auto encaps = publishedOf( outputs ).encaps;
   for ( const auto & [ key, text ] : outputs ) {
      if ( !key.starts_with( "fib:" ) ) {
         continue;
      }
      Json entry = Json::parse( text );
      for ( const char * list : { "vias", "backupVias" } ) {
         for ( const Json & via : entry[ list ] ) {
            if ( via[ "encapId" ].is_null() ) {
               continue;
            }
            std::string id = via[ "encapId" ];
            auto holds = encaps.find( id );
            ids[ key + " " + list + " " + via[ "hop" ].get< std::string >() + " " +
                 via[ "intf" ].get< std::string >() + " " +
                 ( holds == encaps.end() ? "?" : holds->second ) ] = id;
         }
      }
   }
   return ids;
}

TEST( TunneldCrashTest, survivesKillsAndAStoreRestartAndEndsAsAFreshTunneld ) {
   const unsigned runSeed = seed();
   SCOPED_TRACE( "TUNNELD_CRASH_SEED=" + std::to_string( runSeed ) );
   std::mt19937 random( runSeed );
   auto chance = [ & ]( int n ) { return std::uniform_int_distribution< int >( 0, n - 1 )( random ); };
   Producer producer( runSeed );
   World world;
   auto write = [ & ]( int count ) {
      for ( int i = 0; i < count; ++i ) {
         auto [ key, value ] = producer.next();
         const std::string full = world.schema().inputs() + key;
         if ( value ) {
            world.client().append( { "SET", full, *value } );
         } else {
            world.client().append( { "DEL", full } );
         }
      }
      world.client().flush();
   };

   write( 40 );
   world.startTunneld();
   int renumberChecks = 0;
   for ( int run = 0; run < kills; ++run ) {
      for ( int burst = 0; burst < burstsPerRun; ++burst ) {
         write( 1 + chance( 12 ) );
         std::this_thread::sleep_for( std::chrono::microseconds( chance( 3000 ) ) );
         expectConsistent( currentOutputs( world ), "run " + std::to_string( run ) );
      }
      if ( run == kills / 2 ) {
         world.redis().restart();
         world.reconnect();
      }
      // Killed at a random moment, maybe in the middle of a burst's work.
      write( 1 + chance( 12 ) );
      std::this_thread::sleep_for( std::chrono::microseconds( chance( 4000 ) ) );
      world.killTunneld();
      auto left = currentOutputs( world );
      expectConsistent( left, "after kill " + std::to_string( run ) );
      const bool changedWhileDown = chance( 3 ) == 0;
      if ( changedWhileDown ) {
         write( 1 + chance( 6 ) );
      }
      world.startTunneld();
      if ( !changedWhileDown ) {
         // What the restarted tunneld took over keeps its encap ids.
         auto taken = world.outputs();
         expectConsistent( taken, "restart " + std::to_string( run ) );
         auto before = encapIdsByVia( left ), after = encapIdsByVia( taken );
         for ( const auto & [ via, id ] : before ) {
            if ( after.count( via ) ) {
               EXPECT_EQ( after[ via ], id ) << via << " renumbered at restart " << run;
            }
         }
         ++renumberChecks;
      }
   }
   EXPECT_GT( renumberChecks, 0 );

   // Idle now, with every table described: compare with a fresh tunneld over
   // a copy of the inputs.
   for ( const char * table : { "ldp", "sr", "bgpLu" } ) {
      world.set( std::string( "described:" ) + table, "true" );
   }
   auto outputs = world.outputs();
   KeySchema fresh( "fresh" );
   TunnelD::Harness::KeyValues copied;
   for ( const auto & [ key, value ] :
         TunnelD::Harness::readAtOnce( world.client(), world.schema().inputs() + "*" ) ) {
      copied.emplace_back( fresh.inputs() + key.substr( world.schema().inputs().size() ), value );
   }
   TunnelD::Harness::writeAll( world.client(), copied );
   TunnelD::Harness::ChildProcess freshTunneld(
      { TUNNELD_PATH, "--port", std::to_string( world.redis().port() ), "--prefix", "fresh" },
      world.redis().dir() + "/fresh.log" );
   ASSERT_TRUE( TunnelD::Harness::synced( world.client(), fresh, "fresh", 20 ) );
   std::map< std::string, std::string > freshOutputs;
   for ( auto & [ key, value ] :
         TunnelD::Harness::readAtOnce( world.client(), fresh.outputs() + "*" ) ) {
      freshOutputs.emplace( key.substr( fresh.outputs().size() ), std::move( value ) );
   }
   Published survivor = publishedOf( outputs ), expected = publishedOf( freshOutputs );
   EXPECT_TRUE( survivor.problems.empty() ) << survivor.problems.front();
   EXPECT_TRUE( expected.problems.empty() ) << expected.problems.front();
   EXPECT_TRUE( expected.sameOutputs( survivor ) ) << difference( expected, survivor );
   EXPECT_FALSE( expected.fibVias.empty() );
   EXPECT_EQ( world.stopTunneld(), 0 );
}

} // namespace
} // namespace TunneldTest
