#include <gtest/gtest.h>

#include <deque>
#include <functional>
#include <string>

#include "RibWorld.h"
#include "platform/toggles/FeatureToggles.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

using namespace RibTest;

namespace {

using T = TunnelTableIdentifier;

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId sr( std::uint64_t i ) { return TunnelId( TunnelType::srTunnel, i ); }

const Vel::Name rib = "custom";
const std::string builderSmBase = "void Tunnel::TunnelTable::TunnelRibBuilderSmBase::";

std::string assertionText( const std::function< void() > & action ) {
   try {
      action();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "";
}

// An LDP table whose producer declares it complete, and an SR table; the
// agent keeps GR status records.
struct GrTest : ::testing::Test {
   RibWorld world;
   Vel::Ptr< Mirra::CollectionControl > ldpControl = Vel::make< Mirra::CollectionControl >();

   void SetUp() override {
      Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", true );
      Vel::FastTraceRing::instance().clear();
      world.grContainer = Vel::make< Tunnel::Gr::TunnelRibGrStatusContainer >( world.grContext );
      world.describe( T::ldpTable );
      world.describe( T::srTable );
      world.table< LdpTunnelTable >()->controlIs( ldpControl );
      world.publish( ldp( 1 ), Published{} );
      world.publish( sr( 1 ), Published{ .teps = { "10.0.0.2/32" } } );
   }
   void TearDown() override { Toggles::FeatureToggles::instance().reset(); }

   void start() {
      world.rib( rib, { { T::ldpTable, {} }, { T::srTable, {} } } );
      world.start();
   }
   Vel::Ptr< TunnelRibBuilderSmBase > builder( const Vel::Name & name = rib ) {
      return world.builder( name );
   }
   Vel::Ptr< Tunnel::Gr::TunnelRibGrStatus > grStatus( const Vel::Name & name = rib ) {
      return world.grContainer->tunnelRibGrStatus( world.idOf( name ) );
   }
   std::uint64_t tablesProcessed( const Vel::Name & name = rib ) {
      return world.grContainer->grCounters()
         ->tunnelRibUpdateCounter( world.idOf( name ) )
         ->tunnelTablesProcessed();
   }
};

TEST_F( GrTest, TheRestartEndsOnceTheTrackedTableIsQuiescedAndTheBacklogDrained ) {
   start();
   auto status = grStatus();
   ASSERT_TRUE( status );
   EXPECT_EQ( builder()->tunnelRibGrStatus(), status );
   EXPECT_EQ( tablesProcessed(), 0u );
   ASSERT_TRUE( builder()->postCleanupGrTask() );
   EXPECT_EQ( builder()->postCleanupGrTask()->name(), "TunnelRibBuilderSm GR Cleanup" );
   EXPECT_EQ( builder()->postCleanupGrTask()->priority(), Mox::TaskPriority{ 2 } );
   ASSERT_TRUE( builder()->inputProcessedSm() );
   auto input = builder()->inputProcessedStatus();
   ASSERT_TRUE( input );
   EXPECT_EQ( input->tunnelGrContext().get(), world.grContext.get() );
   EXPECT_EQ( input->tunnelTablesQuiesced().size(), 1u );
   EXPECT_FALSE( input->tunnelTablesQuiesced().get( T::ldpTable ) );

   // Quiesced while the backlog still holds the table's tunnels: not done.
   ldpControl->tableCompleteIs( true );
   EXPECT_TRUE( input->tunnelTablesQuiesced().get( T::ldpTable ) );
   EXPECT_FALSE( input->backlogsEmpty()() );
   EXPECT_TRUE( Vel::FastTraceRing::instance().lines().empty() );

   Vel::TestTraceSink trace( 8 );
   world.drain();
   EXPECT_TRUE( input->backlogsEmpty()() );
   EXPECT_TRUE( status->tunnelRibSmBacklogEmpty()() );
   EXPECT_EQ( tablesProcessed(), 1u );
   EXPECT_FALSE( builder()->inputProcessedSm() );
   const std::string id = std::to_string( world.idOf( rib ).value() );
   const std::deque< std::string > expected{
      "Set InputProcessedStatus::backlogsEmpty to true for tunnelRibId: " + id,
      "Set tunnelRibSmBacklogEmpty to true for tunnelRibId: " + id,
      "Update counters for TunnelTablesProcessed stage for tunnelRibId: " + id,
      "Remove InputProcessedSm for tunnelRibId: " + id };
   EXPECT_EQ( Vel::FastTraceRing::instance().lines(), expected );
   EXPECT_TRUE( trace.contains( builderSmBase + "maybeMarkInputProcessedBacklogEmpty()" +
                                expected[ 0 ] ) );
   EXPECT_TRUE( trace.contains( builderSmBase + "doCleanupPostGr()" + expected[ 3 ] ) );

   // After the cleanup a table filed again is read, not tracked.
   world.describe( T::ldpTable, false );
   world.describe( T::ldpTable );
   world.drain();
   EXPECT_TRUE( input->tunnelTablesQuiesced().empty() );
   EXPECT_TRUE( builder()->tunnelTypeToTunnelIdMap().empty() );
   EXPECT_EQ( idsOf( world.at( rib, Key( pfx( "10.0.0.1/32" ) ) ) ), Ids{ ldp( 1 ) } );
   EXPECT_EQ( tablesProcessed(), 1u );
}

TEST_F( GrTest, TheEndOfTheRestartOrAnEarlierDeclarationQuiescesTheTable ) {
   // A producer that never declares its table complete: the end of the
   // restart stands in for it.
   start();
   world.drain();
   auto input = builder()->inputProcessedStatus();
   EXPECT_FALSE( input->backlogsEmpty()() );
   world.grContext->restartCompleteIs( true );
   EXPECT_TRUE( input->backlogsEmpty()() );
   EXPECT_TRUE( grStatus()->tunnelRibSmBacklogEmpty()() );

   // A RIB made after the producer declared its table complete, and one
   // with no tracked table, are done once their first backlog drains.
   world.grContext->restartCompleteIs( false );
   ldpControl->tableCompleteIs( true );
   world.rib( "later", { { T::ldpTable, {} } } );
   world.rib( "sr-only", { { T::srTable, {} } } );
   EXPECT_FALSE( builder( "later" )->inputProcessedStatus()->backlogsEmpty()() );
   world.drain();
   for ( const char * name : { "later", "sr-only" } ) {
      EXPECT_TRUE( grStatus( name )->tunnelRibSmBacklogEmpty()() ) << name;
      EXPECT_EQ( tablesProcessed( name ), 1u ) << name;
      EXPECT_FALSE( builder( name )->inputProcessedSm() ) << name;
   }

   // Rebuilt over an empty LDP table already declared complete, a RIB still
   // waits for the SR tunnels filed after it.
   world.withdraw( ldp( 1 ) );
   world.dirSm = nullptr;
   world.start();
   EXPECT_FALSE( builder()->inputProcessedStatus()->backlogsEmpty()() );
   world.drain();
   EXPECT_TRUE( builder()->inputProcessedStatus()->backlogsEmpty()() );
}

TEST_F( GrTest, WithoutTheToggleOnlyRestartTrackingReportsAndNothingIsCleanedUp ) {
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", false );
   start();
   EXPECT_FALSE( grStatus() );
   EXPECT_FALSE( builder()->inputProcessedStatus() );
   EXPECT_FALSE( builder()->inputProcessedSm() );
   EXPECT_FALSE( builder()->postCleanupGrTask() );
   ldpControl->tableCompleteIs( true );
   world.drain();
   EXPECT_TRUE( builder()->tunnelTypeToTunnelIdMap().empty() );
   EXPECT_TRUE( Vel::FastTraceRing::instance().lines().empty() );

   world.grContext->restartTrackingIs( true );
   world.rib( "tracked", { { T::ldpTable, {} } } );
   world.drain();
   EXPECT_TRUE( grStatus( "tracked" )->tunnelRibSmBacklogEmpty()() );
   EXPECT_EQ( tablesProcessed( "tracked" ), 1u );
   EXPECT_FALSE( builder( "tracked" )->postCleanupGrTask() );
   EXPECT_TRUE( builder( "tracked" )->inputProcessedSm() );
}

TEST_F( GrTest, StepsOutOfOrderStopWithTheirTexts ) {
   start();
   auto b = builder();
   EXPECT_EQ( assertionText( [ & ] { b->initializeInputProcessedSm(); } ),
              "inputProcessedStatus should not exist before initialisation" );
   b->inputProcessedStatusDel();
   EXPECT_EQ( assertionText( [ & ] { b->initializeInputProcessedSm(); } ),
              "inputProcessedSm should not exist before initialisation" );
   b->doCleanupPostGr();
   EXPECT_EQ( assertionText( [ & ] { b->doCleanupPostGr(); } ),
              "InputProcessedSm should be present" );
   world.grContainer->grCounters()->tunnelRibUpdateCounterDel( world.idOf( rib ) );
   EXPECT_EQ( assertionText( [ & ] { b->maybeUpdateGrCounters(); } ),
              "TunnelRib counters not initialized" );

   // A status record made without the counters.
   auto bare = Vel::make< Tunnel::Gr::TunnelRibGrStatus >( 9, world.grContext );
   auto table = world.entityManager->mount< TunnelRib >( "rib9" );
   table->idIs( 9 );
   auto sm = tunnelRibSmFactory( world.configDir->tunnelRibConfig( rib ), world.tableInfo,
                                 world.bgpLuConvergence, world.entityManager,
                                 world.unprogrammable, table, world.tunnelConvergence, nullptr,
                                 world.scheduler, bare );
   EXPECT_EQ( assertionText( [ & ] { sm->tunnelRibBuilderSm()->maybeUpdateGrCounters(); } ),
              "Counters not initialized" );

   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", false );
   world.rib( "untracked", {} );
   auto plain = builder( "untracked" );
   EXPECT_EQ( assertionText( [ & ] { plain->maybeUpdateGrCounters(); } ),
              "tunnelRibGrStatus is not present" );
   EXPECT_EQ( assertionText( [ & ] { plain->doCleanupPostGr(); } ),
              "TunnelRibGrStatus should be present" );
}

} // namespace
