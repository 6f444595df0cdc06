#include <gtest/gtest.h>

#include <cstdlib>
#include <random>

#include "tests/fib/FibModel.h"
#include "tests/fib/FibWorld.h"
#include "tests/fib/TunnelExplanationCheck.h"
#include "UnderSanitizer.h"

// Random graphs of tunnels over tunnels under churn, every drain compared
// with the recursive flattening of what the producers published.

namespace FibModel {
namespace {

// Rounds per seed: each changes one to three tunnels, or the entropy-label
// setting, and drains. Fewer under the sanitizers.
int roundsPerSeed() {
   if ( const char * env = std::getenv( "TUNNEL_MODEL_ROUNDS" ) ) {
      return std::atoi( env );
   }
   return underSanitizer ? 150 : 500;
}

// Virtual seconds a drain may take before it counts as endless: a slice per
// tunnel every 0.01 s makes this thousands of recomputations, where a drain
// here needs a few dozen.
constexpr int maxDrainSeconds = 50;

using FibTest::addr;
using FibTest::out;
using FibTest::over;

// An agent with the FIB over every table.
struct FibAgent : FibTest::FibWorld {
   // Runs the scheduler in bounded slices; false when work is still due.
   bool drainEnds() {
      for ( int second = 0; second < maxDrainSeconds && !agent.scheduler->idle(); ++second ) {
         agent.scheduler->runFor( 1.0 );
      }
      return agent.scheduler->idle();
   }

   // Calls f with the producers' side of the table that holds the tunnel.
   template< class F >
   void withTableOf( TunnelId id, F && f ) {
      switch ( id.tunnelType() ) {
      case TunnelType::ldpTunnel:
         return f( agent.producerTable< LdpTunnelTable >() );
      case TunnelType::srTunnel:
         return f( agent.producerTable< IsisSrTunnelTable >() );
      case TunnelType::staticTunnel:
         return f( agent.producerTable< StaticTunnelTable >() );
      case TunnelType::rsvpLerTunnel:
         return f( agent.producerTable< RsvpLerTunnelTable >() );
      case TunnelType::bgpLuTunnel:
         return f( agent.producerTable< BgpLuTunnelTable >() );
      case TunnelType::nexthopGroupTunnel:
         return f( agent.producerTable< NexthopGroupTunnelTable >() );
      case TunnelType::staticInterfaceTunnel:
         return f( agent.producerTable< GreIntfTunnelTable >() );
      default:
         FAIL() << "no producer for " << id;
      }
   }

   // Publishes the tunnel's entry as the model states it.
   void publish( TunnelId id, const Published & p ) {
      withTableOf( id, [ & ]( auto table ) {
         using Entry = typename std::decay_t< decltype( *table ) >::EntryType;
         if constexpr ( std::is_same_v< Entry, BgpLuTunnelTableEntry > ) {
            Entry entry( id, 10 );
            for ( const MplsVia & via : p.vias ) {
               entry.viaAdd( via.via() );
            }
            if ( !p.vias.empty() ) {
               entry.labelOperationIs( p.vias.front().labelOperation() );
            }
            entry.contributionIs( p.contributing ? BgpLuContribution::contributing
                                                 : BgpLuContribution::notContributing );
            table->entryIs( id, entry );
         } else if constexpr ( std::is_same_v< Entry, NexthopGroupTunnelTableEntry > ) {
            table->entryIs( id, Entry( id, *Korvo::IpGenPrefix::parse( "10.9.0.1/32" ),
                                       *p.nexthopGroup ) );
         } else if constexpr ( std::is_same_v< Entry, GreIntfTunnelTableEntry > ) {
            table->entryIs( id, Entry( id, p.gre->first, p.gre->second ) );
         } else {
            Entry entry( id, 10 );
            for ( const MplsVia & via : p.vias ) {
               entry.mplsViaAdd( via );
            }
            if constexpr ( std::is_base_of_v< ProtectedTunnelTableEntryBase, Entry > ) {
               entry.primaryViaIs( p.primary );
               entry.backupViaIs( p.backup );
            }
            table->entryIs( id, entry );
         }
      } );
   }
   void withdraw( TunnelId id ) {
      withTableOf( id, [ id ]( auto table ) { table->entryDel( id ); } );
   }
};

struct FibModelTest : FibAgent, ::testing::TestWithParam< unsigned > {
   Model model;
   std::mt19937 rng;
   // The tunnels that come and go, each on a level: vias lead down, bar the
   // odd one that leads anywhere.
   std::map< TunnelId, int > level;
   std::vector< TunnelId > pool;
   // Ids that vias may name but that are never published; a policy tunnel's
   // type has no table the FIB reads.
   const std::vector< TunnelId > unpublished = { TunnelId( TunnelType::ldpTunnel, 9 ),
                                                 TunnelId( TunnelType::srTePolicyTunnel, 1 ) };
   unsigned checks = 0;

