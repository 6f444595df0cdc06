#include <gtest/gtest.h>

#include "ingest/TunnelTableEntities.h"
#include "platform/vel/Trace.h"
#include "types/CopyMetrics.h"
#include "types/EncapsulatedTableEntry.h"
#include "types/ProtocolTunnelTable.h"

using namespace Tunnel::TunnelTable;

namespace {

std::string assertionText( const std::function< void() > & f ) {
   try {
      f();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "";
}

Korvo::IpGenPrefix prefix( const char * text ) { return *Korvo::IpGenPrefix::parse( text ); }

template< class Table >
Vel::Ptr< Table > file( TunnelTableEntities & entities ) {
   auto table = Vel::make< Table >();
   entities.tunnelTableIs( std::string( Table::tableName ), table );
   return table;
}

TEST( EncapsulatedTableEntry, GetEntryReadsTheTableOfTheIdsType ) {
   auto entities = tunnelTableEntitiesFactory();
   const TunnelId ldpId( TunnelType::ldpTunnel, 1 );
   // Nothing mounted: the empty entry.
   auto empty = EncapsulatedTableEntry::getEntry( ldpId, entities );
   EXPECT_FALSE( empty );
   EXPECT_EQ( empty, EncapsulatedTableEntry( ldpId ) );

   auto ldp = file< LdpTunnelTable >( *entities );
   LdpTunnelTableEntry ldpEntry( ldpId, 40 );
   ldpEntry.endpointAdd( prefix( "10.0.0.1/32" ) );
   ldpEntry.igpCostPrefIs( 7 );
   ldp->entryIs( ldpId, ldpEntry );
   auto got = EncapsulatedTableEntry::getEntry( ldpId, entities );
   EXPECT_TRUE( got );
   EXPECT_EQ( got.ldpEntry(), ldpEntry );
   EXPECT_EQ( got.entry(), ldpEntry.entry() );
   EXPECT_EQ( got.igpCostPref(), 7u );
   // An absent id, or a corrupted table (reported), reads as empty.
   EXPECT_FALSE( EncapsulatedTableEntry::getEntry( TunnelId( TunnelType::ldpTunnel, 2 ),
                                                   entities ) );
   ldp->corruptedIs( true );
   EXPECT_FALSE( EncapsulatedTableEntry::getEntry( ldpId, entities ) );
   EXPECT_EQ( ldp->entry().corruptionReports(), 1u );

   // "ospfSr" ids read the OSPF table into the SR field.
   auto ospf = file< OspfSrTunnelTable >( *entities );
   const TunnelId ospfId( TunnelType::ospfSrTunnel, 3 );
   SrTunnelTableEntry srEntry( ospfId, 60 );
   srEntry.igpCostPrefIs( 9 );
   ospf->entryIs( ospfId, srEntry );
   got = EncapsulatedTableEntry::getEntry( ospfId, entities );
   EXPECT_EQ( got.srEntry(), srEntry );
   EXPECT_EQ( got.igpCostPref(), 9u );

   // Nexthop groups and SR-TE policies carry fixed preferences.
   auto nhg = file< NexthopGroupTunnelTable >( *entities );
   const TunnelId nhgId( TunnelType::nexthopGroupTunnel, 4 );
   nhg->entryIs( nhgId, NexthopGroupTunnelTableEntry( nhgId, prefix( "10.0.0.4/32" ), 12 ) );
   got = EncapsulatedTableEntry::getEntry( nhgId, entities );
   EXPECT_EQ( got.entry().pref(), 25 );
   EXPECT_EQ( got.entry().tunnelId(), nhgId );
   auto policy = file< SrTePolicyTunnelTable >( *entities );
   const TunnelId policyId( TunnelType::srTePolicyTunnel, 5 );
   policy->entryIs( policyId,
                    SrTePolicyTunnelTableEntry( policyId, prefix( "10.0.0.5/32" ), 100 ) );
   got = EncapsulatedTableEntry::getEntry( policyId, entities );
   EXPECT_EQ( got.entry().pref(), 255 );
   auto teps = got.tunnelEndpointSet();
   EXPECT_EQ( teps.size(), 1u );
   EXPECT_TRUE( teps.coloredTepHas( ColoredTunnelEndpoint( prefix( "10.0.0.5/32" ), 100 ) ) );

   // Types without a table read here give the empty entry even when a table
   // holds the id.
   auto tiLfa = file< TiLfaTunnelTable >( *entities );
   const TunnelId tiLfaId( TunnelType::tiLfaTunnel, 6 );
   tiLfa->entryIs( tiLfaId, TiLfaTunnelTableEntry( tiLfaId, 1 ) );
   EXPECT_FALSE( EncapsulatedTableEntry::getEntry( tiLfaId, entities ) );
}

TEST( EncapsulatedTableEntry, EndpointsIgpCostPrefAndStringForm ) {
   const TunnelId lerId( TunnelType::rsvpLerTunnel, 1 );
   RsvpLerTunnelTableEntry ler( lerId, 10 );
   ler.endpointAdd( prefix( "10.0.0.2/32" ) );
   ler.endpointAdd( prefix( "10.0.0.1/32" ) );
   ler.igpCostPrefIs( 3 );
   EncapsulatedTableEntry entry( lerId );
   entry.entryIs( ler.entry() );
   entry.rsvpLerEntryIs( ler );
   auto teps = entry.tunnelEndpointSet();
   EXPECT_EQ( teps.size(), 2u );
   EXPECT_TRUE( teps.coloredTepHas( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ) ) ) );
   EXPECT_EQ( entry.igpCostPref(), 3u );
   // With a color every endpoint is colored.
   ler.colorIs( 7 );
   entry.rsvpLerEntryIs( ler );
   teps = entry.tunnelEndpointSet();
   EXPECT_TRUE( teps.coloredTepHas( ColoredTunnelEndpoint( prefix( "10.0.0.2/32" ), 7 ) ) );
   EXPECT_FALSE( teps.coloredTepHas( ColoredTunnelEndpoint( prefix( "10.0.0.2/32" ) ) ) );

