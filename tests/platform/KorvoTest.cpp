#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "platform/korvo/IntfId.h"
#include "platform/korvo/IpGenPrefix.h"
#include "platform/korvo/MplsLabelOperation.h"
#include "platform/vel/Assert.h"

namespace {

using Korvo::IntfId;
using Korvo::MplsLabelAction;
using Korvo::MplsLabelOperation;
using Error = Korvo::BoundedMplsLabelStackResult::Error;

constexpr Korvo::MplsLabel EL = MplsLabelOperation::entropyLabel;

std::string assertionText( const std::function< void() > & f ) {
   try {
      f();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "no assertion";
}

TEST( KorvoIntfId, KindsRoundTripThroughTheirText ) {
   // The tunnel id is kept raw: a value no tunnel type allows still survives.
   const std::uint64_t bigTunnel = 0xFFFFFFFFFFFFFFFFull;
   for ( const IntfId & intf :
         { IntfId(), IntfId::ordinary( "Ethernet1/2.100" ), IntfId::dynamicTunnel( 0x300000000001 ),
           IntfId::dynamicTunnel( bigTunnel ), IntfId::nexthopGroup( 42 ) } ) {
      EXPECT_EQ( IntfId::parse( intf.stringValue() ), intf ) << intf;
   }
   EXPECT_EQ( IntfId::dynamicTunnel( 0x300000000001 ).stringValue(), "DynamicTunnel0x300000000001" );
   EXPECT_EQ( IntfId::nexthopGroup( 42 ).stringValue(), "NexthopGroup42" );
   EXPECT_EQ( IntfId().stringValue(), "" );
   EXPECT_EQ( IntfId::parse( "DynamicTunnel17" ), IntfId::dynamicTunnel( 17 ) );

   IntfId dyn = Korvo::DynamicTunnelIntfId::tunnelIdToIntfId( bigTunnel );
   EXPECT_TRUE( Korvo::DynamicTunnelIntfId::isDynamicTunnelIntfId( dyn ) );
   EXPECT_EQ( Korvo::DynamicTunnelIntfId::tunnelId( dyn ), bigTunnel );
   IntfId nhg = Korvo::NexthopGroupIntfId::nexthopGroupIdToIntfId( 7 );
   EXPECT_TRUE( Korvo::NexthopGroupIntfId::isNexthopGroupIntfId( nhg ) );
   EXPECT_FALSE( Korvo::DynamicTunnelIntfId::isDynamicTunnelIntfId( nhg ) );
   EXPECT_EQ( Korvo::NexthopGroupIntfId::nexthopGroupId( nhg ), 7u );

   for ( const char * bad : { "Ethernet 1", "1Ethernet", "DynamicTunnel", "DynamicTunnel0x",
                              "DynamicTunnel12a", "NexthopGroup-1", "Eth'1", "Vlan,1" } ) {
      EXPECT_FALSE( IntfId::parse( bad ) ) << bad;
   }
   EXPECT_EQ( assertionText( [] { IntfId::ordinary( "NexthopGroup5" ); } ),
              "Not an ordinary interface name" );
   EXPECT_EQ( assertionText( [] { IntfId::ordinary( "Ethernet1" ).tunnelIdValue(); } ),
              "Not a dynamic tunnel interface" );
   EXPECT_EQ( assertionText( [] { IntfId::dynamicTunnel( 1 ).nexthopGroupId(); } ),
              "Not a nexthop-group interface" );
}

TEST( KorvoIntfId, KindsWithTheSameNumberStayDistinctAsKeys ) {
   std::unordered_set< IntfId > hashed{ IntfId::dynamicTunnel( 5 ), IntfId::nexthopGroup( 5 ),
                                        IntfId(), IntfId::ordinary( "Ethernet5" ) };
   std::map< IntfId, int > ordered;
   for ( const IntfId & intf : hashed ) {
      ordered[ intf ] = 0;
   }
   EXPECT_EQ( hashed.size(), 4u );
   EXPECT_EQ( ordered.size(), 4u );
   EXPECT_TRUE( hashed.count( IntfId::nexthopGroup( 5 ) ) );
   EXPECT_NE( IntfId::dynamicTunnel( 5 ), IntfId::nexthopGroup( 5 ) );
   EXPECT_TRUE( IntfId().empty() );

   // Names order as text, whichever was seen first; a name made again, by
   // any route, is the same id.
   const IntfId later = IntfId::ordinary( "Ethernet9" );
   const IntfId earlier = IntfId::ordinary( "Ethernet10" );
   EXPECT_LT( earlier, later );
   EXPECT_EQ( IntfId::parse( "Ethernet9" ), later );
   EXPECT_EQ( &IntfId::ordinary( std::string( "Ethernet" ) + "9" ).name(), &later.name() );
   EXPECT_EQ( IntfId().name(), "" );
   // Numbers order as numbers across the 32-bit halves they are kept in.
   EXPECT_LT( IntfId::dynamicTunnel( 0xFFFFFFFFu ), IntfId::dynamicTunnel( 0x100000000u ) );
   EXPECT_LT( IntfId::nexthopGroup( 0x100000000u ), IntfId::nexthopGroup( 0x100000001u ) );
}

// The empty address has a text of its own, so that it and 0.0.0.0 both read
// back; a prefix always has an address.
TEST( KorvoIpGenAddr, EmptyAddressReadsBackApartFromTheZeroAddress ) {
   using Korvo::IpGenAddr;
   for ( const char * text : { "", "0.0.0.0", "10.0.0.1", "::", "2001:db8::1" } ) {
      auto address = IpGenAddr::parse( text );
      ASSERT_TRUE( address ) << text;
      EXPECT_EQ( address->stringValue(), text );
   }
   EXPECT_EQ( IpGenAddr::parse( "" ), IpGenAddr() );
   EXPECT_NE( IpGenAddr::parse( "0.0.0.0" ), IpGenAddr() );
   EXPECT_FALSE( IpGenAddr::parse( "10.0.0" ) );
   EXPECT_FALSE( Korvo::IpGenPrefix::parse( "" ) );
   EXPECT_FALSE( Korvo::IpGenPrefix::parse( "/0" ) );
   EXPECT_TRUE( Korvo::IpGenPrefix::parse( "0.0.0.0/0" ) );
}

TEST( KorvoMplsLabelOperation, TextFormRoundTripsAndRejectsWhatCannotBe ) {
   EXPECT_EQ( MplsLabelOperation().stringValue(), "push []" );
   MplsLabelOperation op( MplsLabelAction::swap, { 300, 7, EL, 16 } );
   EXPECT_EQ( op.stringValue(), "swap [300 7 EL 16]" );
   EXPECT_EQ( op.stackSize(), 4u );
   EXPECT_EQ( op.label( 0 ), 300u );
   EXPECT_TRUE( op.hasEntropyLabel() );
   for ( const char * text : { "push [100 200]", "swap [300 7 EL 16]", "pop []", "push []",
                               "push [1048575 0 1 2 3 4 5 6 7 8 9 10]" } ) {
      auto parsed = MplsLabelOperation::parse( text );
      ASSERT_TRUE( parsed ) << text;
      EXPECT_EQ( parsed->stringValue(), text );
   }
   EXPECT_EQ( MplsLabelOperation::parse( "  push[ 100  200 ] " ),
              MplsLabelOperation( MplsLabelAction::push, { 100, 200 } ) );
   for ( const char * bad : { "pop [5]", "push [1048576]", "push [EL]", "push [100 EL]",
                              "push [100", "push 100", "jump [1]", "push [1] x", "push [-1]",
                              "push [0 1 2 3 4 5 6 7 8 9 10 11 12]" } ) {
      EXPECT_FALSE( MplsLabelOperation::parse( bad ) ) << bad;
   }
   EXPECT_EQ( assertionText( [] { MplsLabelOperation( MplsLabelAction::pop, { 1 } ); } ),
              "A pop carries no labels" );
   EXPECT_EQ( assertionText( [] { MplsLabelOperation().labelPush( 0x100001 ); } ),
              "MPLS label out of range" );
   EXPECT_EQ( assertionText( [] { MplsLabelOperation().label( 0 ); } ),
              "Label index beyond the stack" );
}

TEST( KorvoMplsLabelOperation, ValuesCompareAndHashAsKeys ) {
   MplsLabelOperation a( MplsLabelAction::push, { 100, 200 } );
   MplsLabelOperation b;
   EXPECT_TRUE( b.labelPush( 200 ).success() );
   EXPECT_TRUE( b.labelPush( 100 ).success() );
   EXPECT_EQ( a, b );
   EXPECT_EQ( std::hash< MplsLabelOperation >{}( a ), std::hash< MplsLabelOperation >{}( b ) );
   std::unordered_set< MplsLabelOperation > hashed{
      a, b, MplsLabelOperation( MplsLabelAction::swap, { 100, 200 } ),
      MplsLabelOperation( MplsLabelAction::push, { 200, 100 } ), MplsLabelOperation() };
   std::map< MplsLabelOperation, int > ordered;
   for ( const auto & op : hashed ) {
      ordered[ op ] = 0;
   }
   EXPECT_EQ( hashed.size(), 4u );
   EXPECT_EQ( ordered.size(), 4u );
}

TEST( KorvoMplsLabelOperation, SmushPutsTheOuterLabelsOnTopOrChangesNothing ) {
   MplsLabelOperation inner( MplsLabelAction::push, { 300 } );
   EXPECT_TRUE( inner.smush( MplsLabelOperation( MplsLabelAction::push, { 100, 200 } ) ).success() );
   EXPECT_EQ( inner.stringValue(), "push [100 200 300]" );

   // Filling the stack exactly fits; one label more fails and leaves it alone.
   MplsLabelOperation full( MplsLabelAction::push, { 1, 2, 3, 4, 5, 6, 7, EL, 9, 10, 11 } );
   MplsLabelOperation before = full;
   Korvo::SmushResult result = full.smush( MplsLabelOperation( MplsLabelAction::push, { 20, 21 } ) );
   EXPECT_FALSE( result.success() );
   EXPECT_EQ( result.error(), Error::stackFull );
   EXPECT_EQ( result.stringValue(), "stackFull" );
   EXPECT_EQ( full, before );
   EXPECT_TRUE( full.smush( MplsLabelOperation( MplsLabelAction::push, { 20 } ) ).success() );
   EXPECT_EQ( full.stackSize(), MplsLabelOperation::maxStackSize );
   EXPECT_EQ( full.label( 0 ), 20u );
   EXPECT_EQ( full.labelPush( 30 ).error(), Error::stackFull );

   // Popping and then pushing swaps. An outer swap imposes its labels like a
   // push; an outer pop (implicit null) imposes none.
   MplsLabelOperation pop( MplsLabelAction::pop, {} );
   EXPECT_TRUE( pop.smush( MplsLabelOperation( MplsLabelAction::push, { 5 } ) ).success() );
   EXPECT_EQ( pop.stringValue(), "swap [5]" );
   EXPECT_TRUE( pop.smush( MplsLabelOperation( MplsLabelAction::swap, { 6 } ) ).success() );
   EXPECT_EQ( pop.stringValue(), "swap [6 5]" );
   MplsLabelOperation overImplicitNull( MplsLabelAction::push, { 100 } );
   EXPECT_TRUE( overImplicitNull.smush( MplsLabelOperation( MplsLabelAction::pop, {} ) ).success() );
   EXPECT_EQ( overImplicitNull.stringValue(), "push [100]" );
}

TEST( KorvoMplsLabelOperation, EntropyLabelGoesBeneathTheGivenNumberOfLabels ) {
   MplsLabelOperation op( MplsLabelAction::push, { 100, 200 } );
   EXPECT_FALSE( op.hasEntropyLabel() );
   EXPECT_TRUE( op.entropyLabelAndIndicatorIs( 0 ).success() );
   EXPECT_EQ( op.stringValue(), "push [100 200 7 EL]" );
   EXPECT_TRUE( op.hasEntropyLabel() );
   MplsLabelOperation onTop( MplsLabelAction::push, { 100, 200 } );
   EXPECT_TRUE( onTop.entropyLabelAndIndicatorIs( 2 ).success() );
   EXPECT_EQ( onTop.stringValue(), "push [7 EL 100 200]" );
   EXPECT_EQ( onTop.entropyLabelAndIndicatorIs( 5 ).error(), Error::positionInvalid );

   // Ten labels leave room for the pair; eleven do not, and stay as they were.
   MplsLabelOperation ten( MplsLabelAction::push, { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10 } );
   EXPECT_TRUE( ten.entropyLabelAndIndicatorIs( 1 ).success() );
   EXPECT_EQ( ten.stringValue(), "push [1 2 3 4 5 6 7 8 9 7 EL 10]" );
   MplsLabelOperation eleven( MplsLabelAction::push, { 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11 } );
   MplsLabelOperation before = eleven;
   Korvo::BoundedMplsLabelStackResult result = eleven.entropyLabelAndIndicatorIs( 0 );
   EXPECT_EQ( result.error(), Error::stackFull );
   EXPECT_EQ( eleven, before );
   EXPECT_EQ( MplsLabelOperation( MplsLabelAction::pop, {} ).entropyLabelAndIndicatorIs( 0 ).error(),
              Error::actionUnsupported );
}

// A label operation against a plain list of labels, through pushes, entropy
// label insertions and merges that carry stacks across the few labels kept in
// place and back, with copies and moves in between.
TEST( KorvoMplsLabelOperation, BehavesLikeAPlainLabelListAtEverySize ) {
   struct Model {
      MplsLabelAction action = MplsLabelAction::push;
      std::vector< Korvo::MplsLabel > labels;
   };
   std::mt19937 random( 7 );
   auto randomModel = [ & ]( std::size_t maxLabels ) {
      Model m;
      m.action = static_cast< MplsLabelAction >( random() % 3 );
      const std::size_t count = m.action == MplsLabelAction::pop ? 0 : random() % ( maxLabels + 1 );
      for ( std::size_t i = 0; i < count; ++i ) {
         m.labels.push_back( random() % 4 == 0 ? 7 + random() % 2 : random() % 0x100000 );
      }
      return m;
   };
   auto build = []( const Model & m ) {
      MplsLabelOperation op( m.action, {} );
      for ( auto label = m.labels.rbegin(); label != m.labels.rend(); ++label ) {
         EXPECT_TRUE( op.labelPush( *label ).success() );
      }
      return op;
   };
   auto expectSame = [ & ]( const MplsLabelOperation & op, const Model & m ) {
      ASSERT_EQ( op.action(), m.action );
      ASSERT_EQ( op.stackSize(), m.labels.size() );
      std::string text = m.action == MplsLabelAction::push   ? "push ["
                         : m.action == MplsLabelAction::swap ? "swap ["
                                                             : "pop [";
      for ( std::size_t i = 0; i < m.labels.size(); ++i ) {
         ASSERT_EQ( op.label( i ), m.labels[ i ] ) << i;
         text += ( i ? " " : "" ) + ( m.labels[ i ] == EL ? "EL" : std::to_string( m.labels[ i ] ) );
      }
      ASSERT_EQ( op.stringValue(), text + "]" );
      ASSERT_EQ( op.hasEntropyLabel(),
                 std::find( m.labels.begin(), m.labels.end(), EL ) != m.labels.end() );
      ASSERT_EQ( op, build( m ) );
      ASSERT_EQ( op.hash(), build( m ).hash() );
   };

   std::vector< std::pair< MplsLabelOperation, Model > > seen;
   for ( int round = 0; round < 300; ++round ) {
      Model m = randomModel( 4 );
      MplsLabelOperation op = build( m );
      for ( int step = 0; step < 8; ++step ) {
         const std::size_t size = m.labels.size();
         Error expected = Error::none;
         if ( random() % 2 ) {
            Model outer = randomModel( 6 );
            if ( size + outer.labels.size() > MplsLabelOperation::maxStackSize ) {
               expected = Error::stackFull;
            } else {
               if ( m.action == MplsLabelAction::pop && !outer.labels.empty() ) {
                  m.action = MplsLabelAction::swap;
               }
               m.labels.insert( m.labels.begin(), outer.labels.begin(), outer.labels.end() );
            }
            ASSERT_EQ( op.smush( build( outer ) ).error(), expected );
         } else {
            const std::size_t position = random() % ( size + 2 );
            if ( m.action == MplsLabelAction::pop ) {
               expected = Error::actionUnsupported;
            } else if ( position > size ) {
               expected = Error::positionInvalid;
            } else if ( size + 2 > MplsLabelOperation::maxStackSize ) {
               expected = Error::stackFull;
            } else {
               m.labels.insert( m.labels.begin() + ( size - position ), { 7, EL } );
            }
            ASSERT_EQ( op.entropyLabelAndIndicatorIs( position ).error(), expected );
         }
         expectSame( op, m );
         // A copy stands apart from its source; a move leaves the default.
         MplsLabelOperation copy = op;
         MplsLabelOperation assigned( MplsLabelAction::swap, { 1, 2, 3, 4 } );
         assigned = copy;
         if ( copy.labelPush( 9 ).success() ) {
            EXPECT_NE( copy, op );
         }
         expectSame( op, m );
         MplsLabelOperation moved = std::move( assigned );
         EXPECT_EQ( assigned, MplsLabelOperation() );
         expectSame( moved, m );
         // The text reads back unless an insertion split an indicator from
         // its entropy label.
         bool readable = true;
         for ( std::size_t i = 0; i < m.labels.size(); ++i ) {
            readable = readable && ( m.labels[ i ] != EL || ( i > 0 && m.labels[ i - 1 ] == 7 ) );
         }
         const auto parsed = MplsLabelOperation::parse( op.stringValue() );
         ASSERT_EQ( parsed.has_value(), readable ) << op;
         if ( parsed ) {
            expectSame( *parsed, m );
         }
         op = std::move( moved );
      }
      seen.emplace_back( op, m );
   }
   // The order is the action, then the stack size, then the labels.
   auto modelOrder = []( const Model & a, const Model & b ) {
      if ( a.action != b.action ) {
         return a.action <=> b.action;
      }
      if ( a.labels.size() != b.labels.size() ) {
         return a.labels.size() <=> b.labels.size();
      }
      return a.labels <=> b.labels;
   };
   for ( std::size_t i = 1; i < seen.size(); ++i ) {
      const auto & [ a, ma ] = seen[ i - 1 ];
      const auto & [ b, mb ] = seen[ i ];
      EXPECT_EQ( a <=> b, modelOrder( ma, mb ) );
      EXPECT_EQ( a == b, ma.action == mb.action && ma.labels == mb.labels );
   }
}

} // namespace
