#include <gtest/gtest.h>

#include "tests/fib/FibWorld.h"

namespace FibTest {
namespace {

TEST( TunnelFibSm, FlattensATunnelOverEveryViaOfTheLowerOne ) {
   FibWorld w;
   w.agent.start();
   w.srEntry( sr( 1 ), { MplsVia( out( "10.1.1.2", "Ethernet1" ), push( { 16001 } ) ),
                         MplsVia( out( "10.1.2.2", "Ethernet2" ), push( { 16002 } ) ) } );
   w.bgpLuEntry( bgpLu( 1 ), { over( sr( 1 ) ) }, push( { 100 } ) );
   EXPECT_TRUE( w.fib( sr( 1 ) ).empty() ); // queued, not yet computed
   w.drain();
   EXPECT_EQ( w.fib( sr( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001]",
                                         "10.1.2.2 Ethernet2 push [16002]" } ) );
   EXPECT_EQ( w.fib( bgpLu( 1 ) ), ( Texts{ "10.1.1.2 Ethernet1 push [16001 100]",
                                            "10.1.2.2 Ethernet2 push [16002 100]" } ) );
}

} // namespace
} // namespace FibTest
