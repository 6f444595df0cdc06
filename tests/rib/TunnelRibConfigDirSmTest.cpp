#include <gtest/gtest.h>

#include "platform/mox/DumpContext.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/toggles/FeatureToggles.h"
#include "platform/vel/Trace.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ColoredTunnelRib.h"

using namespace Tunnel::TunnelTable;

namespace {

// The agent's inputs and outputs around one configuration directory machine.
struct ConfigDirFixture : ::testing::Test {
   Vel::Ptr< BgpLuConvergence > bgpLuConvergence = Vel::make< BgpLuConvergence >();
   Vel::Ptr< TunnelConvergence > tunnelConvergence = Vel::make< TunnelConvergence >();
   Vel::Ptr< TunnelRibConfigDir > configDir = Vel::make< TunnelRibConfigDir >();
   Vel::Ptr< TunnelTableInfoCollection > tableInfo = Vel::make< TunnelTableInfoCollection >();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl =
      protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
   Vel::Ptr< TunnelIdColl > unprogrammable = tunnelIdCollFactory();
   Vel::Ptr< TunnelRibNameIdMap > idMap = Vel::make< TunnelRibNameIdMap >();
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< Tunnel::Gr::TunnelGrContext > grContext = Vel::make< Tunnel::Gr::TunnelGrContext >();
   Vel::Ptr< Tunnel::Gr::TunnelRibGrStatusContainer > grContainer;
   Vel::Ptr< TunnelRibConfigDirSm > sm;

   void start() {
      sm = tunnelRibConfigDirSmFactory( bgpLuConvergence, tunnelConvergence, configDir, tableInfo,
                                        entityManager, protoColl, unprogrammable, idMap,
                                        scheduler, grContainer );
   }
   ~ConfigDirFixture() override {
      sm.reset();
      Toggles::FeatureToggles::instance().reset();
   }
};

TEST_F( ConfigDirFixture, RibsComeAndGoWithTheirConfiguration ) {
   configDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemTunnelRibName );
   configDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemColoredTunnelRibName );
   // A name left in the shared map while the agent was down is stale.
   idMap->tunnelRibNameIs( "gone" );
   start();
   EXPECT_FALSE( idMap->tunnelRibNameHas( "gone" ) );
   ASSERT_EQ( sm->tunnelRibSm().size(), 2u );

   auto system = entityManager->lookup< TunnelRib >( "tunnel/tunnelRibs/status/0" );
   auto colored = entityManager->lookup< ColoredTunnelRib >( "tunnel/tunnelRibs/status/1" );
   ASSERT_TRUE( system );
   ASSERT_TRUE( colored );
   EXPECT_EQ( colored->tunnelRibId(), TunnelRibId( 1 ) );
   EXPECT_EQ( sm->tunnelRibSm( 0 )->protoTunnelRibColl(), protoColl );
   EXPECT_FALSE( sm->tunnelRibSm( 1 )->protoTunnelRibColl() );
   EXPECT_FALSE( sm->tunnelRibSm( 0 )->tunnelRibGrStatus() ); // no GR container

   // A name's path follows its id, not its name.
   configDir->tunnelRibConfigIs( "blue" );
   EXPECT_TRUE( entityManager->lookup< TunnelRib >( "tunnel/tunnelRibs/status/4" ) );

   // Configuring a name again replaces its machine under the same id.
   auto before = sm->tunnelRibSm( 4 );
   configDir->tunnelRibConfigIs( "blue" );
   EXPECT_NE( sm->tunnelRibSm( 4 ), before );
   EXPECT_EQ( sm->tunnelRibSm().size(), 3u );

   TunnelRibEntry entry( ColoredTunnelEndpoint( *Korvo::IpGenPrefix::parse( "10.0.0.1/32" ) ) );
   entry.addTunnelId( TunnelId( TunnelType::ldpTunnel, 1 ) );
   auto blue = entityManager->lookup< TunnelRib >( "tunnel/tunnelRibs/status/4" );
   blue->tunnelRibEntryIs( entry );
   configDir->tunnelRibConfigDel( "blue" );
   EXPECT_FALSE( sm->tunnelRibSm( 4 ) );
   EXPECT_FALSE( entityManager->mounted( "tunnel/tunnelRibs/status/4" ) );
   EXPECT_EQ( blue->size(), 0u ); // cleaned before it was unmounted
   EXPECT_FALSE( idMap->tunnelRibNameHas( "blue" ) );
}

TEST_F( ConfigDirFixture, GrStatusOnlyWithAContainerAndTrackingOrTheToggle ) {
   grContainer = Vel::make< Tunnel::Gr::TunnelRibGrStatusContainer >( grContext );
   configDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemTunnelRibName );
   start();
   EXPECT_FALSE( sm->tunnelRibSm( 0 )->tunnelRibGrStatus() );

   grContext->restartTrackingIs( true );
   configDir->tunnelRibConfigIs( "blue" );
   auto status = sm->tunnelRibSm( 4 )->tunnelRibGrStatus();
   ASSERT_TRUE( status );
   EXPECT_EQ( grContainer->tunnelRibGrStatus( 4 ), status );
   EXPECT_TRUE( grContainer->grCounters()->tunnelRibUpdateCounterHas( 4 ) );
   // The record leads its RIB's builder to the GR context and the counters.
   EXPECT_EQ( status->tunnelGrContext().get(), grContext.get() );
   EXPECT_EQ( status->grCounters(), grContainer->grCounters() );

   grContext->restartTrackingIs( false );
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", true );
   configDir->tunnelRibConfigIs( "green" );
   EXPECT_TRUE( sm->tunnelRibSm( 5 )->tunnelRibGrStatus() );

   configDir->tunnelRibConfigDel( "blue" );
   EXPECT_FALSE( grContainer->tunnelRibGrStatus( 4 ) );
   Toggles::FeatureToggles::instance().reset();
}

TEST_F( ConfigDirFixture, DumpAndTraceTexts ) {
   configDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemTunnelRibName );
   configDir->tunnelRibConfigIs( TunnelRibNameIdMap::igpShortcutRibName );
   Vel::TestTraceSink traces( 8 );
   start();
   EXPECT_TRUE( traces.contains(
      "void Tunnel::TunnelTable::TunnelRibConfigDirSm::handleRibConfig(Vel::Name) - configDir : "
      "system-igp-shortcut-rib" ) );
   EXPECT_TRUE( traces.contains( "void Tunnel::TunnelTable::TunnelRibConfigDirSm::"
                                 "createTunnelRibSm(const PtrConst&, const Ptr&)"
                                 "system-tunnel-rib" ) );
   Mox::DumpContext top;
   sm->dumpState( top, 0 );
   EXPECT_EQ( top.text(), "TunnelRibConfigDirSm\n"
                          "  TunnelRibSm #2\n"
                          "    TunnelRibSm tunnelRibId 0\n"
                          "      TunnelRibBuilderSm tunnelRibId 0 tunnelForReview 0\n"
                          "    TunnelRibSm tunnelRibId 3\n"
                          "      TunnelRibBuilderSm tunnelRibId 3 tunnelForReview 0\n" );
   Mox::DumpContext nested;
   sm->dumpState( nested, 2 );
   EXPECT_EQ( nested.text().substr( 0, 25 ), "  TunnelRibConfigDirSm\n  " );
}

} // namespace