   void SetUp() override {
      rng.seed( GetParam() );
      agent.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
      for ( auto [ type, count ] :
            { std::pair{ TunnelType::ldpTunnel, 4 }, { TunnelType::srTunnel, 4 },
              { TunnelType::staticTunnel, 3 }, { TunnelType::bgpLuTunnel, 5 } } ) {
         for ( int i = 1; i <= count; ++i ) {
            level[ TunnelId( type, i ) ] = int( pick( 4 ) );
         }
      }
      for ( TunnelId leaf :
            { TunnelId( TunnelType::rsvpLerTunnel, 1 ), TunnelId( TunnelType::rsvpLerTunnel, 2 ),
              TunnelId( TunnelType::staticInterfaceTunnel, 1 ),
              TunnelId( TunnelType::nexthopGroupTunnel, 1 ) } ) {
         level[ leaf ] = 0;
      }
      for ( const auto & [ id, l ] : level ) {
         pool.push_back( id );
      }
   }

   unsigned pick( std::size_t n ) {
      return std::uniform_int_distribution< unsigned >( 0, unsigned( n ) - 1 )( rng );
   }
   bool chance( unsigned percent ) { return pick( 100 ) < percent; }

   // Mostly pushes of up to six labels from a small set, so that stacks
   // repeat and merged stacks sometimes pass the bound; now and then a swap,
   // a pop, a stack too deep for an entropy label, or one that has its own.
   Stack randomStack() {
      Stack stack;
      const unsigned kind = pick( 20 );
      if ( kind == 0 ) {
         stack.action = MplsLabelAction::pop;
         return stack;
      }
      if ( kind <= 2 ) {
         stack.action = MplsLabelAction::swap;
      }
      const std::size_t depth = chance( 5 ) ? 9 + pick( 3 ) : pick( 7 );
      constexpr MplsLabel labels[] = { 100, 200, 16001, 16002, 900000 };
      for ( std::size_t i = 0; i < depth; ++i ) {
         stack.labels.push_back( labels[ pick( std::size( labels ) ) ] );
      }
      if ( depth >= 2 && chance( 8 ) ) {
         stack.labels[ depth - 2 ] = entropyLabelIndicator;
         stack.labels[ depth - 1 ] = entropyLabel;
      }
      return stack;
   }

   Via plainVia() {
      return out( pick( 2 ) ? "10.0.0.1" : "10.0.0.2", pick( 2 ) ? "Ethernet1" : "Ethernet2" );
   }
   // Down a level as a rule; sometimes to an unpublished id, or to any
   // tunnel at all, which may close a loop.
   Via randomVia( TunnelId upper ) {
      const unsigned roll = pick( 100 );
      if ( roll < 3 ) {
         return over( unpublished[ pick( unpublished.size() ) ] );
      }
      if ( roll < 9 ) {
         return over( pool[ pick( pool.size() ) ] );
      }
      std::vector< TunnelId > below;
      for ( const auto & [ id, l ] : level ) {
         if ( l < level.at( upper ) ) {
            below.push_back( id );
         }
      }
      if ( !below.empty() && roll < 75 ) {
         return over( below[ pick( below.size() ) ] );
      }
      return plainVia();
   }
   std::vector< MplsVia > randomVias( TunnelId upper, const std::optional< Stack > & shared ) {
      static constexpr unsigned counts[] = { 0, 1, 1, 1, 1, 2, 2, 2, 3, 3 };
      std::vector< MplsVia > vias;
      for ( unsigned i = counts[ pick( std::size( counts ) ) ]; i > 0; --i ) {
         vias.emplace_back( randomVia( upper ), operationOf( shared ? *shared : randomStack() ) );
      }
      return vias;
   }

