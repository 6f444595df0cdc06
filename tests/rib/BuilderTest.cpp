#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>

#include "RibHarness.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

using namespace RibTest;

namespace {

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId sr( std::uint64_t i ) { return TunnelId( TunnelType::srTunnel, i ); }
TunnelId flexAlgo( std::uint64_t i ) { return TunnelId( TunnelType::isisFlexAlgoTunnel, i ); }
TunnelId statik( std::uint64_t i ) { return TunnelId( TunnelType::staticTunnel, i ); }
TunnelId policy( std::uint64_t i ) { return TunnelId( TunnelType::srTePolicyTunnel, i ); }
TunnelId rsvpLer( std::uint64_t i ) { return TunnelId( TunnelType::rsvpLerTunnel, i ); }

using Ids = std::vector< TunnelId >;

Ids sorted( Ids ids ) {
   std::sort( ids.begin(), ids.end() );
   return ids;
}

const ColoredTunnelEndpoint A = tep( "10.0.0.1/32" );
const ColoredTunnelEndpoint B = tep( "10.0.0.2/32" );
const ColoredTunnelEndpoint C = tep( "10.0.0.3/32" );

struct BuilderTest : ::testing::Test {
   RibHarness h;

   void putLdp( TunnelId id, std::uint8_t pref, std::initializer_list< const char * > teps,
                std::uint32_t m = 0, std::uint32_t igpCostPref = 0 ) {
      auto entry = mplsEntry< LdpTunnelTableEntry >( id, pref, teps );
      entry.mIs( m );
      entry.igpCostPrefIs( igpCostPref );
      h.table< LdpTunnelTable >()->entryIs( id, entry );
   }
   void putSr( TunnelId id, std::uint8_t pref, std::initializer_list< const char * > teps ) {
      h.table< IsisSrTunnelTable >()->entryIs( id, mplsEntry< SrTunnelTableEntry >( id, pref, teps ) );
   }
};

TEST_F( BuilderTest, NewIdsJoinAnEqualEntryReplaceAWorseOneAndNeverDisplaceABetterOne ) {
   h.start();
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32" } );
   h.drain();
   putLdp( ldp( 2 ), 10, { "10.0.0.1/32" } );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), ( Ids{ ldp( 1 ), ldp( 2 ) } ) );
   EXPECT_EQ( h.at( A ).pref(), 10 );

   // Equal preference, no ECMP: the type with the better default wins, so
   // sr (65) loses to ldp (55) and static (15) beats it.
   putSr( sr( 1 ), 10, { "10.0.0.1/32" } );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), ( Ids{ ldp( 1 ), ldp( 2 ) } ) );
   h.table< StaticTunnelTable >()->entryIs(
      statik( 1 ), mplsEntry< StaticTunnelTableEntry >( statik( 1 ), 10, { "10.0.0.1/32" } ) );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ statik( 1 ) } );

   // A smaller value replaces the whole set; a greater one changes nothing.
   putLdp( ldp( 3 ), 5, { "10.0.0.1/32" } );
   putLdp( ldp( 4 ), 20, { "10.0.0.1/32" } );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 3 ) } );
   EXPECT_EQ( h.at( A ).pref(), 5 );

   // Losing the last id selects from the remaining candidates in order.
   h.table< LdpTunnelTable >()->entryDel( ldp( 3 ) );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ statik( 1 ) } );
   h.table< StaticTunnelTable >()->entryDel( statik( 1 ) );
   h.drain();
   EXPECT_EQ( sorted( h.idsAt( A ) ), ( Ids{ ldp( 1 ), ldp( 2 ) } ) );
   EXPECT_EQ( h.at( A ).pref(), 10 );
}

