#include <gtest/gtest.h>

#include "RibHarness.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"
#include "rib/EntryFilterUpdate.h"
#include "types/IgpCostPref.h"

using namespace RibTest;

namespace {

TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
TunnelId bgpLu( std::uint64_t i ) { return TunnelId( TunnelType::bgpLuTunnel, i ); }
TunnelId rsvpLer( std::uint64_t i ) { return TunnelId( TunnelType::rsvpLerTunnel, i ); }
TunnelId nhg( std::uint64_t i ) { return TunnelId( TunnelType::nexthopGroupTunnel, i ); }
TunnelId policy( std::uint64_t i ) { return TunnelId( TunnelType::srTePolicyTunnel, i ); }

std::string assertionOf( const std::function< void() > & action ) {
   try {
      action();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "";
}

TEST( PreferenceMapper, TablesGiveTheirOwnPreferenceUntilTheConfigurationMapsIt ) {
   RibHarness h;
   auto ldpTable = h.table< LdpTunnelTable >();
   ldpTable->entryIs( ldp( 1 ), mplsEntry< LdpTunnelTableEntry >( ldp( 1 ), 40, { "10.0.0.1/32" } ) );
   ldpTable->entryIs( ldp( 2 ), mplsEntry< LdpTunnelTableEntry >( ldp( 2 ), 50, { "10.0.0.1/32" } ) );
   h.table< NexthopGroupTunnelTable >()->entryIs(
      nhg( 1 ), NexthopGroupTunnelTableEntry( nhg( 1 ), pfx( "10.0.0.9/32" ), 4 ) );
   h.table< SrTePolicyTunnelTable >()->entryIs(
      policy( 1 ), SrTePolicyTunnelTableEntry( policy( 1 ), pfx( "10.0.0.9/32" ), 4 ) );
   h.start();
   EXPECT_EQ( h.filter->preference( ldp( 1 ) ), 40u );
   EXPECT_EQ( h.filter->preference( ldp( 2 ) ), 50u );
   EXPECT_EQ( h.filter->preference( nhg( 1 ) ), 25u );
   EXPECT_EQ( h.filter->preference( policy( 1 ) ), 255u );

   // Switching the mapping on rewrites every id of the table in one pass; a
   // new configured value while mapped does the same.
   Vel::TestTraceSink trace( 8 );
   auto ldpConfig = h.config->entry( TunnelTableIdentifier::ldpTable );
   ldpConfig->preferenceIs( 7 );
   EXPECT_EQ( h.filter->preference( ldp( 1 ) ), 40u );
   ldpConfig->prefMappingIs( 1 );
   EXPECT_TRUE( trace.contains( " updating pref for all table entries." ) );
   EXPECT_EQ( h.filter->preference( ldp( 1 ) ), 7u );
   EXPECT_EQ( h.filter->preference( ldp( 2 ) ), 7u );
   ldpConfig->preferenceIs( 8 );
   EXPECT_EQ( h.filter->preference( ldp( 2 ) ), 8u );
   ldpTable->entryIs( ldp( 3 ), mplsEntry< LdpTunnelTableEntry >( ldp( 3 ), 60, { "10.0.0.1/32" } ) );
   EXPECT_EQ( h.filter->preference( ldp( 3 ) ), 8u );
   ldpConfig->prefMappingIs( 0 );
   EXPECT_EQ( h.filter->preference( ldp( 3 ) ), 60u );

   // An IGP-cost mapping change leaves the filter alone.
   int changes = 0;
   auto reactor = h.filter->preference().react( [ & ]( const TunnelId & ) { ++changes; } );
   ldpConfig->igpCostPrefMappingIs( 1 );
   EXPECT_EQ( changes, 0 );

   // A tunnel that goes leaves the filter, also once its table is no longer
   // configured.
   ldpTable->entryDel( ldp( 3 ) );
   EXPECT_FALSE( h.filter->preferenceHas( ldp( 3 ) ) );
   h.config->entryDel( TunnelTableIdentifier::ldpTable );
   ldpTable->entryDel( ldp( 2 ) );
   EXPECT_FALSE( h.filter->preferenceHas( ldp( 2 ) ) );
   EXPECT_TRUE( h.filter->preferenceHas( ldp( 1 ) ) );
   h.entities->tunnelTableDel( "ldp" );
   EXPECT_FALSE( h.filter->preferenceHas( ldp( 1 ) ) );
}

TEST( PreferenceMapper, TheApplicationRibsTakeRsvpLerTunnelsOnlyWhileEligible ) {
   auto ler = mplsEntry< RsvpLerTunnelTableEntry >( rsvpLer( 1 ), 30, { "10.0.0.1/32" } );
   ler.igpShortcutEligibleIs( true );
   for ( std::uint32_t ribId : { 2u, 3u, 5u } ) {
      RibHarness h( ribId );
      auto table = h.table< RsvpLerTunnelTable >();
      table->entryIs( rsvpLer( 1 ), ler );
      h.start();
      h.drain();
      // RIB 3 follows the first flag, RIB 2 the second, the others take all.
      const bool first = ribId != 2;
      EXPECT_EQ( h.filter->preferenceHas( rsvpLer( 1 ) ), first ) << ribId;
      EXPECT_EQ( !h.at( tep( "10.0.0.1/32" ) ).empty(), first ) << ribId;
      auto swapped = ler;
      swapped.igpShortcutEligibleIs( false );
      swapped.ldpTunnelingEligibleIs( true );
      table->entryIs( rsvpLer( 1 ), swapped );
      h.drain();
      const bool second = ribId != 3;
      EXPECT_EQ( h.filter->preferenceHas( rsvpLer( 1 ) ), second ) << ribId;
      EXPECT_EQ( !h.at( tep( "10.0.0.1/32" ) ).empty(), second ) << ribId;
   }
   EXPECT_TRUE( isTargetAppTunRib( 2 ) );
   EXPECT_TRUE( isTargetAppTunRib( 3 ) );
   EXPECT_FALSE( isTargetAppTunRib( 1 ) );
}

TEST( PreferenceMapper, ABgpLuTunnelContributesOnlyWhileBgpSaysSo ) {
   RibHarness h;
   BgpLuTunnelTableEntry entry( bgpLu( 1 ), 30 );
   entry.endpointAdd( pfx( "10.0.0.1/32" ) );
   auto table = h.table< BgpLuTunnelTable >();
   table->entryIs( bgpLu( 1 ), entry );
   h.start();
   h.drain();
   EXPECT_TRUE( h.filter->preferenceHas( bgpLu( 1 ) ) );
   EXPECT_FALSE( doesEntryContribute(
      *h.filter, EncapsulatedTableEntry::getEntry( bgpLu( 1 ), h.entities ) ) );
   EXPECT_TRUE( h.at( tep( "10.0.0.1/32" ) ).empty() );
   entry.contributionIs( BgpLuContribution::contributing );
   table->entryIs( bgpLu( 1 ), entry );
   h.drain();
   EXPECT_EQ( h.idsAt( tep( "10.0.0.1/32" ) ), std::vector< TunnelId >{ bgpLu( 1 ) } );
}

TEST( PreferenceMapper, TablesARibMayNotTakeAndUnmountedTablesAreAssertions ) {
   RibHarness h;
   h.table< BgpLuPushTunnelTable >();
   h.table< LdpTunnelTable >();
   auto filter = tunnelTableEntryFilterFactory();
   TunnelRibProtoEntry protoEntry( TunnelTableIdentifier::bgpLuPushTable );
   auto configure = [ & ]( TunnelTableIdentifier table, const TunnelTableEntities * entities ) {
      return assertionOf( [ & ] {
         handleConfigPreferences( 5, table, TunnelId(), *filter, entities, &protoEntry, false );
      } );
   };
   EXPECT_EQ( configure( TunnelTableIdentifier::bgpLuPushTable, h.entities.get() ),
              "0 && \"TunnelTables not supported for tunnel rib\"" );
   EXPECT_EQ( configure( TunnelTableIdentifier::srTable, h.entities.get() ),
              "entities && entities->tunnelTableHas( tunnelType )" );
   EXPECT_EQ( configure( TunnelTableIdentifier::ldpTable, nullptr ),
              "entities && entities->tunnelTableHas( tunnelType )" );
   EXPECT_EQ( configure( TunnelTableIdentifier::ldpTable, h.entities.get() ), "" );
}

TEST( PreferenceMapper, TheIgpCostPreferenceFollowsTheTablesMapping ) {
   auto config = tunnelRibConfigFactory( "rib" );
   auto ldpConfig = config->entryIs( TunnelTableIdentifier::ldpTable );
   EncapsulatedTableEntry entry( ldp( 1 ) );
   LdpTunnelTableEntry ldpEntry( ldp( 1 ), 10 );
   ldpEntry.igpCostPrefIs( 17 );
   entry.ldpEntryIs( ldpEntry );
   EXPECT_EQ( getIgpCostPref( ldp( 1 ), entry, *config ), 17u );
   ldpConfig->igpCostPrefIs( 4 );
   ldpConfig->igpCostPrefMappingIs( 2 );
   EXPECT_EQ( getIgpCostPref( ldp( 1 ), entry, *config ), 17u ) << "only mapping 1 maps";
   ldpConfig->igpCostPrefMappingIs( 1 );
   EXPECT_EQ( getIgpCostPref( ldp( 1 ), entry, *config ), 4u );
   EXPECT_NE( assertionOf( [ & ] { getIgpCostPref( nhg( 1 ), entry, *config ); } ), "" );
}

} // namespace
