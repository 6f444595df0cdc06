#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>

#include "tests/agent/AgentInputs.h"
#include "tests/agent/AgentOutputs.h"
#include "UnderSanitizer.h"

// The agent stopped anywhere, even inside a drain, its inputs changed while
// it is down, and started again over the RIBs and FIB it left: once idle its
// outputs are those of a fresh agent over the same inputs.

namespace AgentTest {
namespace {

// Seeds of the randomized test, each with a few restarts; fewer under the
// sanitizers.
int seedCount() {
   if ( const char * env = std::getenv( "TUNNEL_RESTART_SEEDS" ) ) {
      return std::atoi( env );
   }
   return underSanitizer ? 100 : 500;
}
constexpr int restartsPerSeed = 5;

// Virtual seconds a drain may take before it counts as endless; a drain here
// needs well under one.
constexpr int maxDrainSeconds = 20;

bool drainEnds( Tunnel::TunnelAgent & agent ) {
   for ( int second = 0; second < maxDrainSeconds && !agent.scheduler->idle(); ++second ) {
      agent.scheduler->runFor( 1.0 );
   }
   return agent.scheduler->idle();
}

const std::vector< std::string > tableNames = { "ldp",     "sr",      "static",
                                                "bgpLu",   "rsvpLer", "greTunnelInterface" };
// The tables a RIB may take.
const std::vector< TunnelTableIdentifier > ribTableIds = {
   TunnelTableIdentifier::ldpTable, TunnelTableIdentifier::srTable,
   TunnelTableIdentifier::staticTable, TunnelTableIdentifier::bgpLuTable,
   TunnelTableIdentifier::rsvpLerTable };
const std::vector< std::string > endpoints = { "10.0.0.1/32", "10.0.0.2/32", "10.0.0.3/32" };
const std::string systemRib = TunnelRibNameIdMap::systemTunnelRibName;
const std::vector< std::string > ribNames = { systemRib, "red", "blue" };

// Watches the FIB's encap tables from a stop until the next one: a record
// that survived the stop keeps its id and value until it is withdrawn, so
// the restarted agent neither renumbers nor overwrites what it adopted.
class EncapWatch {
 public:
   explicit EncapWatch( const Fib::TunnelFib & fib ) : fib_( fib ) {
      watch( fib.labelStackEncap() );
      watch( fib.greEncap() );
   }

   std::vector< std::string > faults() const {
      std::vector< std::string > all = faults_;
      for ( const auto & [ id, text ] : before_ ) {
         if ( !withdrawn_.count( id ) && encapText( fib_, id ) != text ) {
            all.push_back( id.stringValue() + " was " + text + ", now " +
                           encapText( fib_, id ) );
         }
      }
      return all;
   }

 private:
   template< class Table >
   void watch( const Table & table ) {
      for ( const auto & [ id, record ] : table ) {
         before_[ id ] = encapText( fib_, id );
      }
      reactors_.push_back( table.react( [ this, &table ]( const Fib::EncapId & id ) {
         if ( !table.has( id ) ) {
            withdrawn_.insert( id );
         } else if ( auto was = before_.find( id );
                     was != before_.end() && !withdrawn_.count( id ) &&
                     was->second != encapText( fib_, id ) ) {
            faults_.push_back( id.stringValue() + " overwritten: was " + was->second +
                               ", now " + encapText( fib_, id ) );
         }
      } ) );
   }

   const Fib::TunnelFib & fib_;
   std::map< Fib::EncapId, std::string > before_;
   std::set< Fib::EncapId > withdrawn_;
   std::vector< std::string > faults_;
   std::vector< Vel::Reactor > reactors_;
};

std::string joined( const std::vector< std::string > & faults ) {
   std::string text;
   for ( const std::string & fault : faults ) {
      text += "\n  " + fault;
   }
   return text;
}

// The agent under test, the inputs it was given, and the random producers
// and operators that change them. Tunnels sit on levels and lead only
// downwards, so no loop forms: loops have their own tests.
struct RestartWorld {
   std::mt19937 rng;
   Inputs inputs;
   Tunnel::TunnelAgent agent;
   std::map< TunnelId, int > level;
   std::vector< TunnelId > pool;