TEST_F( BuilderTest, ReselectionTakesTheBestWithItsEcmpPeersAndMetricsFollowTheIds ) {
   h.start();
   auto srTable = h.table< IsisSrTunnelTable >();
   auto putSrWithMetric = [ & ]( TunnelId id, std::uint8_t pref, std::uint32_t m ) {
      auto entry = mplsEntry< SrTunnelTableEntry >( id, pref, { "10.0.0.1/32" } );
      entry.mIs( m );
      srTable->entryIs( id, entry );
   };
   h.table< IsisFlexAlgoTunnelTable >()->entryIs(
      flexAlgo( 1 ), mplsEntry< FlexAlgoTunnelTableEntry >( flexAlgo( 1 ), 30, { "10.0.0.1/32" } ) );
   putSrWithMetric( sr( 1 ), 30, 300 );
   putSrWithMetric( sr( 2 ), 40, 400 );
   putLdp( ldp( 1 ), 20, { "10.0.0.1/32" }, 100 );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( h.at( A ).m(), 100u );

   h.table< LdpTunnelTable >()->entryDel( ldp( 1 ) );
   h.drain();
   // sr and flex-algo share ECMP (flex-algo carries no metrics into the
   // entry); the worse sr tunnel stays out.
   EXPECT_EQ( h.idsAt( A ), ( Ids{ sr( 1 ), flexAlgo( 1 ) } ) );
   EXPECT_EQ( h.at( A ).pref(), 30 );
   EXPECT_EQ( h.at( A ).m(), 300u );

   // The metrics are those of the id added last, also when re-added.
   putSrWithMetric( sr( 3 ), 30, 330 );
   h.drain();
   EXPECT_EQ( h.at( A ).m(), 330u );
   putSrWithMetric( sr( 1 ), 30, 310 );
   h.drain();
   EXPECT_EQ( h.at( A ).m(), 310u );
   // After a deletion the last id fills the gap and the metrics follow the
   // first remaining id with an entry.
   srTable->entryDel( sr( 1 ) );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), ( Ids{ sr( 3 ), flexAlgo( 1 ) } ) );
   EXPECT_EQ( h.at( A ).m(), 330u );
}

TEST_F( BuilderTest, PreferenceChangesUnprogrammableIdsAndVanishingTablesMoveTheSelection ) {
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32", "10.0.0.2/32" } );
   putSr( sr( 1 ), 20, { "10.0.0.1/32" } );
   h.start();
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 1 ) } );

   // Mapping the ldp table's preference to a worse value hands A to sr.
   Vel::TestTraceSink trace( 8 );
   auto ldpConfig = h.config->entry( TunnelTableIdentifier::ldpTable );
   ldpConfig->preferenceIs( 30 );
   ldpConfig->prefMappingIs( 1 );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ sr( 1 ) } );
   EXPECT_EQ( h.idsAt( B ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( h.at( B ).pref(), 30 );
   EXPECT_TRUE( trace.contains( " changed entryPref from: 10 to: 30" ) );
   ldpConfig->prefMappingIs( 0 );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 1 ) } );

   // An unprogrammable id leaves every tep and comes back when it recovers.
   h.unprogrammable->entryIs( ldp( 1 ), true );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ sr( 1 ) } );
   EXPECT_TRUE( h.at( B ).empty() );
   EXPECT_FALSE( h.builder->tunnelIdToTepSet( ldp( 1 ) ) );
   h.unprogrammable->entryDel( ldp( 1 ) );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( h.idsAt( B ), Ids{ ldp( 1 ) } );

   // A table that goes takes its tunnels with it.
   h.entities->tunnelTableDel( "ldp" );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), Ids{ sr( 1 ) } );
   EXPECT_TRUE( h.at( B ).empty() );
   h.entities->tunnelTableDel( "sr" );
   h.drain();
   EXPECT_EQ( h.rib->size(), 0u );
   EXPECT_TRUE( h.builder->internalTunnelRib()->empty() );
   EXPECT_TRUE( h.builder->tunnelIdToTepSet().empty() );
}

