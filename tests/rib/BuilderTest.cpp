#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

#include "RibWorld.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

using namespace RibTest;

namespace {

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId sr( std::uint64_t i ) { return TunnelId( TunnelType::srTunnel, i ); }
TunnelId policy( std::uint64_t i ) { return TunnelId( TunnelType::srTePolicyTunnel, i ); }

const Vel::Name rib = "custom";
const Key A( pfx( "10.0.0.1/32" ) );
const Key B( pfx( "10.0.0.2/32" ) );
const Key C( pfx( "10.0.0.3/32" ) );

using T = TunnelTableIdentifier;

struct BuilderTest : ::testing::Test {
   RibWorld world;

   void start( std::map< T, std::optional< std::uint8_t > > tables ) {
      world.rib( rib, tables );
      for ( const auto & [ table, mapped ] : tables ) {
         world.describe( table );
      }
      world.start();
   }
   void put( TunnelId id, std::uint8_t pref, std::uint32_t m = 0,
             std::vector< std::string > teps = { "10.0.0.1/32" } ) {
      Published p;
      p.pref = pref;
      p.m = m;
      p.teps = teps;
      world.publish( id, p );
   }
   TunnelRibEntry at( const Key & key ) const { return world.at( rib, key ); }
   std::string failure( const std::function< void() > & action ) {
      try {
         action();
      } catch ( const std::logic_error & e ) {
         return e.what();
      }
      return "";
   }
};

TEST_F( BuilderTest, MetricsFollowTheIdAddedLastAndAfterADeletionTheFirstRemainingOne ) {
   start( { { T::ldpTable, {} }, { T::srTable, {} }, { T::isisFlexAlgoTable, {} } } );
   world.publish( TunnelId( TunnelType::isisFlexAlgoTunnel, 1 ), Published{ .pref = 30 } );
   put( sr( 1 ), 30, 300 );
   put( ldp( 1 ), 20, 100 );
   world.drain();
   EXPECT_EQ( at( A ).m(), 100u );
   // sr and flex-algo share ECMP once the better ldp tunnel goes; flex-algo
   // carries no metrics into the entry.
   world.withdraw( ldp( 1 ) );
   world.drain();
   EXPECT_EQ( idsOf( at( A ) ), ( Ids{ sr( 1 ), TunnelId( TunnelType::isisFlexAlgoTunnel, 1 ) } ) );
   EXPECT_EQ( at( A ).m(), 300u );
   put( sr( 3 ), 30, 330 );
   world.drain();
   EXPECT_EQ( at( A ).m(), 330u );
   put( sr( 1 ), 30, 310 );
   world.drain();
   EXPECT_EQ( at( A ).m(), 310u );
   // The last id fills the gap; the metrics follow the first remaining id.
   world.withdraw( sr( 1 ) );
   world.drain();
   EXPECT_EQ( idsOf( at( A ) ), ( Ids{ sr( 3 ), TunnelId( TunnelType::isisFlexAlgoTunnel, 1 ) } ) );
   EXPECT_EQ( at( A ).m(), 330u );
}

TEST_F( BuilderTest, ATableWidePreferenceChangeRanksAllItsTunnelsAnew ) {
   start( { { T::ldpTable, {} }, { T::srTable, {} } } );
   put( ldp( 10 ), 10 );
   put( ldp( 1 ), 20 );
   put( sr( 1 ), 25 );
   world.drain();
   ASSERT_EQ( idsOf( at( A ) ), Ids{ ldp( 10 ) } );
   // The backlog reviews ldp 10 first; its reselection must already rank
   // ldp 1 at 30, behind sr.
   auto ldpConfig = world.configDir->tunnelRibConfig( rib )->entry( T::ldpTable );
   ldpConfig->preferenceIs( 30 );
   ldpConfig->prefMappingIs( 1 );
   world.drain();
   EXPECT_EQ( idsOf( at( A ) ), Ids{ sr( 1 ) } );
}

TEST_F( BuilderTest, UndecidableSelectionsAndMissingPerTypeRibsAreRefusedWithTheirTexts ) {
   start( { { T::srTePolicyTable, {} }, { T::rsvpLerTable, {} } } );
   EXPECT_EQ( world.builder( rib )->getPreference(
                 TunnelTableEntry( TunnelId( TunnelType::tiLfaTunnel, 1 ), 3 ) ),
              255 );
   EXPECT_EQ( failure( [ & ] { world.builder( rib )->getPreference( TunnelTableEntry( ldp( 9 ), 3 ) ); } ),
              "tunnelTableEntryFilter()->preferenceHas( id )" );
   // A policy and an RSVP LER tunnel of equal preference: both default to 255.
   world.publish( policy( 1 ), Published{} );
   world.publish( TunnelId( TunnelType::rsvpLerTunnel, 1 ), Published{ .pref = 255 } );
   EXPECT_EQ( failure( [ & ] { world.drain(); } ), "Two tunnels have the same default static pref" );

   RibWorld system;
   system.rib( TunnelRibNameIdMap::systemTunnelRibName, { { T::staticTable, {} } } );
   system.describe( T::staticTable );
   system.start( { TunnelType::ldpTunnel } );
   system.publish( TunnelId( TunnelType::staticTunnel, 1 ), Published{} );
   EXPECT_EQ( failure( [ & ] { system.drain(); } ),
              "protocolTunnelRib missing for tunnelType static" );
   // A wrapper without its RIB is refused when the system RIB's builder starts.
   system.configDir->tunnelRibConfigDel( TunnelRibNameIdMap::systemTunnelRibName );
   system.protoColl->protocolTunnelRibIs( TunnelType::srTunnel );
   EXPECT_EQ( failure( [ & ] { system.rib( TunnelRibNameIdMap::systemTunnelRibName, {} ); } ),
              "protocolTunnelRib::tunnelRib missing for tunnelType sr" );

   // One ECMP set too many: the refusal names the RIB and the endpoint.
   RibWorld crowded;
   crowded.rib( rib, { { T::ldpTable, {} } } );
   crowded.describe( T::ldpTable );
   crowded.start();
   for ( std::uint64_t i = 1; i <= maxTunnelIdsPerRibEntry + 1; ++i ) {
      crowded.publish( ldp( i ), Published{ .pref = 20, .teps = { "10.0.0.9/32" } } );
   }
   const std::string overflow = failure( [ & ] { crowded.drain(); } );
   EXPECT_EQ( overflow.substr( 0, overflow.find( ':' ) ), "tunnel RIB custom, endpoint 10.0.0.9/32" )
      << overflow;
   EXPECT_NE( overflow.find( "would be tunnel 601 of one entry, which holds at most 600" ),
              std::string::npos ) << overflow;
}

TEST_F( BuilderTest, TheBacklogReviewsAnIdOnceAndResumesAtItsBookmarkAfterEachYield ) {
   start( { { T::ldpTable, {} } } );
   auto builder = world.builder( rib );
   EXPECT_EQ( builder->task()->name(), "TunnelRibsm" );
   EXPECT_EQ( builder->tunnelRibReviewTask()->name(), "Tunnel::TunnelTable::TunnelRibBuilderSm" );
   EXPECT_EQ( builder->task()->priority(), Mox::TaskPriority{ 2 } );
   Vel::TestTraceSink trace( 8 );
   for ( std::uint8_t pref : { 10, 11, 12 } ) {
      put( ldp( 1 ), pref );
   }
   world.drain();
   EXPECT_EQ( std::count_if( trace.lines().begin(), trace.lines().end(),
                             []( const std::string & line ) {
                                return line.find( "Handling tunnel rib with" ) != std::string::npos;
                             } ),
              1 );
   EXPECT_EQ( at( A ).pref(), 12 );

   world.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
   for ( std::uint64_t i = 2; i <= 6; ++i ) {
      put( ldp( i ), 12 );
   }
   world.scheduler->runFor( 0 );
   EXPECT_EQ( builder->tunnelForReview().size(), 4u );
   EXPECT_TRUE( builder->tunnelForReviewHas( builder->tunnelReviewBookmark() ) );
   EXPECT_TRUE( builder->task()->scheduled()() );
   put( ldp( 7 ), 12 ); // arrives during the pause
   world.drain();
   EXPECT_EQ( idsOf( at( A ) ).size(), 7u );
   EXPECT_TRUE( trace.contains( "drainTunnelBacklog: Yielding" ) );
   EXPECT_FALSE( builder->task()->workPending()() );
}

TEST_F( BuilderTest, AnIgpCostMappingChangeRewritesOnlyTheEntriesWhoseValueChanges ) {
   start( { { T::ldpTable, {} } } );
   const std::uint32_t own[] = { 7, 9, 3 };
   for ( std::uint64_t i = 0; i < 3; ++i ) {
      world.publish( ldp( i + 1 ), Published{ .teps = { "10.0.0." + std::to_string( i + 1 ) + "/32" },
                                              .igpCostPref = own[ i ] } );
   }
   world.drain();
   EXPECT_EQ( at( A ).igpCostPref(), 7u );
   std::vector< Korvo::IpGenPrefix > written;
   auto reactor = Vel::dynamicCast< TunnelRib >( world.ribTable( rib ) )->entry().react(
      [ & ]( const Korvo::IpGenPrefix & key ) { written.push_back( key ); } );
   world.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
   auto ldpConfig = world.configDir->tunnelRibConfig( rib )->entry( T::ldpTable );
   ldpConfig->igpCostPrefIs( 9 );
   ldpConfig->igpCostPrefMappingIs( 2 ); // only mapping 1 maps
   world.drain();
   EXPECT_TRUE( written.empty() );
   ldpConfig->igpCostPrefMappingIs( 1 );
   world.drain();
   EXPECT_EQ( written, ( std::vector< Korvo::IpGenPrefix >{ A.tep(), C.tep() } ) );
   EXPECT_EQ( at( C ).igpCostPref(), 9u );
   EXPECT_EQ( world.builder( rib )->tepBookmark(), Key() );
   ldpConfig->igpCostPrefMappingIs( 0 );
   world.drain();
   EXPECT_EQ( at( C ).igpCostPref(), 3u );
}

TEST_F( BuilderTest, TakingOverARibKeepsSupportedIdsInOrderAndRemovesStaleOnes ) {
   world.rib( rib, { { T::ldpTable, {} } } );
   world.describe( T::ldpTable );
   put( ldp( 1 ), 10 );
   put( ldp( 3 ), 10 );
   put( ldp( 4 ), 10, 0, { "10.0.0.3/32" } );
   put( ldp( 5 ), 20, 0, { "10.0.0.3/32" } );
   auto table = world.entityManager->mount< TunnelRib >(
      TunnelRibConfigDirSm::statusPath( world.idMap->tunnelRibNameIs( rib ) ) );
   auto leftOver = [ & ]( const Key & key, Ids ids ) {
      TunnelRibEntry entry( key );
      for ( TunnelId id : ids ) {
         entry.addTunnelId( id );
      }
      entry.prefIs( 10 );
      entry.mIs( 42 );
      table->tunnelRibEntryIs( entry );
   };
   leftOver( A, { ldp( 3 ), ldp( 2 ), ldp( 1 ) } ); // ldp 2 is gone
   leftOver( B, { ldp( 4 ) } );                     // ldp 4 serves another tep
   leftOver( C, { ldp( 5 ) } );                     // ldp 5 has another preference
   world.start();
   EXPECT_EQ( idsOf( at( A ) ), ( Ids{ ldp( 3 ), ldp( 1 ) } ) );
   EXPECT_EQ( at( A ).m(), 42u );
   EXPECT_EQ( table->size(), 1u );
   world.drain();
   EXPECT_EQ( idsOf( at( A ) ), ( Ids{ ldp( 3 ), ldp( 1 ) } ) );
   EXPECT_EQ( idsOf( at( C ) ), Ids{ ldp( 4 ) } );
}

TEST_F( BuilderTest, ACorruptedRibIsReportedPerEntryAndTheWalksGoOn ) {
   world.rib( rib, { { T::ldpTable, {} } } );
   world.describe( T::ldpTable );
   put( ldp( 1 ), 10 );
   put( ldp( 2 ), 10, 0, { "10.0.0.2/32" } );
   auto table = world.entityManager->mount< TunnelRib >(
      TunnelRibConfigDirSm::statusPath( world.idMap->tunnelRibNameIs( rib ) ) );
   std::vector< std::string > reports;
   table->corruptionHandlerIs( [ & ]( const std::string & m ) { reports.push_back( m ); } );
   for ( const char * tep : { "10.0.0.3/32", "10.0.0.4/32" } ) {
      TunnelRibEntry stale( Key( pfx( tep ) ) );
      stale.addTunnelId( ldp( 9 ) );
      table->tunnelRibEntryIs( stale );
   }
   // Taking over a corrupted RIB removes nothing and reads every entry.
   table->corruptedIs( true );
   world.start();
   EXPECT_EQ( reports.size(), 2u );
   EXPECT_EQ( table->size(), 2u );
   table->corruptedIs( false );
   world.drain();
   ASSERT_EQ( table->size(), 4u );

   // The IGP-cost review of a corrupted RIB reads every entry and changes
   // none.
   reports.clear();
   table->corruptedIs( true );
   auto ldpConfig = world.configDir->tunnelRibConfig( rib )->entry( T::ldpTable );
   ldpConfig->igpCostPrefIs( 9 );
   ldpConfig->igpCostPrefMappingIs( 1 );
   world.drain();
   EXPECT_EQ( reports.size(), 4u );
   EXPECT_EQ( reports.front(), "Mirra::Collection: corrupted table" );
   table->corruptedIs( false );
   EXPECT_EQ( at( A ).igpCostPref(), 0u );
}

} // namespace