   // Only the kind of the id's type counts: a static id has no IGP-cost
   // preference even if another field holds one.
   EncapsulatedTableEntry staticEntry( TunnelId( TunnelType::staticTunnel, 1 ) );
   staticEntry.rsvpLerEntryIs( ler );
   EXPECT_EQ( staticEntry.igpCostPref(), 0u );

   const std::string text = EncapsulatedTableEntry( lerId ).stringValue();
   EXPECT_EQ( text.rfind( "Value('Tunnel::TunnelTable::EncapsulatedTableEntry', ** {'tunnelId': "
                          "rsvpLer:1, 'entry': Value('Tunnel::TunnelTable::TunnelTableEntry'",
                          0 ),
              0u );
   std::size_t at = 0;
   for ( const char * field : { "'bgpLuEntry': ", "'srEntry': ", "'ldpEntry': ",
                                "'rsvpLerEntry': ", "'staticEntry': ", "'nexthopGroupEntry': ",
                                "'srTePolicyEntry': ", "'flexAlgoEntry': " } ) {
      at = text.find( field, at );
      EXPECT_NE( at, std::string::npos ) << field;
   }
   EXPECT_EQ( text.substr( text.size() - 2 ), "})" );
}

TEST( EntryKinds, AbsentValuesAndViaLimits ) {
   // The fresh SR entry carries preference 65 and is the absent one.
   SrTunnelTableEntry sr;
   EXPECT_EQ( sr.entry().pref(), 65 );
   EXPECT_FALSE( sr );
   EXPECT_TRUE( SrTunnelTableEntry( TunnelId(), 64 ) );
   EXPECT_FALSE( EncapsulatedTableEntry() );

   StaticTunnelTableEntry entry( TunnelId( TunnelType::staticTunnel, 1 ), 15 );
   const Via hop( *Korvo::IpGenAddr::parse( "10.1.1.1" ), Korvo::IntfId::ordinary( "Ethernet1" ) );
   const MplsVia via( hop, Korvo::MplsLabelOperation( Korvo::MplsLabelAction::push, { 100 } ) );
   EXPECT_NE( via, MplsVia() );
   for ( unsigned i = 0; i < maxViasPerTableEntry; ++i ) {
      entry.mplsViaAdd( via );
   }
   try {
      entry.mplsViaAdd( via );
      FAIL();
   } catch ( const Vel::RangeException & e ) {
      EXPECT_STREQ( e.what(), "ViaIndex::value < ViaIndex::min or > ViaIndex::max not allowed" );
   }
   EXPECT_EQ( entry.mplsVia().size(), 600u );
   EXPECT_EQ( entry.mplsVia()[ 599 ], via );
   EXPECT_THROW( ViaIndex( 600 ), Vel::RangeException );
}

struct CopyMetricsFixture : ::testing::Test {
   CopyMetricsFixture() {
      for ( auto table : { TunnelTableIdentifier::srTable, TunnelTableIdentifier::bgpLuTable,
                           TunnelTableIdentifier::nexthopGroupTable,
                           TunnelTableIdentifier::staticTable } ) {
         config->entryIs( table );
      }
   }
   Vel::Ptr< TunnelRibConfig > config = tunnelRibConfigFactory( "system" );
   TunnelRibEntry ribEntry;
};

