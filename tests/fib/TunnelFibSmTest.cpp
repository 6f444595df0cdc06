#include <gtest/gtest.h>

#include <algorithm>

#include "platform/mox/DumpContext.h"
#include "platform/toggles/FeatureToggles.h"
#include "tests/fib/FibWorld.h"

namespace FibTest {
namespace {

MplsVia via( const std::string & hop, const std::string & intf,
             std::initializer_list< Korvo::MplsLabel > labels ) {
   return MplsVia( out( hop, intf ), push( labels ) );
}
MplsVia viaOver( TunnelId lower, std::initializer_list< Korvo::MplsLabel > labels ) {
   return MplsVia( over( lower ), push( labels ) );
}
// A distinct next hop per number.
std::string hop( unsigned i ) {
   return "10." + std::to_string( i / 65536 ) + "." + std::to_string( i / 256 % 256 ) + "." +
          std::to_string( i % 256 );
}
bool traced( const Vel::TestTraceSink & trace, const std::string & fragment ) {
   return trace.contains( fragment );
}

TEST( TunnelFibSm, FlattensATunnelOverEveryViaOfTheLowerOne ) {
   FibWorld w;
   w.agent.start();
   w.srEntry( sr( 1 ), { via( "10.1.1.2", "Ethernet1", { 16001 } ),
                         via( "10.1.2.2", "Ethernet2", { 16002 } ) } );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100 } ) );
   EXPECT_TRUE( w.fib( sr( 1 ) ).empty() ); // queued, not computed before the task runs
   w.drain();
   EXPECT_EQ( w.fib( sr( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001]",
                                         "10.1.2.2 Ethernet2 push [16002]" } ) );
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001 100]",
                                            "10.1.2.2 Ethernet2 push [16002 100]" } ) );
   // Each merged stack is an encapsulation of its own, beside the SR tunnel's two.
   EXPECT_EQ( w.agent.tunnelFib->labelStackEncap().size(), 4u );

   // The BGP-LU tunnel goes when it stops contributing, and is not listed.
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100 } ), false );
   w.drain();
   EXPECT_TRUE( w.fib( bgpLu( 1 ) ).empty() );
   EXPECT_FALSE( w.unprogrammable( bgpLu( 1 ) ) );
   EXPECT_EQ( w.agent.tunnelFib->labelStackEncap().size(), 2u );
}

TEST( TunnelFibSm, RsvpTunnelsAreWrittenInTheReactorWithTheirBackupAsItStands ) {
   FibWorld w;
   w.agent.start();
   w.agent.mplsTunnelConfig->entropyLabelPushIs( true );
   w.ldpEntry( ldp( 1 ), { via( "10.1.1.2", "Ethernet1", { 24001 } ) } );
   w.drain();
   w.rsvpLerEntry( rsvpLer( 1 ), via( "10.1.1.2", "Ethernet1", { 3001 } ),
                   viaOver( ldp( 1 ), { 3002 } ) );
   // No drain: written at once; the backup is neither resolved nor given an
   // entropy label, and RSVP LER tunnels carry none of their own.
   EXPECT_EQ( w.fib( rsvpLer( 1 ) ),
              ( Texts{ "10.1.1.2 Ethernet1 push [3001]",
                       "backup: 0.0.0.0 DynamicTunnel0x300000000001 push [3002]" } ) );
   EXPECT_EQ( w.fib( ldp( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [24001 7 EL]" } ) );

   // A list of primary vias replaces the single one and installs no backup.
   RsvpLerTunnelTableEntry listed( rsvpLer( 1 ), 10 );
   listed.mplsViaAdd( via( "10.1.1.2", "Ethernet1", { 3003 } ) );
   listed.mplsViaAdd( via( "10.1.2.2", "Ethernet2", { 3004 } ) );
   listed.backupViaIs( via( "10.9.9.9", "Ethernet9", { 9 } ) );
   w.agent.producerTable< RsvpLerTunnelTable >()->entryIs( rsvpLer( 1 ), listed );
   EXPECT_EQ( w.fib( rsvpLer( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [3003]",
                                              "10.1.2.2 Ethernet2 push [3004]" } ) );

   // An entry without any via is unprogrammable, not programmed with an
   // empty one.
   w.agent.producerTable< RsvpLerTunnelTable >()->entryIs( rsvpLer( 1 ),
                                                           RsvpLerTunnelTableEntry( rsvpLer( 1 ), 10 ) );
   EXPECT_TRUE( w.fib( rsvpLer( 1 ) ).empty() );
   EXPECT_TRUE( w.unprogrammable( rsvpLer( 1 ) ) );
}

TEST( TunnelFibSm, TooManyViasMakeATunnelUnprogrammableUntilTheyFit ) {
   FibWorld w;
   w.agent.start();
   std::vector< MplsVia > first, second;
   for ( unsigned i = 0; i < 300; ++i ) {
      first.push_back( via( hop( i ), "Ethernet1", { 16001 } ) );
      second.push_back( via( hop( 1000 + i ), "Ethernet2", { 16002 } ) );
   }
   w.srEntry( sr( 1 ), first );
   w.srEntry( sr( 2 ), second );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ), over( sr( 2 ) ), out( "10.9.9.9", "Ethernet9" ) },
                 push( { 100 } ) );
   Vel::TestTraceSink trace( 8 );
   w.drain();
   EXPECT_TRUE( w.fib( bgpLu( 1 ) ).empty() );
   EXPECT_TRUE( w.unprogrammable( bgpLu( 1 ) ) );
   EXPECT_TRUE( traced( trace, "TunnelFibEntry has too many tunnelVias: 601, (max 600)" ) );
   EXPECT_TRUE( traced( trace, " TunnelId bgpLu:1 is unprogrammable because too many tunnelVias" ) );

   trace.clear();
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ), over( sr( 2 ) ) }, push( { 100 } ) );
   w.drain();
   EXPECT_EQ( w.fib( bgpLu( 1 ) ).size(), 600u );
   EXPECT_FALSE( w.unprogrammable( bgpLu( 1 ) ) );
   EXPECT_TRUE( traced( trace, " TunnelId bgpLu:1 is now programmable" ) );

   // No via at all is the other way to be unprogrammable.
   trace.clear();
   w.srEntry( sr( 3 ), {} );
   w.drain();
   EXPECT_TRUE( w.unprogrammable( sr( 3 ) ) );
   EXPECT_TRUE( traced( trace, " TunnelId sr:3 is unprogrammable because no tunnelVias" ) );
}

