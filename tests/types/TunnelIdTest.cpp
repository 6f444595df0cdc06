#include <gtest/gtest.h>

#include "platform/vel/Assert.h"
#include "platform/vel/RangeException.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelEntryPref.h"
#include "types/TunnelId.h"
#include "types/TunnelTableEntry.h"

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

TEST( TunnelId, RangeLayoutAndTextForm ) {
   TunnelId top( 0x1FFFFFFFFFFFFull );
   EXPECT_EQ( top.tunnelType(), TunnelType::reservedTunnel );
   try {
      TunnelId( 0x2000000000000ull );
      FAIL();
   } catch ( const Vel::RangeException & e ) {
      EXPECT_STREQ( e.what(),
                    "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed" );
   }
   TunnelId ldp( TunnelType::ldpTunnel, 12 );
   EXPECT_EQ( ldp.value(), ( 3ull << 44 ) | 12 );
   EXPECT_EQ( ldp.stringValue(), "ldp:12" );
   EXPECT_EQ( TunnelId::parse( "ldp:12" ), ldp );
   EXPECT_EQ( TunnelId::parse( "0x30000000000c" ), ldp );
   EXPECT_EQ( TunnelId::parse( "isisFlexAlgoTunnel:1" ),
              TunnelId( TunnelType::isisFlexAlgoTunnel, 1 ) );
   EXPECT_FALSE( TunnelId::parse( "ldp:" ) );
   EXPECT_FALSE( TunnelId::parse( "nope:1" ) );
   EXPECT_FALSE( TunnelId::parse( "ldp:17592186044416" ) ); // 2^44
   EXPECT_FALSE( TunnelId::parse( "0x2000000000000" ) );
   // Ids that differ only in the type bits hash differently.
   EXPECT_NE( TunnelId( TunnelType::ldpTunnel, 1 ).hash(),
              TunnelId( TunnelType::srTunnel, 1 ).hash() );
   EXPECT_EQ( TunnelId( 0 ).hash(), 0u );
}

TEST( TunnelId, TableTypesDefaultsAndEcmp ) {
   const std::pair< TunnelType, TunnelTableIdentifier > crossed[] = {
      { TunnelType::bgpLuPushTunnel, TunnelTableIdentifier::bgpLuPushTable },
      { TunnelType::bgpLuTunnel, TunnelTableIdentifier::bgpLuTable },
      { TunnelType::srTeSegmentListTunnel, TunnelTableIdentifier::srTeSegmentListTable },
      { TunnelType::rsvpLerSubTunnel, TunnelTableIdentifier::rsvpLerSubTable },
      { TunnelType::ospfFlexAlgoTunnel, TunnelTableIdentifier::ospfFlexAlgoTable },
   };
   for ( auto [ type, table ] : crossed ) {
      EXPECT_EQ( TunnelId( type, 1 ).tableType(), table ) << stringValue( type );
   }
   for ( unsigned type : { 4u, 9u, 10u, 15u, 19u, 31u } ) {
      EXPECT_EQ( assertionText( [ & ] { TunnelId( TunnelType( type ), 1 ).tableType(); } ),
                 "false && \"No tunnel table identifier for type\"" );
   }
   EXPECT_EQ( assertionText( [] { TunnelId( TunnelType( 23 ), 1 ).tableType(); } ),
              "Unknown tunnel type used" );
   EXPECT_EQ( getDefaultPrefForType( TunnelType::staticInterfaceTunnel ), 255 );
   EXPECT_EQ( getDefaultPrefForType( TunnelType::reservedTunnel ), 255 );
   EXPECT_EQ( getDefaultPrefForType( TunnelType::ospfSrTunnel ), 60 );
   EXPECT_EQ( assertionText( [] { getDefaultPrefForType( TunnelType( 23 ) ); } ),
              "false && \"Unknown tunnel type\"" );
   EXPECT_TRUE( tunnelTypesCanFormEcmp( TunnelType::srTunnel, TunnelType::isisFlexAlgoTunnel ) );
   EXPECT_TRUE( tunnelTypesCanFormEcmp( TunnelType::isisFlexAlgoTunnel, TunnelType::srTunnel ) );
   EXPECT_FALSE( tunnelTypesCanFormEcmp( TunnelType::srTunnel, TunnelType::ospfSrTunnel ) );
   EXPECT_TRUE( tunnelTypesCanFormEcmp( TunnelType::rsvpLerTunnel, TunnelType::rsvpLerTunnel ) );
   // Exactly the types a RIB can take preferences for enter a RIB.
   int contributing = 0;
   for ( unsigned type = 0; type <= 31; ++type ) {
      contributing += isTunnelType( type ) && contributeToTunnelRib( TunnelType( type ) );
   }
   EXPECT_EQ( contributing, 9 );
   EXPECT_TRUE( contributeToTunnelRib( TunnelType::srTePolicyTunnel ) );
   EXPECT_FALSE( contributeToTunnelRib( TunnelType::tiLfaTunnel ) );
   EXPECT_TRUE( TunnelId( TunnelType::ldpTunnel, 1 ).supportsEntropyLabelPush() );
   EXPECT_FALSE( TunnelId( TunnelType::bgpLuTunnel, 1 ).supportsEntropyLabelPush() );
   // Only types whose tables follow the entropy-label setting may carry one.
   EXPECT_TRUE( TunnelId( TunnelType::rsvpFrrBackupTunnel, 1 ).supportsEntropyLabelPush() );
   for ( auto type : { TunnelType::rsvpLerTunnel, TunnelType::rsvpLerSubTunnel,
                       TunnelType::tiLfaTunnel, TunnelType::isisFlexAlgoTunnel } ) {
      EXPECT_FALSE( TunnelId( type, 1 ).supportsEntropyLabelPush() ) << type;
   }
   EXPECT_EQ( TableIdToNameMap.size(), 14u );
   EXPECT_EQ( TableIdToNameMap.at( TunnelTableIdentifier::isisFlexAlgoTable ),
              "isisFlexAlgoTunnel" );
}