   void publishRandom( TunnelId id ) {
      Published p;
      switch ( id.tunnelType() ) {
      case TunnelType::bgpLuTunnel:
         p.vias = randomVias( id, randomStack() );
         p.contributing = chance( 80 );
         break;
      case TunnelType::rsvpLerTunnel:
         if ( chance( 20 ) ) {
            p.vias = randomVias( id, std::nullopt );
         } else if ( chance( 85 ) ) {
            p.primary = MplsVia( randomVia( id ), operationOf( randomStack() ) );
         }
         if ( chance( 60 ) ) {
            p.backup = MplsVia( chance( 10 ) ? over( pool[ pick( pool.size() ) ] ) : plainVia(),
                                operationOf( randomStack() ) );
         }
         break;
      case TunnelType::nexthopGroupTunnel:
         p.nexthopGroup = 1 + pick( 2 );
         break;
      case TunnelType::staticInterfaceTunnel:
         p.gre = { plainVia(), Tunnel::GreTunnelInfo( addr( "1.1.1.1" ),
                                                      addr( pick( 2 ) ? "2.2.2.2" : "3.3.3.3" ) ) };
         break;
      default:
         p.vias = randomVias( id, std::nullopt );
      }
      model.tunnels[ id ] = p;
      publish( id, p );
   }

   void change() {
      const unsigned roll = pick( 100 );
      const TunnelId id = pool[ pick( pool.size() ) ];
      if ( roll < 70 ) {
         publishRandom( id );
      } else if ( roll < 95 ) {
         model.tunnels.erase( id );
         withdraw( id );
      } else {
         model.entropyLabelPush = !model.entropyLabelPush;
         agent.mplsTunnelConfig->entropyLabelPushIs( model.entropyLabelPush );
      }
   }

   // The agent goes, producers go on, and the agent comes back over the FIB
   // it left: before any review, only entries with a source remain.
   void restart() {
      agent.stop();
      for ( unsigned i = pick( 4 ); i > 0; --i ) {
         change();
      }
      agent.start();
      for ( const auto & [ id, entry ] : agent.tunnelFib->entry() ) {
         EXPECT_TRUE( model.tunnels.count( id ) ) << id << " kept without a source";
      }
   }

   void check() {
      ASSERT_TRUE( drainEnds() ) << "the drain did not end";
      const auto sm = this->sm();
      ASSERT_EQ( sm->tunnelForReviews(), 0u );
      ASSERT_EQ( sm->tunnelFibEntryMarkedUnprocesseds(), 0u );
      model.forget();
      const std::set< TunnelId > cyclic = model.cyclicPart();
      std::set< TunnelId > ids( pool.begin(), pool.end() );
      ids.insert( unpublished.begin(), unpublished.end() );
      for ( const auto & [ id, entry ] : agent.tunnelFib->entry() ) {
         ids.insert( id );
      }
      for ( const auto & [ id, listed ] : agent.unprogrammable->entry() ) {
         ids.insert( id );
      }
      const bool explain = ++checks % FibTest::explanationCheckStride == 0;
      for ( TunnelId id : ids ) {
         if ( explain ) {
            FibTest::checkTunnelExplanation( *sm, id );
         }
         const Outcome actual = actualOutcome( agent, id );
         if ( !cyclic.count( id ) ) {
            ASSERT_EQ( actual, model.expected( id ) ) << id;
            continue;
         }
         // Over a loop the outcome depends on the order of computation; it
         // is still either programmed or listed, never both, never neither.
         const bool source = model.tunnels.count( id ) && model.tunnels.at( id ).contributing;
         ASSERT_TRUE( source ? actual.state == Outcome::State::programmed ||
                                  actual.state == Outcome::State::unprogrammable
                             : actual.state == Outcome::State::absent )
            << id << " in a loop: " << actual;
      }
      for ( const auto & [ upper, beneath ] : sm->resolvedByTunnels() ) {
         ASSERT_FALSE( beneath.has( upper ) ) << upper << " resolved over itself";
      }
      if ( explain ) {
         FibTest::checkTunnelGraph( *sm );
      }
      checkEncapBookkeeping();
   }