TEST( TunnelFibSm, ALowerViaTooDeepToMergeIsLeftOutAndTheOtherKept ) {
   FibWorld w;
   w.agent.start();
   w.srEntry( sr( 1 ), { via( "10.1.1.2", "Ethernet1", { 1, 2, 3, 4, 5, 6, 7, 8 } ),
                         via( "10.1.2.2", "Ethernet2", { 1, 2, 3, 4, 5, 6, 7, 8, 9 } ) } );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100, 101, 102, 103 } ) );
   Vel::TestTraceSink trace( 8 );
   w.drain();
   EXPECT_EQ( w.fib( bgpLu( 1 ) ),
              ( Texts{ "10.1.1.2 Ethernet1 push [1 2 3 4 5 6 7 8 100 101 102 103]" } ) );
   EXPECT_TRUE( traced( trace, "      Ignored flattened TunnelVia for tunnel bgpLu:1 via (label "
                               "stack too large: push [100 101 102 103] + push [1 2 3 4 5 6 7 8 "
                               "9]), Label stack result: stackFull" ) );

   // The calculation reports the flatten error although a via was added.
   ConsolidatedTunnelFibEntry cons( bgpLu( 1 ) );
   EXPECT_EQ( calculateTunnelFibEntryMplsVia( *w.sm(), cons, viaOver( sr( 1 ), { 100, 101, 102, 103 } ) ),
              TunnelFibViaCalcResult( TunnelFibViaCalcResult::recTunFlattenError ) );
   EXPECT_EQ( cons.viaInfos(), 1u );
}

