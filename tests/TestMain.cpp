#include <gtest/gtest.h>

#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

// Every test program reports assertions as exceptions carrying their text, so
// a test checks the exact message without a death test.
int main( int argc, char ** argv ) {
   ::testing::InitGoogleTest( &argc, argv );
   Vel::assertionHandlerIs( Vel::throwingAssertionHandler );
   return RUN_ALL_TESTS();
}