TEST( BuilderPreference, ATableWidePreferenceChangeRanksAllItsTunnelsAnew ) {
   // Whichever of the table's tunnels the backlog reviews first, the other
   // table's tunnel ends up between them and wins.
   for ( std::uint64_t other = 1; other < 20; other += 2 ) {
      const TunnelId winner = ldp( 10 );
      RibHarness h;
      auto ldpTable = h.table< LdpTunnelTable >();
      ldpTable->entryIs( winner, mplsEntry< LdpTunnelTableEntry >( winner, 10, { "10.0.0.1/32" } ) );
      ldpTable->entryIs( ldp( other ),
                         mplsEntry< LdpTunnelTableEntry >( ldp( other ), 20, { "10.0.0.1/32" } ) );
      h.table< IsisSrTunnelTable >()->entryIs(
         sr( 1 ), mplsEntry< SrTunnelTableEntry >( sr( 1 ), 25, { "10.0.0.1/32" } ) );
      h.start();
      h.drain();
      ASSERT_EQ( h.idsAt( A ), Ids{ winner } );
      auto ldpConfig = h.config->entry( TunnelTableIdentifier::ldpTable );
      ldpConfig->preferenceIs( 30 );
      ldpConfig->prefMappingIs( 1 );
      h.drain();
      EXPECT_EQ( h.idsAt( A ), Ids{ sr( 1 ) } ) << other;
      EXPECT_EQ( h.at( A ).pref(), 25 );
   }
}