TEST( TunnelFibSm, LowerTunnelsThatCannotCarryAViaSayWhy ) {
   FibWorld w;
   w.agent.start();
   using R = TunnelFibViaCalcResult;
   auto resolve = [ & ]( TunnelId upper, TunnelId lower ) {
      ConsolidatedTunnelFibEntry cons( upper );
      return calculateTunnelFibEntryMplsVia( *w.sm(), cons, viaOver( lower, { 100 } ) );
   };
   EXPECT_EQ( resolve( bgpLu( 1 ), ldp( 9 ) ), R( R::recTunMissing ) );
   // A failing via still records the edge, so the tunnel follows the lower one.
   ASSERT_TRUE( w.sm()->directlyDependentTunnels().contains( ldp( 9 ) ) );
   EXPECT_TRUE( w.sm()->directlyDependentTunnels().find( ldp( 9 ) )->second.has( bgpLu( 1 ) ) );
   w.bgpLuEntry( bgpLu( 2 ), { out( "10.1.1.2", "Ethernet1" ) }, push( { 5 } ), false );
   w.drain();
   EXPECT_EQ( resolve( bgpLu( 1 ), bgpLu( 2 ) ), R( R::recTunNonContrib ) );
   w.ldpEntry( ldp( 1 ), {} );
   EXPECT_EQ( resolve( bgpLu( 1 ), ldp( 1 ) ), R( R::recTunNotReady ) ); // pending review
   w.drain();
   EXPECT_EQ( resolve( bgpLu( 1 ), ldp( 1 ) ), R( R::recTunUnprogrammable ) );

   // A via over an ordinary interface is copied as it is and yields nothing.
   ConsolidatedTunnelFibEntry cons( ldp( 2 ) );
   EXPECT_EQ( calculateTunnelFibEntryMplsVia( *w.sm(), cons, via( "10.1.1.2", "Ethernet1", { 7 } ) ),
              R() );
   EXPECT_EQ( cons.viaInfo().begin()->labelStack(), push( { 7 } ) );
}

TEST( TunnelFibSm, ACycleOfTunnelsEndsWithBothUnprogrammable ) {
   FibWorld w;
   w.agent.start();
   w.srEntry( sr( 1 ), { via( "10.1.1.2", "Ethernet1", { 16001 } ) } );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100 } ) );
   w.drain();
   ASSERT_TRUE( w.sm()->resolvedByTunnels().contains( bgpLu( 1 ) ) );
   EXPECT_TRUE( w.sm()->resolvedByTunnels().find( bgpLu( 1 ) )->second.has( sr( 1 ) ) );

   // The SR tunnel now rests on the BGP-LU tunnel that rests on it.
   Vel::TestTraceSink trace( 8 );
   w.srEntry( sr( 1 ), { viaOver( bgpLu( 1 ), { 16001 } ) } );
   w.drain();
   EXPECT_TRUE( traced( trace, "    Cycle detected while trying to create MplsVia for tunnelId "
                               "sr:1 via tunnelId bgpLu:1" ) );
   EXPECT_TRUE( w.fib( sr( 1 ) ).empty() );
   EXPECT_TRUE( w.fib( bgpLu( 1 ) ).empty() );
   EXPECT_TRUE( w.unprogrammable( sr( 1 ) ) );
   EXPECT_TRUE( w.unprogrammable( bgpLu( 1 ) ) );
   EXPECT_TRUE( w.agent.scheduler->idle() );

   // A tunnel over itself is a cycle too.
   ConsolidatedTunnelFibEntry cons( ldp( 1 ) );
   EXPECT_EQ( calculateTunnelFibEntryMplsVia( *w.sm(), cons, viaOver( ldp( 1 ), {} ) ),
              TunnelFibViaCalcResult( TunnelFibViaCalcResult::recTunCycle ) );
}