   // Every published encapsulation is counted once per via that names it,
   // has users, and is what the writer's set maps its value to; no via names
   // an unpublished one.
   void checkEncapBookkeeping() {
      const Fib::TunnelFib & fib = *agent.tunnelFib;
      std::map< Fib::EncapId, std::uint32_t > users;
      for ( const auto & [ id, entry ] : fib.entry() ) {
         entry.forEachVia( [ & ]( const Fib::TunnelVia & via ) {
            if ( via.encapId().encapType() != Fib::EncapType::invalidEncap ) {
               ++users[ via.encapId() ];
            }
         } );
      }
      const TunnelFibWriter & writer = *sm()->tunnelFibWriter();
      const std::map< Fib::EncapId, std::uint32_t > counts( writer.encapIdRefCount().begin(),
                                                           writer.encapIdRefCount().end() );
      EXPECT_EQ( counts, users );
      std::set< Fib::EncapId > published;
      auto mirrored = [ & ]( const auto & table, Fib::EncapType type, auto setLookup,
                             std::size_t setSize ) {
         EXPECT_EQ( table.size(), setSize ) << type;
         for ( const auto & [ encapId, record ] : table ) {
            EXPECT_EQ( encapId.encapType(), type );
            EXPECT_EQ( record.encapId(), encapId );
            EXPECT_EQ( ( writer.*setLookup )( record.info() ), encapId );
            published.insert( encapId );
         }
      };
      mirrored( fib.labelStackEncap(), Fib::EncapType::mplsLabelStackEncap,
                &TunnelFibWriter::labelStackEncapSet, writer.labelStackEncapSets() );
      mirrored( fib.greEncap(), Fib::EncapType::greEncap, &TunnelFibWriter::greEncapSet,
                writer.greEncapSets() );
      mirrored( fib.ipsecGreEncap(), Fib::EncapType::ipsecGreEncap,
                &TunnelFibWriter::ipsecGreEncapSet, writer.ipsecGreEncapSets() );
      mirrored( fib.ipsecVtiEncap(), Fib::EncapType::ipsecVtiEncap,
                &TunnelFibWriter::ipsecVtiEncapSet, writer.ipsecVtiEncapSets() );
      std::set< Fib::EncapId > used;
      for ( const auto & [ encapId, count ] : users ) {
         used.insert( encapId );
      }
      EXPECT_EQ( published, used );
   }
};

TEST_P( FibModelTest, FibFollowsRandomTunnelGraphsThroughChurnAndRestarts ) {
   agent.start();
   for ( int round = 0, rounds = roundsPerSeed(); round < rounds; ++round ) {
      SCOPED_TRACE( "round " + std::to_string( round ) );
      if ( chance( 2 ) ) {
         restart();
      } else {
         for ( unsigned i = 1 + pick( 3 ); i > 0; --i ) {
            change();
         }
      }
      check();
      if ( HasFailure() ) {
         return;
      }
   }
}

INSTANTIATE_TEST_SUITE_P( Seeds, FibModelTest, ::testing::Values( 1u, 7u, 42u, 20261122u ) );

// An MPLS-via tunnel (ldp, sr, static): each via pushes its labels.
void publishVias( FibAgent & world, TunnelId id,
                  std::vector< std::pair< Via, std::vector< MplsLabel > > > vias ) {
   Published p;
   for ( const auto & [ via, labels ] : vias ) {
      p.vias.emplace_back( via, operationOf( Stack{ MplsLabelAction::push, labels } ) );
   }
   world.publish( id, p );
}

TEST( FibRecomputation, ATunnelWhoseViasChangeUpdatesEveryTunnelAboveItAndNothingElse ) {
   FibAgent world;
   world.agent.start();
   const TunnelId bottom( TunnelType::ldpTunnel, 1 );
   const TunnelId chain[] = { bottom, TunnelId( TunnelType::srTunnel, 1 ),
                              TunnelId( TunnelType::staticTunnel, 1 ),
                              TunnelId( TunnelType::ldpTunnel, 2 ) };
   publishVias( world, bottom, { { out( "10.0.0.1", "Ethernet1" ), { 16001 } } } );
   for ( int i = 1; i < 4; ++i ) {
      publishVias( world, chain[ i ], { { over( chain[ i - 1 ] ), { MplsLabel( 100 * i ) } } } );
   }
   // Beside the chain: a tunnel of its own, one over it, and a BGP-LU tunnel
   // over that.
   const TunnelId aside( TunnelType::ldpTunnel, 3 );
   const TunnelId overAside( TunnelType::srTunnel, 2 );
   publishVias( world, aside, { { out( "10.0.0.2", "Ethernet2" ), { 16002 } } } );
   publishVias( world, overAside, { { over( aside ), { 500 } } } );
   Published bgpLu;
   bgpLu.vias = {
      MplsVia( over( overAside ), operationOf( Stack{ MplsLabelAction::push, { 600 } } ) ) };
   world.publish( TunnelId( TunnelType::bgpLuTunnel, 1 ), bgpLu );
   ASSERT_TRUE( world.drainEnds() );
   const Outcome top = actualOutcome( world.agent, chain[ 3 ] );
   ASSERT_EQ( top.primary.size(), 1u );
   EXPECT_EQ( top.primary.begin()->stack.labels,
              ( std::vector< MplsLabel >{ 16001, 100, 200, 300 } ) );

   const std::uint64_t before = world.sm()->tunnelFibComputeCounter();
   publishVias( world, bottom, { { out( "10.0.0.1", "Ethernet1" ), { 16009 } } } );
   ASSERT_TRUE( world.drainEnds() );
   // Each tunnel of the chain shows the new label, so each was computed;
   // four computations in all leave room for nothing else.
   EXPECT_EQ( world.sm()->tunnelFibComputeCounter() - before, 4u );
   for ( TunnelId id : chain ) {
      const Outcome outcome = actualOutcome( world.agent, id );
      ASSERT_EQ( outcome.primary.size(), 1u ) << id;
      EXPECT_EQ( outcome.primary.begin()->stack.labels.front(), 16009u ) << id;
   }
}

// Loops found by the randomized test, each in its smallest form. Which of
// two queued tunnels is computed first follows the backlog's order, so the
// ids are the ones that show it.

TEST( FibLoops, ATunnelOverItselfThatSurvivedARestartIsListedUnprogrammable ) {
   FibAgent world;
   world.agent.start();
   const TunnelId id( TunnelType::ldpTunnel, 1 );
   publishVias( world, id, { { out( "10.0.0.1", "Ethernet1" ), { 16001 } } } );
   ASSERT_TRUE( world.drainEnds() );
   world.agent.stop();
   publishVias( world, id, { { over( id ), { 100 } } } );
   world.agent.start();
   EXPECT_TRUE( world.drainEnds() );
   EXPECT_EQ( actualOutcome( world.agent, id ).state, Outcome::State::unprogrammable );
}

TEST( FibLoops, TwoTunnelsOverEachOtherWithTunnelsAboveBothLetTheDrainEnd ) {
   FibAgent world;
   world.agent.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
   world.agent.start();
   const TunnelId a( TunnelType::srTunnel, 2 ), b( TunnelType::srTunnel, 3 );
   publishVias( world, a, { { over( b ), { 100 } } } );
   publishVias( world, b, { { over( a ), { 200 } } } );
   publishVias( world, TunnelId( TunnelType::staticTunnel, 2 ),
                { { over( a ), { 300 } }, { out( "10.0.0.1", "Ethernet1" ), { 1 } } } );
   publishVias( world, TunnelId( TunnelType::staticTunnel, 3 ),
                { { over( b ), { 400 } }, { out( "10.0.0.1", "Ethernet1" ), { 2 } } } );
   EXPECT_TRUE( world.drainEnds() );
}

TEST( FibLoops, ATunnelRefusedForALoopIsProgrammedOnceTheLoopIsGone ) {
   const Via x = out( "10.0.0.1", "Ethernet1" );
   {
      SCOPED_TRACE( "the loop goes with the upper tunnel's own change" );
      FibAgent world;
      world.agent.start();
      const TunnelId upper( TunnelType::ldpTunnel, 1 ), lower( TunnelType::ldpTunnel, 2 );
      publishVias( world, lower, { { x, { 16001 } } } );
      publishVias( world, upper, { { over( lower ), {} } } );
      ASSERT_TRUE( world.drainEnds() );
      // The upper tunnel now leaves directly, by the via and labels it had
      // over the lower one, and the lower one goes over it.
      publishVias( world, upper, { { x, { 16001 } } } );
      publishVias( world, lower, { { over( upper ), { 5 } } } );
      ASSERT_TRUE( world.drainEnds() );
      const Outcome outcome = actualOutcome( world.agent, lower );
      EXPECT_EQ( outcome.state, Outcome::State::programmed );
      EXPECT_EQ( outcome.primary.size(), 1u );
   }
   {
      SCOPED_TRACE( "the loop goes with a tunnel further down" );
      FibAgent world;
      world.agent.start();
      const TunnelId top( TunnelType::ldpTunnel, 1 ), middle( TunnelType::srTunnel, 1 ),
         bottom( TunnelType::staticTunnel, 1 );
      publishVias( world, top, { { x, { 16001 } } } );
      publishVias( world, bottom, { { over( top ), {} } } );
      // Over the bottom tunnel the middle one gets the via it has anyway.
      publishVias( world, middle, { { x, { 16001 } }, { over( bottom ), {} } } );
      ASSERT_TRUE( world.drainEnds() );
      publishVias( world, top, { { x, { 16001 } }, { over( middle ), { 7 } } } );
      ASSERT_TRUE( world.drainEnds() );
      world.withdraw( bottom );
      ASSERT_TRUE( world.drainEnds() );
      EXPECT_EQ( actualOutcome( world.agent, top ).primary.size(), 2u );
   }
}

} // namespace
} // namespace FibModel
