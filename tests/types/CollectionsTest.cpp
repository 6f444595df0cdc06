#include <gtest/gtest.h>

#include <vector>

#include "types/ColoredTunnelEndpointSet.h"
#include "types/InternalTunnelRib.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelIdCollByTunnelId.h"
#include "types/TunnelIdToTepEntrySet.h"
#include "types/TunnelTableOrderedEntry.h"

using namespace Tunnel::TunnelTable;

namespace {

Korvo::IpGenPrefix prefix( const char * text ) { return *Korvo::IpGenPrefix::parse( text ); }

TEST( TunnelIdColl, ReactorToldEachChangedKey ) {
   auto coll = tunnelIdCollFactory();
   std::vector< TunnelId > told;
   auto reactor = coll->entry().react( [ & ]( TunnelId id ) { told.push_back( id ); } );
   const TunnelId a( TunnelType::ldpTunnel, 1 ), b( TunnelType::srTunnel, 2 );
   coll->entryIs( a, true );
   coll->entryIs( b, false );
   EXPECT_TRUE( coll->entryHas( b ) );
   EXPECT_FALSE( coll->entry( b ) );
   coll->entryDel( TunnelId( TunnelType::ldpTunnel, 3 ) ); // absent: no change, no news
   coll->entryIs( a, true );                                // the same value: no news
   EXPECT_EQ( coll->size(), 2u );
   EXPECT_EQ( told, ( std::vector{ a, b } ) );
   coll->entryIs( b, true );
   EXPECT_EQ( told, ( std::vector{ a, b, b } ) );

   TunnelIdCollByTunnelId byId( a );
   byId.entryIs( b, true );
   EXPECT_EQ( byId.tunnelId(), a );
   EXPECT_TRUE( byId.entryHas( b ) );
}

TEST( TunnelIdToTepEntrySet, TepSetMadeOnceUntilDropped ) {
   TunnelIdToTepEntrySet entry;
   EXPECT_FALSE( entry.tepSet() );
   auto & set = entry.tepSetIs();
   set.coloredTepIs( ColoredTunnelEndpoint( prefix( "10.0.0.2/32" ) ) );
   set.coloredTepIs( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ), 3 ) );
   set.coloredTepIs( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ) ) );
   set.coloredTepIs( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ) ) );
   EXPECT_EQ( entry.tepSetIs().size(), 3u );
   EXPECT_EQ( set.coloredTep().begin()->first, ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ) ) );
   set.coloredTepDel( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ), 3 ) );
   EXPECT_FALSE( set.coloredTepHas( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ), 3 ) ) );
   EXPECT_EQ( entry.tepSet()->size(), 2u );
   entry.tepSetDel();
   EXPECT_FALSE( entry.tepSet() );
   EXPECT_TRUE( entry.tepSetIs().empty() );
}

TEST( ProtocolTunnelRibCollection, WrapperPerTypeKeptWhenAskedAgain ) {
   auto coll = protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
   EXPECT_EQ( coll->name(), "protocolTunnelRibs" );
   int told = 0;
   auto reactor = coll->protocolTunnelRib().react( [ & ]( TunnelType ) { ++told; } );
   EXPECT_FALSE( coll->protocolTunnelRib( TunnelType::ldpTunnel ) );
   auto wrapper = coll->protocolTunnelRibIs( TunnelType::ldpTunnel );
   EXPECT_EQ( wrapper->tunnelType(), TunnelType::ldpTunnel );
   EXPECT_FALSE( wrapper->tunnelRib() );
   auto rib = tunnelRibFactory();
   wrapper->tunnelRibIs( rib );
   EXPECT_EQ( coll->protocolTunnelRibIs( TunnelType::ldpTunnel ), wrapper );
   EXPECT_EQ( wrapper->tunnelRib(), rib );
   EXPECT_EQ( told, 1 );
}

TEST( TunnelTableOrderedEntry, BestCandidateFirst ) {
   const ColoredTunnelEndpoint tep( prefix( "10.0.0.1/32" ) );
   InternalTunnelRib rib;
   EXPECT_FALSE( rib.entry( tep ) );
   auto * candidates = &rib.entryIs( tep );
   EXPECT_EQ( &rib.entryIs( tep ), candidates );
   EXPECT_EQ( rib.entry( tep ), candidates );

   const TunnelTableEntry sr2( TunnelId( TunnelType::srTunnel, 2 ), 10 );
   const TunnelTableEntry sr1( TunnelId( TunnelType::srTunnel, 1 ), 10 );
   const TunnelTableEntry ldp( TunnelId( TunnelType::ldpTunnel, 9 ), 10 );
   const TunnelTableEntry worse( TunnelId( TunnelType::staticTunnel, 1 ), 11 );
   for ( const auto & e : { worse, sr2, sr1, ldp } ) {
      candidates->entryIs( e, true );
   }
   std::vector< TunnelTableEntry > order;
   for ( const auto & [ e, value ] : *candidates ) {
      order.push_back( e );
   }
   EXPECT_EQ( order, ( std::vector{ ldp, sr1, sr2, worse } ) );

   candidates->entryDel( TunnelTableEntry( TunnelId( TunnelType::srTunnel, 3 ), 10 ) );
   EXPECT_EQ( candidates->size(), 4u );
   candidates->entryDel( ldp );
   EXPECT_EQ( candidates->begin()->first, sr1 );
   EXPECT_EQ( candidates->size(), 3u );

   rib.entryDel( tep );
   EXPECT_FALSE( rib.entryHas( tep ) );
   EXPECT_TRUE( rib.empty() );
}

} // namespace