TEST_F( BuilderTest, TepsFollowTheEntryAndSelectionFailuresAreAssertions ) {
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32", "10.0.0.2/32" } );
   h.start();
   h.drain();
   putLdp( ldp( 1 ), 10, { "10.0.0.2/32", "10.0.0.3/32" } );
   h.drain();
   EXPECT_TRUE( h.at( A ).empty() );
   EXPECT_EQ( h.idsAt( B ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( h.idsAt( C ), Ids{ ldp( 1 ) } );

   EXPECT_EQ( h.builder->getPreference( TunnelTableEntry( TunnelId( TunnelType::tiLfaTunnel, 1 ), 3 ) ),
              255 );
   try {
      h.builder->getPreference( TunnelTableEntry( ldp( 9 ), 3 ) );
      FAIL();
   } catch ( const Vel::AssertionError & e ) {
      EXPECT_STREQ( e.what(), "tunnelTableEntryFilter()->preferenceHas( id )" );
   }
}

TEST( BuilderColored, EqualPreferenceAndEqualDefaultCannotBeDecided ) {
   RibHarness h( 5, true );
   auto policyEntry = SrTePolicyTunnelTableEntry( policy( 1 ), pfx( "10.0.0.1/32" ), 7 );
   h.table< SrTePolicyTunnelTable >()->entryIs( policy( 1 ), policyEntry );
   auto ler = mplsEntry< RsvpLerTunnelTableEntry >( rsvpLer( 1 ), 255, { "10.0.0.1/32" } );
   ler.colorIs( 7 );
   h.table< RsvpLerTunnelTable >()->entryIs( rsvpLer( 1 ), ler );
   h.start();
   try {
      h.drain();
      FAIL();
   } catch ( const Vel::AssertionError & e ) {
      EXPECT_STREQ( e.what(), "Two tunnels have the same default static pref" );
   }
}

TEST( BuilderColored, EachColorOfAPrefixIsSelectedApartInAColoredRibAndTogetherOtherwise ) {
   for ( bool colored : { true, false } ) {
      RibHarness h( colored ? 1 : 5, colored );
      auto policies = h.table< SrTePolicyTunnelTable >();
      policies->entryIs( policy( 1 ), SrTePolicyTunnelTableEntry( policy( 1 ), pfx( "10.0.0.1/32" ), 7 ) );
      policies->entryIs( policy( 2 ), SrTePolicyTunnelTableEntry( policy( 2 ), pfx( "10.0.0.1/32" ), 8 ) );
      h.start();
      h.drain();
      if ( colored ) {
         EXPECT_EQ( h.rib->size(), 2u );
         EXPECT_EQ( h.idsAt( tep( "10.0.0.1/32", 7 ) ), Ids{ policy( 1 ) } );
         EXPECT_EQ( h.idsAt( tep( "10.0.0.1/32", 8 ) ), Ids{ policy( 2 ) } );
         EXPECT_TRUE( h.at( A ).empty() );
      } else {
         EXPECT_EQ( h.rib->size(), 1u );
         EXPECT_EQ( sorted( h.idsAt( A ) ), ( Ids{ policy( 1 ), policy( 2 ) } ) );
      }
      policies->entryDel( policy( 1 ) );
      h.drain();
      EXPECT_EQ( h.idsAt( colored ? tep( "10.0.0.1/32", 8 ) : A ), Ids{ policy( 2 ) } );
   }
}

TEST_F( BuilderTest, TheSystemRibKeepsEveryContributingIdPerTypeAndTep ) {
   h.withProtoColl( { TunnelType::ldpTunnel, TunnelType::srTunnel } );
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32" } );
   putLdp( ldp( 2 ), 30, { "10.0.0.1/32", "10.0.0.2/32" } );
   putSr( sr( 1 ), 20, { "10.0.0.1/32" } );
   h.start();
   h.drain();
   auto ribOf = [ & ]( TunnelType type ) {
      return h.protoColl->protocolTunnelRib( type )->tunnelRib();
   };
   EXPECT_EQ( h.idsAt( A ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( sorted( { ribOf( TunnelType::ldpTunnel )->tunnelRibEntry( A ).tunnelId( 0 ),
                        ribOf( TunnelType::ldpTunnel )->tunnelRibEntry( A ).tunnelId( 1 ) } ),
              ( Ids{ ldp( 1 ), ldp( 2 ) } ) );
   EXPECT_EQ( ribOf( TunnelType::ldpTunnel )->tunnelRibEntry( B ).tunnelIdCount(), 1u );
   EXPECT_EQ( ribOf( TunnelType::srTunnel )->tunnelRibEntry( A ).tunnelId( 0 ), sr( 1 ) );
   h.table< IsisSrTunnelTable >()->entryDel( sr( 1 ) );
   h.drain();
   EXPECT_EQ( ribOf( TunnelType::srTunnel )->size(), 0u );

   // A type without a per-type RIB is refused.
   h.table< StaticTunnelTable >()->entryIs(
      statik( 1 ), mplsEntry< StaticTunnelTableEntry >( statik( 1 ), 10, { "10.0.0.1/32" } ) );
   try {
      h.drain();
      FAIL();
   } catch ( const std::logic_error & e ) {
      EXPECT_STREQ( e.what(), "protocolTunnelRib missing for tunnelType static" );
   }
}

TEST( BuilderSystemRib, AWrapperWithoutItsRibIsRefusedAtStart ) {
   RibHarness h( 0 );
   h.withProtoColl( { TunnelType::ldpTunnel } );
   h.protoColl->protocolTunnelRibIs( TunnelType::srTunnel );
   try {
      h.start();
      FAIL();
   } catch ( const std::logic_error & e ) {
      EXPECT_STREQ( e.what(), "protocolTunnelRib::tunnelRib missing for tunnelType sr" );
   }
}

TEST_F( BuilderTest, TheBacklogReviewsAnIdOnceAndResumesAtItsBookmarkAfterEachYield ) {
   h.start();
   EXPECT_EQ( h.builder->task()->name(), "TunnelRibsm" );
   EXPECT_EQ( h.builder->tunnelRibReviewTask()->name(), "Tunnel::TunnelTable::TunnelRibBuilderSm" );
   EXPECT_EQ( h.builder->task()->priority(), Mox::TaskPriority{ 2 } );
   Vel::TestTraceSink trace( 8 );
   for ( std::uint8_t pref : { 10, 11, 12 } ) {
      putLdp( ldp( 1 ), pref, { "10.0.0.1/32" } );
   }
   h.drain();
   EXPECT_EQ( std::count_if( trace.lines().begin(), trace.lines().end(),
                             []( const std::string & line ) {
                                return line.find( "Handling tunnel rib with" ) != std::string::npos;
                             } ),
              1 );
   EXPECT_EQ( h.at( A ).pref(), 12 );

   h.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
   for ( std::uint64_t i = 2; i <= 6; ++i ) {
      putLdp( ldp( i ), 12, { "10.0.0.1/32" } );
   }
   h.scheduler->runFor( 0 );
   EXPECT_EQ( h.builder->tunnelForReview().size(), 4u );
   ASSERT_TRUE( h.builder->tunnelForReviewHas( h.builder->tunnelReviewBookmark() ) );
   EXPECT_TRUE( h.builder->task()->scheduled()() );
   // An id that arrives during the pause is reviewed with the rest.
   putLdp( ldp( 7 ), 12, { "10.0.0.1/32" } );
   trace.clear();
   h.drain();
   EXPECT_TRUE( h.builder->tunnelForReview().empty() );
   EXPECT_EQ( h.idsAt( A ).size(), 7u );
   EXPECT_TRUE( trace.contains( "drainTunnelBacklog: Yielding" ) );
   EXPECT_FALSE( h.builder->task()->workPending()() );
}

TEST_F( BuilderTest, AnIgpCostMappingChangeRewritesOnlyTheEntriesWhoseValueChanges ) {
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32" }, 0, 7 );
   putLdp( ldp( 2 ), 10, { "10.0.0.2/32" }, 0, 9 );
   putLdp( ldp( 3 ), 10, { "10.0.0.3/32" }, 0, 3 );
   h.start();
   h.drain();
   EXPECT_EQ( h.at( A ).igpCostPref(), 7u );

   auto & rib = static_cast< TunnelRib & >( *h.rib );
   std::vector< Korvo::IpGenPrefix > written;
   auto ribReactor = rib.entry().react(
      [ & ]( const Korvo::IpGenPrefix & key ) { written.push_back( key ); } );
   int filterChanges = 0;
   auto filterReactor = h.filter->preference().react( [ & ]( const TunnelId & ) { ++filterChanges; } );
   h.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
   auto ldpConfig = h.config->entry( TunnelTableIdentifier::ldpTable );
   ldpConfig->igpCostPrefIs( 9 );
   ldpConfig->igpCostPrefMappingIs( 1 );
   h.drain();
   EXPECT_EQ( written, ( std::vector< Korvo::IpGenPrefix >{ A.tep(), C.tep() } ) );
   EXPECT_EQ( filterChanges, 0 );
   EXPECT_EQ( h.at( A ).igpCostPref(), 9u );
   EXPECT_EQ( h.at( C ).igpCostPref(), 9u );
   EXPECT_EQ( h.builder->tepBookmark(), ColoredTunnelEndpoint() );

   written.clear();
   ldpConfig->igpCostPrefMappingIs( 0 );
   h.drain();
   EXPECT_EQ( h.at( A ).igpCostPref(), 7u );
   EXPECT_EQ( h.at( C ).igpCostPref(), 3u );
   EXPECT_EQ( written.size(), 2u );
}

TEST_F( BuilderTest, TakingOverARibKeepsSupportedIdsInOrderAndRemovesStaleOnes ) {
   putLdp( ldp( 1 ), 10, { "10.0.0.1/32" } );
   putLdp( ldp( 3 ), 10, { "10.0.0.1/32" } );
   putLdp( ldp( 4 ), 10, { "10.0.0.3/32" } );
   putLdp( ldp( 5 ), 20, { "10.0.0.3/32" } );
   auto leftOver = [ & ]( const ColoredTunnelEndpoint & t, Ids ids, std::uint8_t pref ) {
      TunnelRibEntry entry( t );
      for ( TunnelId id : ids ) {
         entry.addTunnelId( id );
      }
      entry.prefIs( pref );
      entry.mIs( 42 );
      h.rib->tunnelRibEntryIs( entry );
   };
   leftOver( A, { ldp( 3 ), ldp( 2 ), ldp( 1 ) }, 10 ); // ldp 2 is gone
   leftOver( B, { ldp( 4 ) }, 10 );                     // ldp 4 serves another tep
   leftOver( C, { ldp( 5 ) }, 10 );                     // ldp 5 has another preference now
   h.start();
   EXPECT_EQ( h.idsAt( A ), ( Ids{ ldp( 3 ), ldp( 1 ) } ) );
   EXPECT_EQ( h.at( A ).m(), 42u );
   EXPECT_TRUE( h.at( B ).empty() );
   EXPECT_TRUE( h.at( C ).empty() );
   h.drain();
   EXPECT_EQ( h.idsAt( A ), ( Ids{ ldp( 3 ), ldp( 1 ) } ) );
   EXPECT_EQ( h.idsAt( C ), Ids{ ldp( 4 ) } );
}

} // namespace
