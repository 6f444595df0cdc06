#include <gtest/gtest.h>

#include <string>

#include "RibWorld.h"
#include "platform/vel/Trace.h"
#include "rib/TunnelRibBuilderSm.h"

using namespace RibTest;

namespace {

using T = TunnelTableIdentifier;

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId bgpLu( std::uint64_t i ) { return TunnelId( TunnelType::bgpLuTunnel, i ); }

const Vel::Name rib = "custom";
const std::string builderSm = "void Tunnel::TunnelTable::TunnelRibBuilderSm::";

struct ConvergenceTest : ::testing::Test {
   RibWorld world;

   void SetUp() override {
      world.rib( rib, { { T::ldpTable, {} }, { T::bgpLuTable, {} } } );
      world.rib( "ldp-only", { { T::ldpTable, {} } } );
      world.rib( TunnelRibNameIdMap::systemColoredTunnelRibName, { { T::bgpLuTable, {} } } );
      world.describe( T::ldpTable );
      world.describe( T::bgpLuTable );
      world.start();
   }
   TunnelRibBuilderSm & builder( const Vel::Name & name = rib ) {
      return dynamic_cast< TunnelRibBuilderSm & >( *world.builder( name ) );
   }
   std::uint64_t bgpLuSeqno() {
      return world.table< BgpLuTunnelTable >()->entry().sequenceNumber();
   }
   void converge( std::uint64_t seqno ) { world.bgpLuConvergence->convergedIs( true, seqno ); }
   const TunnelConvergence::SeqnoCollection & reports() const {
      return world.tunnelConvergence->tunnelRibConvergenceSeqno();
   }
   bool reported() const { return reports().has( world.idOf( rib ) ); }
};

TEST_F( ConvergenceTest, AnIdleCaughtUpRibReportsAtOnceAndOnlyUncoloredRibsWithBgpLuReport ) {
   world.publish( bgpLu( 1 ), Published{} );
   world.drain();
   Vel::TestTraceSink trace( 8 );
   converge( bgpLuSeqno() );
   ASSERT_TRUE( reported() );
   const std::uint64_t ribSeqno = world.ribTable( rib )->sequenceNumber();
   EXPECT_EQ( reports().get( world.idOf( rib ) ), ribSeqno );
   EXPECT_FALSE( builder().waitingToNotifyConverged() );
   EXPECT_TRUE( trace.contains( builderSm + "handleBgpLuConverged(): bgpLuConverged: 1" ) );
   EXPECT_TRUE( trace.contains( "bool Tunnel::TunnelTable::TunnelRibBuilderSm::"
                                "maybeUpdateTunnelRibConvergenceSeqno(): review backlog is empty "
                                "and bgpLu mirra sequence number has caught up." ) );
   EXPECT_TRUE( trace.contains( builderSm +
                                "updateTunnelRibConvergenceSeqno()Updated Tunnel RIB convergence "
                                "sequence number for ribId " +
                                std::to_string( world.idOf( rib ).value() ) + " to " +
                                std::to_string( ribSeqno ) ) );
   // A RIB without the BGP-LU table only traces; a colored RIB never waits.
   EXPECT_TRUE( trace.contains( builderSm + "handleBgpLuConverged(): BGP isn't mounted" ) );
   EXPECT_FALSE( Vel::dynamicCast< TunnelRibBuilderSm >(
      world.builder( TunnelRibNameIdMap::systemColoredTunnelRibName ) ) );
   world.scheduler->advance( 120 );
   EXPECT_EQ( reports().size(), 1u );

   // Builders made again after a restart find BGP-LU converged already; the
   // first pass has queued the BGP-LU tunnel, so they wait.
   world.tunnelConvergence->tunnelRibConvergenceSeqnoDel( world.idOf( rib ) );
   world.dirSm = nullptr;
   world.start();
   EXPECT_TRUE( builder().waitingToNotifyConverged() );
   EXPECT_FALSE( reported() );
}

TEST_F( ConvergenceTest, WithABacklogTheReportComesFromAReTestOnAnEmptyBacklogOrTheTimer ) {
   world.publish( bgpLu( 1 ), Published{} );
   Vel::TestTraceSink trace( 8 );
   converge( bgpLuSeqno() );
   EXPECT_FALSE( reported() );
   EXPECT_TRUE( builder().waitingToNotifyConverged() );
   EXPECT_TRUE( trace.contains( "maybeUpdateTunnelRibConvergenceSeqno(): backlog not empty" ) );
   EXPECT_TRUE( trace.contains( builderSm + "handleBgpLuConverged(): , start 120 seconds wait "
                                            "for bgpLuConvergence" ) );
   // A handled id re-tests after it is queued, so it finds the backlog busy.
   trace.clear();
   world.publish( ldp( 1 ), Published{} );
   EXPECT_TRUE( trace.contains( "maybeUpdateTunnelRibConvergenceSeqno(): backlog not empty" ) );
   world.drain();
   world.publish( ldp( 2 ), Published{} );
   EXPECT_FALSE( reported() );
   world.drain();
   builder().tunnelRibConvergenceCallback();
   ASSERT_TRUE( reported() );
   EXPECT_EQ( reports().get( world.idOf( rib ) ), world.ribTable( rib )->sequenceNumber() );
   EXPECT_FALSE( builder().waitingToNotifyConverged() );
   trace.clear();
   world.scheduler->advance( 120 );
   EXPECT_TRUE( trace.contains( builderSm + "handleConvergenceUpdateWaitMax(): already declared "
                                            "convergence before timer expired." ) );

   // Converged on BGP-LU writes the RIB has not seen: the timer reports,
   // 120 s after BGP-LU converged and not before.
   world.tunnelConvergence->tunnelRibConvergenceSeqnoDel( world.idOf( rib ) );
   world.bgpLuConvergence->convergedIs( false, 0 );
   world.drain();
   trace.clear();
   converge( bgpLuSeqno() + 1 );
   EXPECT_TRUE( trace.contains( "maybeUpdateTunnelRibConvergenceSeqno(): bgpLu mirra sequence "
                                "no. not caught up." ) );
   world.scheduler->advance( 119 );
   EXPECT_FALSE( reported() );
   world.publish( bgpLu( 2 ), Published{} );
   world.drain();
   EXPECT_FALSE( reported() );
   world.scheduler->advance( 1 );
   EXPECT_TRUE( reported() );
   EXPECT_TRUE( trace.contains( builderSm +
                                "handleConvergenceUpdateWaitMax(): convergence timer expired." ) );
}

TEST_F( ConvergenceTest, LosingConvergenceWhileWaitingCancelsTheWait ) {
   world.publish( bgpLu( 1 ), Published{} );
   converge( bgpLuSeqno() );
   ASSERT_TRUE( builder().waitingToNotifyConverged() );
   Vel::TestTraceSink trace( 8 );
   world.bgpLuConvergence->convergedIs( false, 0 );
   EXPECT_FALSE( builder().waitingToNotifyConverged() );
   EXPECT_TRUE( trace.contains( builderSm + "handleBgpLuConverged(): routing agent restarted, so "
                                            "reset the waiting-for-convergence process." ) );
   world.drain();
   world.scheduler->advance( 120 );
   EXPECT_FALSE( reported() );
   EXPECT_TRUE( trace.contains( ": already declared convergence before timer expired." ) );
   EXPECT_FALSE( trace.contains( ": convergence timer expired." ) );
}

} // namespace