   explicit RestartWorld( unsigned seed ) : rng( seed ) {
      for ( auto [ type, count ] :
            { std::pair{ TunnelType::ldpTunnel, 4 }, { TunnelType::srTunnel, 3 },
              { TunnelType::staticTunnel, 2 }, { TunnelType::bgpLuTunnel, 4 } } ) {
         for ( int i = 1; i <= count; ++i ) {
            level[ TunnelId( type, i ) ] = int( pick( 4 ) );
         }
      }
      for ( int i = 1; i <= 2; ++i ) {
         level[ TunnelId( TunnelType::rsvpLerTunnel, i ) ] = int( pick( 2 ) );
         level[ TunnelId( TunnelType::staticInterfaceTunnel, i ) ] = 0;
      }
      for ( const auto & [ id, l ] : level ) {
         pool.push_back( id );
      }
      for ( const std::string & table : tableNames ) {
         if ( chance( 90 ) ) {
            inputs.described.insert( table );
            describe( agent, table, true );
         }
      }
      for ( const std::string & name : ribNames ) {
         if ( name == systemRib || chance( 50 ) ) {
            inputs.ribs[ name ] = randomRib();
            configure( agent, name, inputs.ribs[ name ] );
         }
      }
      for ( TunnelId id : pool ) {
         if ( chance( 70 ) ) {
            publishRandom( id );
         }
      }
   }

   unsigned pick( std::size_t n ) {
      return std::uniform_int_distribution< unsigned >( 0, unsigned( n ) - 1 )( rng );
   }
   bool chance( unsigned percent ) { return pick( 100 ) < percent; }

   RibTables randomRib() {
      RibTables tables;
      for ( TunnelTableIdentifier table : ribTableIds ) {
         if ( chance( 60 ) ) {
            tables[ table ] = chance( 70 ) ? std::nullopt
                                           : std::optional< std::uint8_t >( 5 + 10 * pick( 3 ) );
         }
      }
      return tables;
   }

   // Mostly short pushes from a few labels, so that stacks repeat; now and
   // then one too deep to carry another tunnel's labels, a swap or a pop.
   Korvo::MplsLabelOperation randomStack() {
      constexpr Korvo::MplsLabel labels[] = { 100, 200, 16001, 16002 };
      std::vector< Korvo::MplsLabel > stack( chance( 5 ) ? 9 + pick( 2 ) : pick( 3 ) );
      for ( Korvo::MplsLabel & label : stack ) {
         label = labels[ pick( std::size( labels ) ) ];
      }
      Korvo::MplsLabelOperation op = push( stack );
      if ( chance( 5 ) ) {
         op = Korvo::MplsLabelOperation( Korvo::MplsLabelAction::swap, { 300 } );
      } else if ( chance( 3 ) ) {
         op = Korvo::MplsLabelOperation( Korvo::MplsLabelAction::pop, {} );
      }
      return op;
   }
   Via plainVia() {
      return out( pick( 2 ) ? "10.1.0.1" : "10.1.0.2", pick( 2 ) ? "Ethernet1" : "Ethernet2" );
   }
   // Over a tunnel further down, published or not, or out of an interface.
   Via randomVia( TunnelId upper ) {
      std::vector< TunnelId > below;
      for ( const auto & [ id, l ] : level ) {
         if ( l < level.at( upper ) ) {
            below.push_back( id );
         }
      }
      if ( !below.empty() && chance( 65 ) ) {
         return over( below[ pick( below.size() ) ] );
      }
      return plainVia();
   }
   std::vector< MplsVia > randomVias( TunnelId upper ) {
      static constexpr unsigned counts[] = { 0, 1, 1, 1, 1, 2, 2, 2, 3, 3 };
      std::vector< MplsVia > vias;
      for ( unsigned i = counts[ pick( std::size( counts ) ) ]; i > 0; --i ) {
         vias.emplace_back( randomVia( upper ), randomStack() );
      }
      return vias;
   }

