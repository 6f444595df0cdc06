#include <gtest/gtest.h>

#include <random>

#include "agent/TunnelAgent.h"
#include "platform/korvo/IntfId.h"
#include "tests/tunneld/TunneldWorld.h"
#include "tools/tunneld/InputKeys.h"
#include "tools/tunneld/OutputCodec.h"
#include "tools/tunneld/OutputMirror.h"
#include "tools/tunnelsim/ScenarioError.h"

// What tunneld does without a store: the output records read back as they
// were written, input keys read with tunnelsim's readers, and the mirror's
// writes, replayed in order, passing only through states in which every FIB
// entry's encaps are published and ending where the tables are.

namespace TunneldTest {
namespace {

using namespace Tunnel::TunnelTable;
using namespace Tunnel::TunnelFib;
using TunnelD::OutputState;
using TunnelD::OutputWrite;
using TunnelSim::JsonValue;

class Random {
 public:
   explicit Random( unsigned seed ) : engine_( seed ) {}
   unsigned pick( unsigned n ) { return std::uniform_int_distribution< unsigned >( 0, n - 1 )( engine_ ); }

   Korvo::IpGenAddr address() {
      std::string text = pick( 3 ) ? "10." + std::to_string( pick( 256 ) ) + ".0." + std::to_string( pick( 256 ) )
                                   : "2001:db8::" + std::to_string( 1 + pick( 9000 ) );
      return *Korvo::IpGenAddr::parse( text );
   }
   TunnelId tunnelId() {
      const TunnelType types[] = { TunnelType::ldpTunnel, TunnelType::srTunnel, TunnelType::bgpLuTunnel };
      return TunnelId( types[ pick( 3 ) ], 1 + pick( 1000 ) );
   }
   Korvo::MplsLabelOperation labels() {
      std::string text = pick( 5 ) ? "push [" : ( pick( 2 ) ? "swap [" : "pop [" );
      if ( text != "pop [" ) {
         // The entropy label follows its indicator, 7.
         for ( unsigned i = 0, n = 1 + pick( 4 ); i < n; ++i ) {
            text += ( i ? " " : "" ) + ( pick( 6 ) ? std::to_string( 16 + pick( 1000000 ) ) : std::string( "7 EL" ) );
         }
      }
      return *Korvo::MplsLabelOperation::parse( text + "]" );
   }