TEST( TunnelFibSm, EntropyLabelsFollowTheSettingOnExactlyTheTablesThatCarryThem ) {
   FibWorld w;
   w.agent.start();
   // Every kind over a plain via; the BGP-LU one also over LDP.
   for ( TunnelType type : { TunnelType::ldpTunnel, TunnelType::srTunnel, TunnelType::ospfSrTunnel,
                             TunnelType::staticTunnel, TunnelType::srTeSegmentListTunnel,
                             TunnelType::isisFlexAlgoTunnel } ) {
      std::vector< MplsVia > vias{ via( "10.1.1.2", "Ethernet1", { 20 } ) };
      switch ( type ) {
      case TunnelType::ldpTunnel: w.mplsEntry< LdpTunnelTable >( of( type, 1 ), vias ); break;
      case TunnelType::srTunnel: w.mplsEntry< IsisSrTunnelTable >( of( type, 1 ), vias ); break;
      case TunnelType::ospfSrTunnel: w.mplsEntry< OspfSrTunnelTable >( of( type, 1 ), vias ); break;
      case TunnelType::staticTunnel: w.mplsEntry< StaticTunnelTable >( of( type, 1 ), vias ); break;
      case TunnelType::srTeSegmentListTunnel:
         w.mplsEntry< SrTeSegmentListTunnelTable >( of( type, 1 ), vias );
         break;
      default: w.mplsEntry< IsisFlexAlgoTunnelTable >( of( type, 1 ), vias ); break;
      }
   }
   for ( TunnelType type : { TunnelType::rsvpFrrTunnel, TunnelType::rsvpLerSubTunnel,
                             TunnelType::tiLfaTunnel } ) {
      ProtectedTunnelTableEntryBase entry( of( type, 1 ), 10 );
      entry.primaryViaIs( via( "10.1.1.2", "Ethernet1", { 20 } ) );
      if ( type == TunnelType::rsvpFrrTunnel ) {
         w.agent.producerTable< RsvpFrrTunnelTable >()->entryIs( entry.tunnelId(), entry );
      } else if ( type == TunnelType::rsvpLerSubTunnel ) {
         w.agent.producerTable< RsvpLerSubTunnelTable >()->entryIs( entry.tunnelId(), entry );
      } else {
         w.agent.producerTable< TiLfaTunnelTable >()->entryIs( entry.tunnelId(), entry );
      }
   }
   w.rsvpLerEntry( rsvpLer( 1 ), via( "10.1.1.2", "Ethernet1", { 20 } ) );
   w.bgpLuEntry( bgpLu( 1 ), { over( ldp( 1 ) ) }, push( { 100 } ) );
   w.mplsEntry< LdpTunnelTable >( ldp( 2 ), { via( "10.1.1.2", "Ethernet1", {} ) } );
   w.drain();

   Vel::TestTraceSink trace( 8 );
   w.agent.mplsTunnelConfig->entropyLabelPushIs( true );
   w.drain();
   std::vector< TunnelId > recomputed = FibWorld::computed( trace );
   std::sort( recomputed.begin(), recomputed.end() );
   // The listed tables' tunnels once each: the BGP-LU one is queued by its
   // table and by the LDP tunnel's new vias, and computed once.
   EXPECT_EQ( recomputed,
              ( std::vector< TunnelId >{ bgpLu( 1 ), ldp( 1 ), ldp( 2 ), of( TunnelType::staticTunnel, 1 ),
                                         sr( 1 ), of( TunnelType::srTeSegmentListTunnel, 1 ),
                                         of( TunnelType::ospfSrTunnel, 1 ),
                                         of( TunnelType::rsvpFrrTunnel, 1 ) } ) );
   EXPECT_EQ( w.fib( ldp( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [20 7 EL]" } ) );
   // BGP-LU carries none of its own; the LDP tunnel's lies beneath the LDP label.
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [20 7 EL 100]" } ) );
   EXPECT_EQ( w.fib( of( TunnelType::rsvpFrrTunnel, 1 ) ),
              ( Texts{ "10.1.1.2 Ethernet1 push [20 7 EL]" } ) );
   EXPECT_EQ( w.fib( rsvpLer( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [20]" } ) );
   // An empty stack gets none, and no flag.
   EXPECT_EQ( w.fib( ldp( 2 ) ), ( Texts{ "10.1.1.2 Ethernet1 push []" } ) );
   EXPECT_TRUE( traced( trace, "Not setting EL position on empty label stack for tunnel: ldp:2" ) );

   w.agent.mplsTunnelConfig->entropyLabelPushIs( false );
   w.drain();
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [20 100]" } ) );
}

TEST( TunnelFibSm, RestartDropsStaleEntriesAtOnceAndDefersTunnelsOverUnprocessedOnes ) {
   FibWorld w;
   w.agent.start();
   w.srEntry( sr( 1 ), { via( "10.1.1.2", "Ethernet1", { 16001 } ) } );
   w.srEntry( sr( 2 ), { via( "10.1.2.2", "Ethernet2", { 16002 } ) } );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100 } ) );
   w.bgpLuEntry( bgpLu( 2 ), { over( sr( 1 ) ), out( "10.3.3.3", "Ethernet3" ) }, push( { 200 } ) );
   w.drain();
   const auto encapsBefore = w.agent.tunnelFib->labelStackEncap().size();

   w.agent.stop();
   w.remove< IsisSrTunnelTable >( sr( 2 ) );
   w.srEntry( sr( 1 ), { via( "10.1.1.2", "Ethernet1", { 16011 } ) } );
   Vel::TestTraceSink trace( 8 );
   w.agent.start();
   // Gone before any review; the others stay as they were until computed.
   EXPECT_TRUE( w.fib( sr( 2 ) ).empty() );
   EXPECT_TRUE( traced( trace, " tunnel id sr:1 is not stale." ) );
   EXPECT_EQ( w.fib( sr( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001]" } ) );
   EXPECT_EQ( w.agent.tunnelFib->labelStackEncap().size(), encapsBefore - 1 );
   EXPECT_TRUE( w.sm()->tunnelFibEntryMarkedUnprocessed( sr( 1 ) ) );

   // Over the unprocessed SR tunnel alone the BGP-LU tunnel waits; with an
   // ordinary via too it is written at once with that one.
   w.sm()->updateTunnelFibEntry( bgpLu( 1 ) );
   EXPECT_TRUE( traced( trace, "      Skipping vias for tunnel sr:1 (marked unprocessed)" ) );
   EXPECT_TRUE( traced( trace, "bgpLu:1 update is being deferred." ) );
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001 100]" } ) );
   w.sm()->updateTunnelFibEntry( bgpLu( 2 ) );
   EXPECT_EQ( w.fib( bgpLu( 2 ) ), ( Texts{ "10.3.3.3 Ethernet3 push [200]" } ) );

   w.drain();
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16011 100]" } ) );
   EXPECT_EQ( w.fib( bgpLu( 2 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16011 200]",
                                            "10.3.3.3 Ethernet3 push [200]" } ) );
   EXPECT_EQ( w.sm()->tunnelFibEntryMarkedUnprocesseds(), 0u );
}

TEST( TunnelFibSm, UnflattenedOnlyBgpLuOverBgpLuIsResolved ) {
   Toggles::FeatureToggles::instance().toggleIs( "TunnelUnflatten", true );
   FibWorld w;
   w.agent.start();
   Toggles::FeatureToggles::instance().toggleIs( "TunnelUnflatten", false );
   const TunnelId segmentList = of( TunnelType::srTeSegmentListTunnel, 1 );
   w.mplsEntry< SrTeSegmentListTunnelTable >( segmentList, { via( "10.1.1.2", "Ethernet1", { 16 } ) } );
   w.ldpEntry( ldp( 1 ), { viaOver( segmentList, { 24 } ) } );
   w.bgpLuEntry( bgpLu( 1 ), { out( "10.1.1.2", "Ethernet1" ) }, push( { 100 } ) );
   w.bgpLuEntry( bgpLu( 2 ), { over( bgpLu( 1 ) ) }, push( { 200 } ) );
   w.drain();
   EXPECT_EQ( w.fib( ldp( 1 ) ), ( Texts{ "0.0.0.0 DynamicTunnel0x800000000001 push [24]" } ) );
   EXPECT_EQ( w.fib( bgpLu( 2 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [100 200]" } ) );
}

TEST( TunnelFibSm, TablesThatComeAndGoAfterTheStart ) {
   FibWorld w;
   w.agent.tableInfo->tableInfoDel( "ldp" );
   w.agent.start();
   w.ldpEntry( ldp( 1 ), { via( "10.1.1.2", "Ethernet1", { 24 } ) } );
   w.drain();
   EXPECT_TRUE( w.fib( ldp( 1 ) ).empty() );
   w.agent.tableInfo->tableInfoIs( "ldp", TunnelTableMounter::tableInfo( "ldp" ) );
   w.drain();
   EXPECT_EQ( w.fib( ldp( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [24]" } ) );
   w.agent.tableInfo->tableInfoDel( "ldp" );
   w.drain();
   EXPECT_TRUE( w.fib( ldp( 1 ) ).empty() );
   EXPECT_TRUE( w.agent.tunnelFib->labelStackEncap().empty() );

   // Interface tunnels and nexthop groups take no labels and resolve nothing.
   const TunnelId gre = of( TunnelType::staticInterfaceTunnel, 1 );
   w.agent.producerTable< GreIntfTunnelTable >()->entryIs(
      gre, GreIntfTunnelTableEntry( gre, out( "10.1.1.2", "Ethernet1" ),
                                    Tunnel::GreTunnelInfo( addr( "1.1.1.1" ), addr( "2.2.2.2" ) ) ) );
   const TunnelId group = of( TunnelType::nexthopGroupTunnel, 1 );
   w.agent.producerTable< NexthopGroupTunnelTable >()->entryIs(
      group, NexthopGroupTunnelTableEntry( group, *Korvo::IpGenPrefix::parse( "10.0.0.1/32" ), 5 ) );
   w.drain();
   EXPECT_EQ( w.fib( gre ), ( Texts{ "10.1.1.2 Ethernet1 gre:0" } ) );
   EXPECT_EQ( w.fib( group ), ( Texts{ "0.0.0.0 NexthopGroup5 invalid:0" } ) );
   EXPECT_EQ( w.agent.tunnelFib->greEncap( Fib::EncapId::encapValueIs( Fib::EncapType::greEncap, 0 ) )
                 .info()
                 .dst(),
              addr( "2.2.2.2" ) );
}

TEST( TunnelFibSm, DumpsItsCounterAndItsWriter ) {
   FibWorld w;
   w.agent.start();
   w.ldpEntry( ldp( 1 ), { via( "10.1.1.2", "Ethernet1", { 24 } ) } );
   w.drain();
   Mox::DumpContext ctx;
   w.sm()->dumpState( ctx, 2 );
   EXPECT_EQ( ctx.text().substr( 0, ctx.text().find( "TunnelFibWriter" ) ),
              "  TunnelFibSm\n    TunnelFibUpdateCounter=1\n    " );
}

} // namespace
} // namespace FibTest

namespace FibTest {
namespace {

TEST( TunnelFibSm, GracefulRestartWaitsForTheLdpTableAndTheBacklogThenCleansUp ) {
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", true );
   FibWorld w;
   w.ldpEntry( ldp( 1 ), { via( "10.1.1.2", "Ethernet1", { 24 } ) } );
   Vel::TestTraceSink trace( 8 );
   w.agent.start();
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", false );
   const auto sm = w.sm();
   ASSERT_TRUE( sm->inputProcessedStatus() );
   ASSERT_TRUE( sm->postGrCleanupTask() );
   EXPECT_EQ( sm->postGrCleanupTask()->name(), "TunnelFibSm GR Cleanup" );
   EXPECT_FALSE( sm->inputProcessedStatus()->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );

   // The backlog empties first, but LDP has not said it is complete.
   w.drain();
   EXPECT_EQ( w.fib( ldp( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [24]" } ) );
   EXPECT_FALSE( sm->inputProcessedStatus()->backlogsEmpty()() );
   EXPECT_FALSE( w.agent.tunnelFibGrStatus->tunnelFibSmBacklogEmpty()() );

   auto control = Vel::make< Mirra::CollectionControl >();
   w.agent.producerTable< LdpTunnelTable >()->controlIs( control );
   EXPECT_FALSE( sm->inputProcessedStatus()->backlogsEmpty()() );
   control->tableCompleteIs( true );
   EXPECT_TRUE( sm->inputProcessedStatus()->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );
   EXPECT_TRUE( sm->inputProcessedStatus()->backlogsEmpty()() );
   EXPECT_TRUE( w.agent.tunnelFibGrStatus->tunnelFibSmBacklogEmpty()() );
   EXPECT_EQ( w.agent.tunnelFibGrStatus->tunnelTablesProcessed(), 1u );
   EXPECT_TRUE( sm->inputProcessedSm() );
   w.drain();
   EXPECT_FALSE( sm->inputProcessedSm() );
   for ( const char * line : { "Set InputProcessedStatus::backlogsEmpty to true for TunnelFibSm",
                               "Set tunnelFibSmBacklogEmpty to true",
                               "Update counters for TunnelTablesProcessed stage for TunnelFib",
                               "Remove InputProcessedSm" } ) {
      EXPECT_TRUE( traced( trace, line ) ) << line;
   }
   EXPECT_THROW( sm->doCleanupPostGr(), Vel::AssertionError );

   // Without the toggle a restart tracks nothing.
   w.agent.restart();
   EXPECT_FALSE( w.sm()->inputProcessedStatus() );
   EXPECT_FALSE( w.sm()->postGrCleanupTask() );
   EXPECT_THROW( w.sm()->handleQuiescedNotification(), Vel::AssertionError );
}

TEST( TunnelFibSm, TheEndOfTheRestartQuiescesTablesWhoseProducerNeverSaidSo ) {
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", true );
   FibWorld w;
   w.agent.start();
   Toggles::FeatureToggles::instance().toggleIs( "MplsL3VpnSso", false );
   w.drain();
   EXPECT_FALSE( w.sm()->inputProcessedStatus()->backlogsEmpty()() );
   w.agent.grStatus->tunnelGrContext()->restartCompleteIs( true );
   EXPECT_TRUE( w.sm()->inputProcessedStatus()->backlogsEmpty()() );
   w.drain();
   EXPECT_FALSE( w.sm()->inputProcessedSm() );
}

} // namespace
} // namespace FibTest