   void publishRandom( TunnelId id ) {
      Published published;
      published.pref = chance( 50 ) ? 10 : 20;
      for ( unsigned i = pick( 3 ); i > 0; --i ) {
         published.endpoints.push_back( endpoints[ pick( endpoints.size() ) ] );
      }
      switch ( id.tunnelType() ) {
      case TunnelType::staticInterfaceTunnel:
         published.vias = { MplsVia( plainVia(), {} ) };
         published.gre = Tunnel::GreTunnelInfo( addr( "1.1.1.1" ),
                                           addr( chance( 50 ) ? "2.2.2.2" : "3.3.3.3" ) );
         break;
      case TunnelType::rsvpLerTunnel:
         if ( chance( 25 ) ) {
            published.vias = randomVias( id );
         } else if ( chance( 90 ) ) {
            published.primary = MplsVia( randomVia( id ), randomStack() );
            if ( chance( 50 ) ) {
               published.backup = MplsVia( plainVia(), randomStack() );
            }
         }
         break;
      case TunnelType::bgpLuTunnel:
         published.vias = randomVias( id );
         published.bgpLuLabels = randomStack();
         published.contributing = chance( 80 );
         break;
      default:
         published.vias = randomVias( id );
      }
      inputs.tunnels[ id ] = published;
      publish( agent, id, published );
   }

   void changeRib() {
      const std::string & name = ribNames[ pick( ribNames.size() ) ];
      auto rib = inputs.ribs.find( name );
      if ( rib == inputs.ribs.end() ) {
         inputs.ribs[ name ] = randomRib();
         configure( agent, name, inputs.ribs[ name ] );
         return;
      }
      // The system RIB stays: without it nothing keeps the per-type RIBs.
      if ( name != systemRib && chance( 30 ) ) {
         inputs.ribs.erase( rib );
         unconfigure( agent, name );
         return;
      }
      const TunnelTableIdentifier table = ribTableIds[ pick( ribTableIds.size() ) ];
      RibTables & tables = rib->second;
      if ( !tables.count( table ) ) {
         tables[ table ] = std::nullopt;
      } else if ( chance( 40 ) ) {
         tables.erase( table );
      } else {
         tables[ table ] = tables[ table ] ? std::nullopt
                                           : std::optional< std::uint8_t >( 5 + 10 * pick( 3 ) );
      }
      configure( agent, name, tables );
   }

   void change() {
      const unsigned roll = pick( 100 );
      if ( roll < 50 ) {
         publishRandom( pool[ pick( pool.size() ) ] );
      } else if ( roll < 68 ) {
         const TunnelId id = pool[ pick( pool.size() ) ];
         inputs.tunnels.erase( id );
         withdraw( agent, id );
      } else if ( roll < 76 ) {
         const std::string & table = tableNames[ pick( tableNames.size() ) ];
         const bool described = !inputs.described.count( table );
         if ( described ) {
            inputs.described.insert( table );
         } else {
            inputs.described.erase( table );
         }
         describe( agent, table, described );
      } else if ( roll < 94 ) {
         changeRib();
      } else {
         inputs.entropyLabelPush = !inputs.entropyLabelPush;
         agent.mplsTunnelConfig->entropyLabelPushIs( inputs.entropyLabelPush );
      }
   }

   // Changes while the agent runs, with the scheduler let go for a slice or
   // two in between, so that the agent stops wherever its drains got to.
   void churnWhileRunning() {
      agent.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 + pick( 4 ) ) );
      for ( unsigned i = pick( 6 ); i > 0; --i ) {
         change();
         if ( chance( 50 ) ) {
            agent.scheduler->runFor( 0.01 * ( 1 + pick( 3 ) ) );
         }
      }
   }