 private:
   std::mt19937 engine_;
};

template< class Read, class Value >
Value roundTrip( Read read, const std::string & text ) {
   Json json = Json::parse( text );
   return read( JsonValue( json, "$" ) );
}

TEST( OutputCodecTest, recordsReadBackAsWritten ) {
   Random random( 7 );
   for ( int round = 0; round < 300; ++round ) {
      Korvo::IpGenPrefix tep( random.address(), random.pick( 2 ) ? 32 : 24 );
      if ( tep.address().family() == Korvo::AddressFamily::ipv6 ) {
         tep = Korvo::IpGenPrefix( tep.address(), 128 );
      }
      TunnelRibEntry rib( random.pick( 2 ) ? ColoredTunnelEndpoint( tep )
                                           : ColoredTunnelEndpoint( tep, random.pick( 5000 ) ) );
      for ( unsigned i = 0, n = random.pick( 5 ); i < n; ++i ) {
         rib.addTunnelId( random.tunnelId() );
      }
      rib.prefIs( static_cast< std::uint8_t >( random.pick( 256 ) ) );
      rib.mIs( random.pick( 1u << 31 ) );
      rib.metricTypeIs( random.pick( 3 ) );
      rib.m2Is( random.pick( 100 ) );
      rib.igpCostPrefIs( random.pick( 256 ) );
      rib.p2Is( random.pick( 100 ) );
      Json ribJson = Json::parse( TunnelD::ribEntryJson( rib ) );
      EXPECT_EQ( TunnelD::readRibEntry( JsonValue( ribJson, "$" ) ), rib ) << ribJson.dump();

      TunnelFibEntry fib( random.tunnelId() );
      fib.arePrimaryViasUsableIs( random.pick( 2 ) );
      fib.seqNoIs( static_cast< std::uint16_t >( random.pick( 65536 ) ) );
      for ( unsigned i = 0, n = random.pick( 4 ); i < n; ++i ) {
         Korvo::IntfId intf = random.pick( 2 ) ? *Korvo::IntfId::parse( "Ethernet" + std::to_string( 1 + random.pick( 48 ) ) )
                                               : Korvo::IntfId::dynamicTunnel( random.tunnelId().value() );
         EncapId encap = random.pick( 4 ) ? EncapId::encapValueIs( EncapType::mplsLabelStackEncap, random.pick( 100000 ) )
                                          : EncapId();
         TunnelVia via( Via( random.address(), intf ), encap );
         if ( random.pick( 3 ) ) {
            fib.tunnelViaIs( TunnelViaIndex::of( fib.tunnelVia().size() ), via );
         } else {
            fib.backupTunnelViaIs( TunnelViaIndex::of( fib.backupTunnelVia().size() ), via );
         }
      }
      Json fibJson = Json::parse( TunnelD::fibEntryJson( fib ) );
      EXPECT_EQ( TunnelD::readFibEntry( JsonValue( fibJson, "$" ) ), fib ) << fibJson.dump();

      LabelStackEncap stack( EncapId::encapValueIs( EncapType::mplsLabelStackEncap, random.pick( 1000 ) ),
                             random.labels() );
      Tunnel::GreTunnelInfo gre( random.address(), random.address(),
                                 static_cast< std::uint8_t >( random.pick( 256 ) ),
                                 static_cast< std::uint8_t >( random.pick( 256 ) ) );
      GreEncap greEncap( EncapId::encapValueIs( EncapType::greEncap, random.pick( 1000 ) ), gre );
      IpsecGreEncap ipsecGre( EncapId::encapValueIs( EncapType::ipsecGreEncap, random.pick( 1000 ) ),
                              Tunnel::IpsecGreTunnelInfo( gre, "profile" + std::to_string( round ) ) );
      IpsecVtiEncap vti( EncapId::encapValueIs( EncapType::ipsecVtiEncap, random.pick( 1000 ) ),
                         Tunnel::IpsecVtiTunnelInfo( random.address(), random.address(), "vti" ) );
      auto readBack = [ & ]( const auto & record ) {
         Json json = Json::parse( TunnelD::encapJson( record ) );
         auto value = TunnelD::readEncap( JsonValue( json, "$" ) );
         using Record = std::decay_t< decltype( record ) >;
         ASSERT_TRUE( std::holds_alternative< Record >( value ) ) << json.dump();
         EXPECT_EQ( std::get< Record >( value ), record ) << json.dump();
      };
      readBack( stack );
      readBack( greEncap );
      readBack( ipsecGre );
      readBack( vti );
   }

   // What cannot be read is refused with where and what.
   Json bad = Json::parse( R"({ "encapId": "mpls:3", "type": "mpls", "holds": "push [x]" })" );
   try {
      TunnelD::readEncap( JsonValue( bad, "$" ) );
      FAIL() << "read a bad label stack";
   } catch ( const TunnelSim::ScenarioError & e ) {
      EXPECT_EQ( e.path(), "$.holds" );
   }
}

TEST( InputKeysTest, keysAreReadAsScenarioValuesAndDeletionsUndoThem ) {
   TunnelD::KeySchema schema( "t" );
   Tunnel::TunnelAgent agent;
   auto apply = [ & ]( const std::string & key, std::optional< std::string > value ) {
      TunnelD::readInputKey( schema, "t:in:" + key, value )( agent );
   };
   auto refusal = [ & ]( const std::string & key, const std::string & value ) -> std::string {
      try {
         TunnelD::readInputKey( schema, "t:in:" + key, value );
      } catch ( const TunnelSim::ScenarioError & e ) {
         return e.what();
      }
      return "applied";
   };
   apply( "described:ldp", "true" );
   EXPECT_TRUE( agent.tableInfo->tableInfo().has( "ldp" ) );
   apply( "described:ldp", std::nullopt );
   EXPECT_FALSE( agent.tableInfo->tableInfo().has( "ldp" ) );
   apply( "rib:red", R"({ "ldp": { "preference": 30 } })" );
   ASSERT_TRUE( agent.ribConfigDir->tunnelRibConfig( Vel::Name( "red" ) ) );
   apply( "rib:red", std::nullopt );
   EXPECT_FALSE( agent.ribConfigDir->tunnelRibConfig( Vel::Name( "red" ) ) );
   apply( "mplsTunnelConfig", R"({ "entropyLabelPush": true })" );
   EXPECT_TRUE( agent.mplsTunnelConfig->entropyLabelPush()() );
   apply( "mplsTunnelConfig", std::nullopt );
   EXPECT_FALSE( agent.mplsTunnelConfig->entropyLabelPush()() );
   apply( "table:ldp:ldp:4", R"({ "id": "ldp:4", "endpoints": [ "10.0.0.4/32" ] })" );
   auto ldp = agent.producerTable< LdpTunnelTable >();
   EXPECT_TRUE( ldp->entry().has( *TunnelId::parse( "ldp:4" ) ) );
   apply( "table:ldp:ldp:4", std::nullopt );
   EXPECT_FALSE( ldp->entry().has( *TunnelId::parse( "ldp:4" ) ) );

   // Refusals name the place within the value, not the wrapping step.
   EXPECT_EQ( refusal( "rib:red", R"({ "ldp": { "preference": 256 } })" ),
              "$.ldp.preference: expected an integer from 0 to 255, got 256" );
   EXPECT_EQ( refusal( "tableComplete:ldp", "3" ), "$: expected true or false, got 3" );
   EXPECT_EQ( refusal( "gracefulRestart", R"({ "restart": true })" ).substr( 0, 16 ),
              "$.restart: unkno" );
   EXPECT_EQ( refusal( "table:ldp", "{}" ), "$: a table entry key ends in <table>:<tunnel id>" );
   EXPECT_EQ( refusal( "described:ldp", "\"yes\"" ), "$: expected true or false, got \"yes\"" );
}

// The encap ids a FIB entry's value names.
std::vector< std::string > encapsNamed( const std::string & fibValue ) {
   std::vector< std::string > ids;
   Json entry = Json::parse( fibValue );
   for ( const char * list : { "vias", "backupVias" } ) {
      for ( const Json & via : entry[ list ] ) {
         if ( !via[ "encapId" ].is_null() ) {
            ids.push_back( via[ "encapId" ] );
         }
      }
   }
   return ids;
}

// The RIB id of a RIB entry's key ("rib:<id>:<endpoint>").
std::string ribOf( const std::string & key ) {
   return key.substr( 4, key.find( ':', 4 ) - 4 );
}

// Replays writes onto a copy of the store, checking at each one that no FIB
// entry names a missing encap and no RIB entry a missing RIB. The store
// must start so.
void replay( OutputState & store, const std::vector< OutputWrite > & writes,
             const std::string & when ) {
   std::map< std::string, int > encapUsers, ribEntries;
   for ( const auto & [ key, value ] : store ) {
      if ( key.starts_with( "fib:" ) ) {
         for ( const std::string & id : encapsNamed( value ) ) {
            ++encapUsers[ id ];
         }
      } else if ( key.starts_with( "rib:" ) ) {
         ++ribEntries[ ribOf( key ) ];
      }
   }
   for ( const OutputWrite & write : writes ) {
      auto old = store.find( write.key );
      if ( write.key.starts_with( "fib:" ) ) {
         if ( old != store.end() ) {
            for ( const std::string & id : encapsNamed( old->second ) ) {
               --encapUsers[ id ];
            }
         }
         if ( write.value ) {
            for ( const std::string & id : encapsNamed( *write.value ) ) {
               ASSERT_TRUE( store.count( "encap:" + id ) )
                  << when << ": " << write.key << " names the unpublished encap " << id;
               ++encapUsers[ id ];
            }
         }
      } else if ( write.key.starts_with( "encap:" ) && !write.value ) {
         ASSERT_EQ( encapUsers[ write.key.substr( 6 ) ], 0 )
            << when << ": " << write.key << " withdrawn while named";
      } else if ( write.key.starts_with( "rib:" ) ) {
         ASSERT_TRUE( store.count( "ribs:" + ribOf( write.key ) ) )
            << when << ": " << write.key << " written without its RIB";
         ribEntries[ ribOf( write.key ) ] +=
            ( write.value ? 1 : 0 ) - ( old != store.end() ? 1 : 0 );
      } else if ( write.key.starts_with( "ribs:" ) && !write.value ) {
         ASSERT_EQ( ribEntries[ write.key.substr( 5 ) ], 0 )
            << when << ": " << write.key << " withdrawn before its entries";
      }
      if ( write.value ) {
         store[ write.key ] = *write.value;
      } else if ( old != store.end() ) {
         store.erase( old );
      }
   }
}

TEST( OutputMirrorTest, writesReplayedInOrderKeepEncapsPublishedAndEndAtTheTables ) {
   for ( unsigned seed = 1; seed <= 20; ++seed ) {
      SCOPED_TRACE( "seed " + std::to_string( seed ) );
      Random random( seed );
      TunnelD::KeySchema schema( "t" );
      Tunnel::TunnelAgent agent;
      TunnelD::OutputMirror mirror( agent );
      auto apply = [ & ]( const std::string & key, std::optional< std::string > value ) {
         TunnelD::readInputKey( schema, "t:in:" + key, value )( agent );
      };
      for ( const char * table : { "ldp", "sr", "bgpLu" } ) {
         apply( std::string( "described:" ) + table, "true" );
      }
      apply( "rib:system-tunnel-rib", R"({ "ldp": {}, "sr": { "preference": 10 }, "bgpLu": {} })" );
      agent.start();
      agent.scheduler->runUntilIdle();
      mirror.attach();
      OutputState store;
      replay( store, mirror.reconcile( {} ), "first publication" );
      for ( int batch = 0; batch < 40; ++batch ) {
         for ( unsigned change = 0, n = 1 + random.pick( 6 ); change < n; ++change ) {
            const char * tables[] = { "ldp", "sr", "bgpLu" };
            std::string table = tables[ random.pick( 3 ) ];
            std::string id = table + ":" + std::to_string( 1 + random.pick( 6 ) );
            std::string host = std::to_string( 1 + random.pick( 3 ) );
            if ( random.pick( 4 ) == 0 ) {
               apply( "table:" + table + ":" + id, std::nullopt );
            } else if ( table == "bgpLu" ) {
               apply( "table:" + table + ":" + id,
                      R"({ "id": ")" + id + R"(", "endpoints": [ "10.9.0.)" + host + R"(/32" ],
                           "vias": [ { "hop": "10.0.0.)" + host + R"(", "tunnel": "ldp:)" +
                         std::to_string( 1 + random.pick( 6 ) ) + R"(" } ], "labels": [ )" +
                         std::to_string( 100 + random.pick( 2 ) ) + " ] }" );
            } else {
               apply( "table:" + table + ":" + id,
                      R"({ "id": ")" + id + R"(", "endpoints": [ "10.0.0.)" + host + R"(/32" ], "m": )" + host +
                         R"(, "vias": [ { "hop": "10.1.0.2", "intf": "Ethernet1", "labels": [ )" +
                         std::to_string( 16 + random.pick( 3 ) ) + " ] } ] }" );
            }
         }
         agent.scheduler->runUntilIdle();
         mirror.sweep();
         replay( store, mirror.takeWrites(), "batch " + std::to_string( batch ) );
         ASSERT_EQ( store, mirror.state() ) << "batch " << batch;
      }

      // A store that holds anything at all is brought to the tables in an
      // order that keeps encaps published.
      OutputState stale = store;
      for ( auto it = stale.begin(); it != stale.end(); ) {
         it = random.pick( 3 ) == 0 ? stale.erase( it ) : std::next( it );
      }
      // As any store tunneld wrote, it has no entry naming a missing encap or
      // RIB.
      for ( bool dropped = true; dropped; ) {
         dropped = false;
         for ( const std::string & problem : publishedOf( stale ).problems ) {
            if ( problem.find( "named by no FIB entry" ) == std::string::npos ) {
               dropped = stale.erase( problem.substr( 0, problem.find( ' ' ) ) ) || dropped;
            }
         }
      }
      stale[ "encap:mpls:999" ] = R"({"encapId":"mpls:999","type":"mpls","holds":"push [5]"})";
      stale[ "fib:ldp:99" ] = R"({"tunnelId":"ldp:99","usable":true,"seqNo":0,"vias":[{"hop":"10.1.0.2","intf":"Ethernet1","encapId":"mpls:999"}],"backupVias":[]})";
      replay( stale, mirror.reconcile( stale ), "reconciliation" );
      EXPECT_EQ( stale, mirror.state() );

      // A new agent loads what was published and shows the same outputs
      // before its machines run.
      Tunnel::TunnelAgent next;
      TunnelD::OutputMirror nextMirror( next );
      std::vector< std::string > refused;
      nextMirror.load( store, [ & ]( const std::string & key, const std::string & ) {
         refused.push_back( key );
      } );
      EXPECT_TRUE( refused.empty() ) << refused.front();
      OutputState loaded = nextMirror.state();
      EXPECT_EQ( loaded, store );
   }
}

} // namespace
} // namespace TunneldTest