TEST_F( CopyMetricsFixture, IgpMetricsAreCopiedButNotP ) {
   const TunnelId srId( TunnelType::srTunnel, 1 );
   SrTunnelTableEntry sr( srId, 65 );
   sr.mIs( 10 );
   sr.m2Is( 20 );
   sr.pIs( 30 );
   sr.p2Is( 40 );
   sr.igpCostPrefIs( 5 );
   EncapsulatedTableEntry entry( srId );
   entry.srEntryIs( sr );
   Vel::TestTraceSink trace( 8 );
   copyMetrics( srId, ribEntry, entry, *config );
   EXPECT_EQ( ribEntry.m(), 10u );
   EXPECT_EQ( ribEntry.m2(), 20u );
   EXPECT_EQ( ribEntry.p2(), 40u );
   EXPECT_EQ( ribEntry.igpCostPref(), 5u );
   EXPECT_TRUE( trace.contains(
      "void Tunnel::TunnelTable::copyMetrics(const Tunnel::TunnelTable::TunnelId&, "
      "Tunnel::TunnelTable::TunnelRibEntry&, const Tunnel::TunnelTable::IgpTunnelTableEntryBase&)"
      " updating id: sr:1, m: 10, m2: 20, p: 30, p2: 40" ) );
   EXPECT_TRUE( trace.contains( " id: sr:1" ) );
}

TEST_F( CopyMetricsFixture, ByKind ) {
   const TunnelId luId( TunnelType::bgpLuTunnel, 1 );
   BgpLuTunnelTableEntry lu( luId, 85 );
   lu.mIs( 1 );
   lu.metricTypeIs( 2 );
   lu.m2Is( 3 );
   lu.p2Is( 4 );
   lu.igpCostPrefIs( 6 );
   EncapsulatedTableEntry entry( luId );
   entry.bgpLuEntryIs( lu );
   const char * notContributing = "!!ent && ent.contribution() == contributing()";
   EXPECT_EQ( assertionText( [ & ] { copyMetrics( luId, ribEntry, entry, *config ); } ),
              notContributing );
   EXPECT_EQ( assertionText( [ & ] {
                 copyMetrics( luId, ribEntry, EncapsulatedTableEntry( luId ), *config );
              } ),
              notContributing );
   lu.contributionIs( BgpLuContribution::contributing );
   entry.bgpLuEntryIs( lu );
   Vel::TestTraceSink trace( 8 );
   copyMetrics( luId, ribEntry, entry, *config );
   EXPECT_EQ( ribEntry.m(), 1u );
   EXPECT_EQ( ribEntry.metricType(), 2u );
   EXPECT_EQ( ribEntry.m2(), 3u );
   EXPECT_EQ( ribEntry.p2(), 4u );
   EXPECT_EQ( ribEntry.igpCostPref(), 6u );
   EXPECT_TRUE( trace.contains( " updating id: bgpLu:1, m: 1, mt: 2, m2: 3, p2: 4" ) );

   // Nexthop groups and policies give m only; other kinds nothing but the
   // IGP-cost preference.
   TunnelRibEntry nhgRib;
   const TunnelId nhgId( TunnelType::nexthopGroupTunnel, 1 );
   NexthopGroupTunnelTableEntry nhg( nhgId, prefix( "10.0.0.1/32" ), 3 );
   nhg.metricIs( 77 );
   nhg.igpCostPrefIs( 8 );
   EncapsulatedTableEntry nhgEntry( nhgId );
   nhgEntry.nexthopGroupEntryIs( nhg );
   copyMetrics( nhgId, nhgRib, nhgEntry, *config );
   EXPECT_EQ( nhgRib.m(), 77u );
   EXPECT_EQ( nhgRib.m2(), 0u );
   EXPECT_EQ( nhgRib.igpCostPref(), 8u );
   // The RIB's configuration may map the IGP-cost preference.
   config->entry( TunnelTableIdentifier::nexthopGroupTable )->igpCostPrefMappingIs( 1 );
   config->entry( TunnelTableIdentifier::nexthopGroupTable )->igpCostPrefIs( 2 );
   copyMetrics( nhgId, nhgRib, nhgEntry, *config );
   EXPECT_EQ( nhgRib.igpCostPref(), 2u );

   TunnelRibEntry staticRib;
   staticRib.mIs( 9 );
   staticRib.igpCostPrefIs( 9 );
   copyMetrics( TunnelId( TunnelType::staticTunnel, 1 ), staticRib,
                EncapsulatedTableEntry( TunnelId( TunnelType::staticTunnel, 1 ) ), *config );
   EXPECT_EQ( staticRib.m(), 9u );
   EXPECT_EQ( staticRib.igpCostPref(), 0u );
}

} // namespace