TEST( TunnelTableEntry, CandidateOrder ) {
   TunnelTableEntry ldp( TunnelId( TunnelType::ldpTunnel, 9 ), 10 );
   TunnelTableEntry sr( TunnelId( TunnelType::srTunnel, 1 ), 10 );
   TunnelTableEntry sr2( TunnelId( TunnelType::srTunnel, 2 ), 10 );
   TunnelTableEntry better( TunnelId( TunnelType::bgpLuTunnel, 1 ), 5 );
   EXPECT_LT( better, ldp );   // own preference first
   EXPECT_LT( ldp, sr );       // then the type's default (55 before 65)
   EXPECT_LT( sr, sr2 );       // then the id
   TunnelTableEntry a = sr, b = sr;
   a.endpointAdd( prefix( "10.0.0.1/32" ) );
   b.endpointAdd( prefix( "10.0.0.1/32" ) );
   b.endpointAdd( prefix( "10.0.0.0/8" ) );
   EXPECT_LT( a, b );          // a shorter endpoint list that is a prefix first
   b = a;
   b.instanceIs( 1 );
   EXPECT_LT( a, b );          // the instance last
   EXPECT_FALSE( a == b );
   for ( unsigned i = 1; i < TunnelTableEntry::maxEndpoints; ++i ) {
      a.endpointAdd( prefix( "10.0.0.2/32" ) );
   }
   EXPECT_THROW( a.endpointAdd( prefix( "10.0.0.3/32" ) ), Vel::RangeException );
}

TEST( ColoredTunnelEndpoint, OrdersByPrefixThenColor ) {
   ColoredTunnelEndpoint plain( prefix( "10.0.0.1/32" ) );
   ColoredTunnelEndpoint red( prefix( "10.0.0.1/32" ), 1 );
   ColoredTunnelEndpoint blue( prefix( "10.0.0.1/32" ), 2 );
   ColoredTunnelEndpoint next( prefix( "10.0.0.2/32" ) );
   EXPECT_LT( plain, red );
   EXPECT_LT( red, blue );
   EXPECT_LT( blue, next );
   EXPECT_NE( plain, ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ), 0 ) );
   EXPECT_EQ( red.stringValue(), "10.0.0.1/32 color 1" );
   EXPECT_EQ( ColoredTunnelEndpoint(), ColoredTunnelEndpoint() );
}

} // namespace
