#include <gtest/gtest.h>

#include "RibWorld.h"
#include "platform/vel/Assert.h"
#include "rib/EntryFilterUpdate.h"

using namespace RibTest;

namespace {

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId ler( std::uint64_t i ) { return TunnelId( TunnelType::rsvpLerTunnel, i ); }

using T = TunnelTableIdentifier;

std::string assertionOf( const std::function< void() > & action ) {
   try {
      action();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "";
}

TEST( PreferenceMapper, AMappedTableFollowsItsConfiguredValueAndGoneTunnelsLeaveTheFilter ) {
   RibWorld world;
   auto config = world.rib( "custom", { { T::ldpTable, {} } } );
   world.describe( T::ldpTable );
   world.publish( ldp( 1 ), Published{ .pref = 40 } );
   world.publish( ldp( 2 ), Published{ .pref = 50 } );
   world.start();
   auto filter = world.dirSm->tunnelRibSm( world.idOf( "custom" ) )->tableEntryFilter();
   auto ldpConfig = config->entry( T::ldpTable );
   ldpConfig->preferenceIs( 7 );
   EXPECT_EQ( filter->preference( ldp( 1 ) ), 40u );
   ldpConfig->prefMappingIs( 1 );
   ldpConfig->preferenceIs( 8 );
   EXPECT_EQ( filter->preference( ldp( 1 ) ), 8u );
   EXPECT_EQ( filter->preference( ldp( 2 ) ), 8u );

   // An IGP-cost mapping change leaves the filter alone.
   int changes = 0;
   auto reactor = filter->preference().react( [ & ]( const TunnelId & ) { ++changes; } );
   ldpConfig->igpCostPrefMappingIs( 1 );
   EXPECT_EQ( changes, 0 );
   // Tunnels leave the filter also when their table's configuration goes.
   config->entryDel( T::ldpTable );
   EXPECT_TRUE( filter->preference().empty() );
}

TEST( PreferenceMapper, TheApplicationRibsTakeRsvpLerTunnelsOnlyWhileEligibleForThem ) {
   RibWorld world;
   for ( const char * name :
         { TunnelRibNameIdMap::ldpTunnelingRibName, TunnelRibNameIdMap::igpShortcutRibName } ) {
      world.rib( name, { { T::rsvpLerTable, {} } } );
   }
   world.describe( T::rsvpLerTable );
   world.start();
   const Key tep( pfx( "10.0.0.1/32" ) );
   for ( bool firstFlag : { true, false } ) {
      world.publish( ler( 1 ), Published{ .igpShortcutEligible = firstFlag,
                                          .ldpTunnelingEligible = !firstFlag } );
      world.drain();
      EXPECT_EQ( world.at( TunnelRibNameIdMap::igpShortcutRibName, tep ).empty(), !firstFlag );
      EXPECT_EQ( world.at( TunnelRibNameIdMap::ldpTunnelingRibName, tep ).empty(), firstFlag );
   }
   EXPECT_FALSE( isTargetAppTunRib( 1 ) );
}

TEST( PreferenceMapper, TablesARibMayNotTakeAndUnmountedTablesAreAssertions ) {
   auto entities = tunnelTableEntitiesFactory();
   entities->tunnelTableIs( "bgpLuPush", Vel::make< BgpLuPushTunnelTable >() );
   entities->tunnelTableIs( "ldp", Vel::make< LdpTunnelTable >() );
   auto filter = tunnelTableEntryFilterFactory();
   TunnelRibProtoEntry protoEntry( T::bgpLuPushTable );
   auto configure = [ & ]( T table, const TunnelTableEntities * in ) {
      return assertionOf( [ & ] {
         handleConfigPreferences( 5, table, TunnelId(), *filter, in, &protoEntry, false );
      } );
   };
   EXPECT_EQ( configure( T::bgpLuPushTable, entities.get() ),
              "0 && \"TunnelTables not supported for tunnel rib\"" );
   EXPECT_EQ( configure( T::srTable, entities.get() ),
              "entities && entities->tunnelTableHas( tunnelType )" );
   EXPECT_EQ( configure( T::ldpTable, nullptr ), "entities && entities->tunnelTableHas( tunnelType )" );
   EXPECT_EQ( configure( T::ldpTable, entities.get() ), "" );
}

} // namespace