   // The published entry of the tunnel, when its table is described.
   const Published * source( TunnelId id ) const {
      auto found = inputs.tunnels.find( id );
      return found != inputs.tunnels.end() && inputs.described.count( tableNameOf( id ) )
                ? &found->second
                : nullptr;
   }

   // Right after a start, before any review: what the agent took over from
   // the previous run still has a source, and a RIB's entries still have it
   // at their endpoint with their preference.
   std::vector< std::string > heldWithoutSource() const {
      std::vector< std::string > faults;
      for ( const auto & [ id, entry ] : agent.tunnelFib->entry() ) {
         if ( !source( id ) ) {
            faults.push_back( "the FIB entry of " + id.stringValue() );
         }
      }
      for ( const auto & [ name, tables ] : inputs.ribs ) {
         const auto rib = agent.entityManager->lookup< TunnelRib >(
            TunnelRibConfigDirSm::statusPath( agent.ribNameIdMap->tunnelRibId( name ) ) );
         if ( !rib ) {
            faults.push_back( "no status table for rib " + name );
            continue;
         }
         for ( const auto & [ tep, entry ] : rib->entry() ) {
            for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
               const TunnelId id = entry.tunnelId( i );
               const Published * published = source( id );
               const auto table = tables.find( id.tableType() );
               if ( !published || table == tables.end() || !published->contributing ||
                    std::count( published->endpoints.begin(), published->endpoints.end(),
                                tep.stringValue() ) == 0 ||
                    entry.pref() != table->second.value_or( published->pref ) ) {
                  faults.push_back( "rib " + name + " " + tep.stringValue() + " " +
                                    id.stringValue() );
               }
            }
         }
      }
      return faults;
   }

   // The restarted agent, now idle, against a fresh one over the same inputs.
   void compareWithFreshAgent( const EncapWatch & watch ) {
      const auto sm = agent.tunnelFibSm();
      ASSERT_EQ( sm->tunnelForReviews(), 0u );
      ASSERT_EQ( sm->tunnelFibEntryMarkedUnprocesseds(), 0u );
      Tunnel::TunnelAgent fresh;
      replay( fresh, inputs );
      fresh.start();
      ASSERT_TRUE( drainEnds( fresh ) ) << "the fresh agent's drain did not end";
      ASSERT_EQ( joined( encapFaults( fresh ) ), "" ) << "in the fresh agent";

      const Lines restarted = outputsOf( agent ), expected = outputsOf( fresh );
      EXPECT_TRUE( restarted == expected ) << differences( restarted, expected );
      const Lines restartedDeps = dependenciesOf( *sm ),
                  expectedDeps = dependenciesOf( *fresh.tunnelFibSm() );
      EXPECT_TRUE( restartedDeps == expectedDeps ) << differences( restartedDeps, expectedDeps );
      EXPECT_EQ( joined( encapFaults( agent ) ), "" );
      EXPECT_EQ( joined( ribTableFaults( agent ) ), "" );
      EXPECT_EQ( joined( watch.faults() ), "" );
   }
};

