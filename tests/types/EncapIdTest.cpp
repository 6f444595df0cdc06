#include <gtest/gtest.h>

#include <string>

#include "types/EncapId.h"

using Tunnel::TunnelFib::EncapId;
using Tunnel::TunnelFib::EncapType;

namespace {

TEST( EncapId, TypeAndIndexBitsTextAndParse ) {
   const EncapId mpls = EncapId::encapValueIs( EncapType::mplsLabelStackEncap, 0 );
   EXPECT_EQ( mpls.value(), 0x40000000u );
   EXPECT_EQ( mpls.stringValue(), "mpls:0" );
   EXPECT_EQ( EncapId::encapValueIs( EncapType::greEncap, 5 ).stringValue(), "gre:5" );
   EXPECT_EQ( EncapId::encapValueIs( EncapType::ipsecVtiEncap, 1 ).stringValue(), "ipsecVti:1" );
   EXPECT_EQ( EncapId::encapValueIs( EncapType::ipsecGreEncap, 2 ).stringValue(), "ipsecGre:2" );
   EXPECT_EQ( EncapId().stringValue(), "invalid:0" );
   EXPECT_TRUE( EncapId().isNull() );
   EXPECT_FALSE( EncapId::encapValueIs( EncapType::invalidEncap, 3 ).isNull() );

   // An index past its 28 bits folds back to the bottom of the type's range.
   const EncapId top = EncapId::encapValueIs( EncapType::greEncap, EncapId::indexMask );
   EXPECT_EQ( top.value(), 0x1FFFFFFFu );
   EXPECT_EQ( EncapId::encapValueIs( EncapType::greEncap, EncapId::indexMask + 1 ),
              EncapId::encapValueIs( EncapType::greEncap, 0 ) );
   // Ids order by value: by type, then by index.
   EXPECT_LT( top, mpls );
   EXPECT_LT( EncapId::encapValueIs( EncapType::greEncap, 0 ), top );

   for ( EncapId id : { EncapId(), mpls, top, EncapId( 0x50000007u ), EncapId( 0xF0000001u ) } ) {
      EXPECT_EQ( EncapId::parse( id.stringValue() ), id ) << id;
   }
   EXPECT_EQ( EncapId( 0x60000003u ).stringValue(), "type6:3" );
   for ( const char * bad : { "", "mpls", "mpls:", "mpls:x", "mpls:-1", "mpls:1 ", "vxlan:1",
                              "mpls:268435456", "type16:0", "type:0", ":0" } ) {
      EXPECT_FALSE( EncapId::parse( bad ) ) << bad;
   }
   EXPECT_EQ( Tunnel::TunnelFib::encapTypeFromString( "reserved" ), EncapType::reservedEncap );
   EXPECT_EQ( Tunnel::TunnelFib::encapTypeFromString( "type200" ), EncapType( 200 ) );
   EXPECT_FALSE( Tunnel::TunnelFib::encapTypeFromString( "type256" ) );
}

} // namespace
