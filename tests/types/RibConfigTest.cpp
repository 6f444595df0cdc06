#include <gtest/gtest.h>

#include <vector>

#include "types/TunnelRibConfigDir.h"
#include "types/TunnelRibNameIdMap.h"

using namespace Tunnel::TunnelTable;

namespace {

TEST( TunnelRibNameIdMap, WellKnownNamesKeepTheirIdsOthersReuseTheLowestFree ) {
   TunnelRibNameIdMap map;
   EXPECT_EQ( map.tunnelRibNameIs( "blue" ), TunnelRibId( 4 ) );
   EXPECT_EQ( map.tunnelRibNameIs( TunnelRibNameIdMap::systemColoredTunnelRibName ),
              TunnelRibId( 1 ) );
   EXPECT_TRUE( map.tunnelRibNameIs( TunnelRibNameIdMap::systemColoredTunnelRibName )
                   .isSystemColoredRibId() );
   EXPECT_EQ( map.tunnelRibNameIs( TunnelRibNameIdMap::systemTunnelRibName ), TunnelRibId( 0 ) );
   EXPECT_EQ( map.tunnelRibNameIs( TunnelRibNameIdMap::ldpTunnelingRibName ), TunnelRibId( 2 ) );
   EXPECT_EQ( map.tunnelRibNameIs( TunnelRibNameIdMap::igpShortcutRibName ), TunnelRibId( 3 ) );
   EXPECT_EQ( map.tunnelRibNameIs( "green" ), TunnelRibId( 5 ) );
   EXPECT_EQ( map.tunnelRibNameIs( "blue" ), TunnelRibId( 4 ) );
   EXPECT_EQ( map.tunnelRibNameDel( "blue" ), TunnelRibId( 4 ) );
   EXPECT_FALSE( map.tunnelRibNameHas( "blue" ) );
   EXPECT_EQ( map.tunnelRibNameIs( "red" ), TunnelRibId( 4 ) );
   EXPECT_EQ( map.size(), 6u );
   // Released ids come back lowest first, before any new one.
   EXPECT_EQ( map.tunnelRibNameDel( "green" ), TunnelRibId( 5 ) );
   EXPECT_EQ( map.tunnelRibNameDel( "red" ), TunnelRibId( 4 ) );
   EXPECT_EQ( map.tunnelRibNameIs( "cyan" ), TunnelRibId( 4 ) );
   EXPECT_EQ( map.tunnelRibNameIs( "green" ), TunnelRibId( 5 ) );
   EXPECT_EQ( map.tunnelRibNameIs( "red" ), TunnelRibId( 6 ) );
}

TEST( TunnelRibConfig, EntriesNotifyPerTableAndEachSettingIsWatchable ) {
   TunnelRibConfigDir dir;
   std::vector< Vel::Name > dirChanges;
   auto dirReactor = dir.tunnelRibConfig().react(
      [ & ]( const Vel::Name & name ) { dirChanges.push_back( name ); } );
   auto config = dir.tunnelRibConfigIs( "system-tunnel-rib" );
   std::vector< TunnelTableIdentifier > tableChanges;
   auto tableReactor = config->entry().react(
      [ & ]( const TunnelTableIdentifier & id ) { tableChanges.push_back( id ); } );
   auto ldp = config->entryIs( TunnelTableIdentifier::ldpTable );
   EXPECT_EQ( config->entryIs( TunnelTableIdentifier::ldpTable ), ldp ); // no second add
   int prefMappingChanges = 0;
   auto prefReactor = ldp->prefMapping().react( [ & ] { ++prefMappingChanges; } );
   ldp->preferenceIs( 20 );
   ldp->prefMappingIs( 1 );
   ldp->prefMappingIs( 1 );
   config->entryDel( TunnelTableIdentifier::srTable ); // absent: no notification
   config->entryDel( TunnelTableIdentifier::ldpTable );
   EXPECT_EQ( prefMappingChanges, 1 );
   EXPECT_EQ( tableChanges, ( std::vector< TunnelTableIdentifier >{
                               TunnelTableIdentifier::ldpTable, TunnelTableIdentifier::ldpTable } ) );
   dir.tunnelRibConfigIs( "system-tunnel-rib" ); // replacing notifies again
   dir.tunnelRibConfigDel( "system-tunnel-rib" );
   EXPECT_EQ( dirChanges, ( std::vector< Vel::Name >{ "system-tunnel-rib", "system-tunnel-rib",
                                                      "system-tunnel-rib" } ) );
}

} // namespace
