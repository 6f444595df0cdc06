#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <thread>

#include "tests/tunneld/TunneldWorld.h"
#include "tools/tunnelsim/JsonParse.h"

// tunneld as its users see it: a producer writes keys, tunneld publishes, and
// what it publishes is what tunnelsim prints for the same inputs.

namespace TunneldTest {
namespace {

Json readJsonFile( const std::string & file ) {
   std::ifstream in( file );
   std::stringstream text;
   text << in.rdbuf();
   return TunnelSim::parseJson( text.str() );
}

// The scenario without its script, written where tunnelsim can read it.
std::string setupOnly( const Json & scenario, const std::string & file ) {
   Json setup = scenario;
   setup.erase( "script" );
   std::ofstream( file ) << setup.dump( 1 );
   return file;
}

void expectPublishedAsPrinted( World & world, const std::string & scenarioFile,
                               const std::string & name ) {
   Published printed = printedOf( runTunnelsim( scenarioFile ) );
   Published published = publishedOf( world.outputs() );
   EXPECT_TRUE( published.problems.empty() ) << name << ": " << published.problems.front();
   EXPECT_TRUE( printed.sameOutputs( Published{ published.ribEntries, published.fibVias,
                                               published.unprogrammable, {}, {}, {} } ) )
      << name << ":\n"
      << difference( printed, published );
   EXPECT_FALSE( printed.ribEntries.empty() && printed.fibVias.empty() ) << name;
}

TEST( TunneldTest, publishesWhatTunnelsimPrintsForTheSameInputs ) {
   const std::string dir = SOURCE_DIR;
   for ( std::string file :
         { dir + "/examples/network.json", dir + "/tests/e2e/bgp-lu.json",
           dir + "/tests/e2e/fib-kinds.json", dir + "/tests/e2e/fib-unflatten.json",
           dir + "/tests/e2e/gr-restart.json", dir + "/tests/e2e/fib.json" } ) {
      World world;
      Json scenario = readJsonFile( file );
      auto keys = TunnelD::Harness::scenarioInputKeys( world.schema(), scenario );
      // Toggles are read once at start; the rest arrives while tunneld runs.
      TunnelD::Harness::KeyValues toggles, rest;
      for ( auto & key : keys ) {
         ( key.first == world.schema().toggles() ? toggles : rest ).push_back( key );
      }
      TunnelD::Harness::writeAll( world.client(), toggles );
      world.startTunneld();
      TunnelD::Harness::writeAll( world.client(), rest );
      expectPublishedAsPrinted( world, setupOnly( scenario, world.redis().dir() + "/setup.json" ),
                                file );

      // The live inputs written back as a scenario give the same print.
      std::string exported = world.redis().dir() + "/exported.json";
      TunnelD::Harness::ChildProcess writer( { TUNNELD_PATH, "--port",
                                               std::to_string( world.redis().port() ),
                                               "--write-scenario", exported } );
      ASSERT_EQ( writer.wait(), 0 );
      expectPublishedAsPrinted( world, exported, file + " (exported)" );
      EXPECT_EQ( world.stopTunneld(), 0 ) << world.log();
   }
}

TEST( TunneldTest, refusesBadKeysOnceEachAndAppliesThemWhenFixed ) {
   World world;
   world.startTunneld();
   const std::string good =
      R"({ "id": "ldp:1", "endpoints": ["10.0.0.1/32"],
           "vias": [ { "hop": "10.1.1.2", "intf": "Ethernet1", "labels": [24001] } ] })";
   world.set( "described:ldp", "true" );
   world.set( "rib:system-tunnel-rib", R"({ "ldp": { "preference": 20 } })" );
   world.set( "table:ldp:ldp:1", good );
   const std::map< std::string, std::string > bad = {
      { "table:ldp:ldp:5", "$: not valid JSON (line 1, column 4)" },
      { "table:nosuch:ldp:1", "$: unknown table \"nosuch\"" },
      { "table:ldp:ldp:6", "$.pref: expected an integer from 0 to 255, got 300" },
      { "table:ldp:ldp:7", "$.id: expected the tunnel id of the key, ldp:7, got \"ldp:8\"" },
      { "table:ldp:sr:1", "$: expected a tunnel id of type ldp" },
      { "rib:red", "$.nosuch: unknown table \"nosuch\" for a tunnel RIB" },
      { "mplsTunnelConfig", "$.entropyLabelPush: expected true or false, got 1" },
      { "whatever", "$: unknown input key" },
   };
   world.set( "table:ldp:ldp:5", "{ not json" );
   world.set( "table:nosuch:ldp:1", "{}" );
   world.set( "table:ldp:ldp:6", R"({ "id": "ldp:6", "pref": 300 })" );
   world.set( "table:ldp:ldp:7", R"({ "id": "ldp:8" })" );
   world.set( "table:ldp:sr:1", R"({ "id": "sr:1" })" );
   world.set( "rib:red", R"({ "nosuch": {} })" );
   world.set( "mplsTunnelConfig", R"({ "entropyLabelPush": 1 })" );
   world.set( "whatever", "1" );
   auto outputs = world.outputs();
   EXPECT_TRUE( outputs.count( "rib:0:10.0.0.1/32" ) ) << world.log();