TEST( AgentRestart, StoppedAnywhereAndStartedOverWhatItLeftItEndsAsAFreshAgentWould ) {
   for ( unsigned seed = 1, seeds = unsigned( seedCount() ); seed <= seeds; ++seed ) {
      SCOPED_TRACE( "seed " + std::to_string( seed ) );
      RestartWorld world( seed );
      world.agent.start();
      ASSERT_TRUE( drainEnds( world.agent ) );
      for ( int restart = 0; restart < restartsPerSeed; ++restart ) {
         SCOPED_TRACE( "restart " + std::to_string( restart ) );
         world.churnWhileRunning();
         EncapWatch watch( *world.agent.tunnelFib );
         world.agent.stop();
         ASSERT_TRUE( world.agent.scheduler->idle() ) << "a stopped agent left work scheduled";
         for ( unsigned i = world.pick( 5 ); i > 0; --i ) {
            world.change();
         }
         world.agent.start();
         EXPECT_EQ( joined( world.heldWithoutSource() ), "" ) << "kept without a source";
         // Now and then the agent goes again before its first drain ends.
         if ( restart + 1 < restartsPerSeed && world.chance( 25 ) ) {
            EXPECT_EQ( joined( watch.faults() ), "" );
            continue;
         }
         // Producers go on while the agent takes over what it left.
         for ( unsigned i = world.chance( 50 ) ? world.pick( 4 ) : 0; i > 0; --i ) {
            world.change();
         }
         ASSERT_TRUE( drainEnds( world.agent ) ) << "the drain did not end";
         world.compareWithFreshAgent( watch );
         if ( HasFailure() ) {
            return;
         }
      }
   }
}

// Faults the randomized test found, each in its smallest form: what a RIB
// kept from before must leave it when its tunnel goes.

// An LDP tunnel at 10.0.0.1/32 in the system RIB, and the static tunnel over
// it at 10.0.0.2/32, both programmed.
struct TwoTunnels {
   Tunnel::TunnelAgent agent;
   const TunnelId ldp1{ TunnelType::ldpTunnel, 1 };
   const TunnelId static1{ TunnelType::staticTunnel, 1 };

   TwoTunnels() {
      describe( agent, "ldp", true );
      describe( agent, "static", true );
      configure( agent, systemRib, { { TunnelTableIdentifier::ldpTable, std::nullopt },
                                     { TunnelTableIdentifier::staticTable, std::nullopt } } );
      Published lower;
      lower.endpoints = { "10.0.0.1/32" };
      lower.vias = { MplsVia( out( "10.1.0.1", "Ethernet1" ), push( { 16001 } ) ) };
      publish( agent, ldp1, lower );
      Published upper;
      upper.endpoints = { "10.0.0.2/32" };
      upper.vias = { MplsVia( over( ldp1 ), push( { 100 } ) ) };
      publish( agent, static1, upper );
      agent.start();
      drainEnds( agent );
   }
   bool has( const std::string & line ) const { return outputsOf( agent ).count( line ) != 0; }
};

TEST( AgentRestartRegressions, ATunnelWithdrawnWhileTheAgentIsDownLeavesItsPerTypeRib ) {
   TwoTunnels world;
   ASSERT_TRUE( world.has( "protocol rib static 10.0.0.2/32" ) );
   world.agent.stop();
   withdraw( world.agent, world.static1 );
   world.agent.start();
   ASSERT_TRUE( drainEnds( world.agent ) );
   EXPECT_FALSE( world.has( "rib system-tunnel-rib 10.0.0.2/32" ) );
   EXPECT_FALSE( world.has( "protocol rib static 10.0.0.2/32" ) );
}

TEST( AgentRestartRegressions, ATunnelWithdrawnBeforeTheFirstReviewAfterARestartLeavesTheRib ) {
   TwoTunnels world;
   world.agent.stop();
   world.agent.start();
   withdraw( world.agent, world.static1 );
   ASSERT_TRUE( drainEnds( world.agent ) );
   EXPECT_FALSE( world.has( "rib system-tunnel-rib 10.0.0.2/32" ) );
}

TEST( AgentRestartRegressions, ATunnelLeftUnprogrammableWhileTheAgentIsDownLeavesTheRib ) {
   TwoTunnels world;
   world.agent.stop();
   withdraw( world.agent, world.ldp1 );
   world.agent.start();
   ASSERT_TRUE( drainEnds( world.agent ) );
   EXPECT_TRUE( world.has( "unprogrammable " + world.static1.stringValue() ) );
   EXPECT_FALSE( world.has( "rib system-tunnel-rib 10.0.0.2/32" ) );
}

} // namespace
} // namespace AgentTest