   auto refused = world.client().command( { "HGETALL", world.schema().refused() } );
   std::map< std::string, std::string > reasons;
   for ( std::size_t i = 0; i + 1 < refused.elements.size(); i += 2 ) {
      reasons[ refused.elements[ i ].text.substr( world.schema().inputs().size() ) ] =
         refused.elements[ i + 1 ].text;
   }
   ASSERT_EQ( reasons.size(), bad.size() ) << world.log();
   for ( const auto & [ key, reason ] : bad ) {
      EXPECT_TRUE( reasons[ key ].starts_with( reason ) ) << key << ": " << reasons[ key ];
   }
   auto status = [ & ]( const char * field ) {
      return world.client().command( { "HGET", world.schema().status(), field } ).text;
   };
   EXPECT_EQ( status( "refusedKeys" ), std::to_string( bad.size() ) );

   // A good key turned bad keeps what it held; fixed keys are applied.
   world.set( "table:ldp:ldp:1", R"({ "id": "ldp:1", "m": "far" })" );
   world.set( "table:ldp:ldp:6", R"({ "id": "ldp:6", "endpoints": ["10.0.0.6/32"],
      "vias": [ { "hop": "10.1.1.2", "intf": "Ethernet1", "labels": [24006] } ] })" );
   world.del( "table:nosuch:ldp:1" );
   world.del( "whatever" );
   outputs = world.outputs();
   EXPECT_TRUE( outputs.count( "rib:0:10.0.0.1/32" ) );
   EXPECT_TRUE( outputs.count( "rib:0:10.0.0.6/32" ) ) << world.log();
   EXPECT_EQ( status( "refusedKeys" ), std::to_string( bad.size() - 3 + 1 ) );
   EXPECT_EQ( world.client().command( { "HEXISTS", world.schema().refused(),
                                        world.schema().inputs() + "table:ldp:ldp:6" } ).integer,
              0 );

   // Each refusal is logged once, however often the store is read again.
   world.redis().restart();
   world.reconnect();
   world.set( "table:ldp:ldp:9", "[]" );
   world.outputs();
   std::string log = world.log();
   std::size_t count = 0;
   for ( auto at = log.find( "ldp:ldp:7:" ); at != std::string::npos;
         at = log.find( "ldp:ldp:7:", at + 1 ) ) {
      ++count;
   }
   EXPECT_EQ( count, 1u ) << log;
   EXPECT_TRUE( world.tunneld().running() );
   EXPECT_EQ( world.stopTunneld(), 0 );
}

// What did not change keeps its keys and values over a restart; what changed
// while tunneld was down is taken up.
TEST( TunneldTest, restartsOverWhatItPublished ) {
   World world;
   Json scenario = readJsonFile( std::string( SOURCE_DIR ) + "/examples/network.json" );
   TunnelD::Harness::writeAll( world.client(),
                               TunnelD::Harness::scenarioInputKeys( world.schema(), scenario ) );
   world.startTunneld();
   auto before = world.outputs();
   EXPECT_EQ( world.stopTunneld(), 0 );

   // While tunneld is down, LDP withdraws the tunnel to PE6.
   world.del( "table:ldp:ldp:4" );
   auto watched = TunnelD::Harness::readAtOnce( world.client(), world.schema().outputs() + "*" );
   world.startTunneld();
   auto after = world.outputs();
   EXPECT_FALSE( after.count( "fib:ldp:4" ) );
   EXPECT_FALSE( after.count( "rib:0:10.0.0.6/32" ) );
   std::size_t kept = 0;
   for ( const auto & [ key, value ] : before ) {
      if ( key.find( "ldp:4" ) != std::string::npos || key.find( "10.0.0.6/" ) != std::string::npos ) {
         continue;
      }
      if ( key.starts_with( "encap:" ) && !after.count( key ) ) {
         continue;
      }
      EXPECT_EQ( after[ key ], value ) << key;
      ++kept;
   }
   EXPECT_GT( kept, 20u );
   EXPECT_TRUE( publishedOf( after ).problems.empty() );
   EXPECT_EQ( world.stopTunneld(), 0 );
}

// The server goes away: tunneld waits for it, its outputs stay, and it reads
// everything again once the server is back.
TEST( TunneldTest, resynchronisesWhenTheStoreComesBack ) {
   World world;
   Json scenario = readJsonFile( std::string( SOURCE_DIR ) + "/tests/e2e/fib.json" );
   TunnelD::Harness::writeAll( world.client(),
                               TunnelD::Harness::scenarioInputKeys( world.schema(), scenario ) );
   world.startTunneld();
   auto before = world.outputs();
   world.redis().restart();
   world.reconnect();
   auto again = world.outputs();
   EXPECT_EQ( again, before );
   world.del( "table:ldp:ldp:1" );
   auto after = world.outputs();
   EXPECT_FALSE( after.count( "fib:ldp:1" ) );
   EXPECT_GE( std::stoi( world.client().command( { "HGET", world.schema().status(), "resyncs" } ).text ),
              2 );
   EXPECT_TRUE( publishedOf( after ).problems.empty() );
   EXPECT_EQ( world.stopTunneld(), 0 );
}

} // namespace
} // namespace TunneldTest
