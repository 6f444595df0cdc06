#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/vel/Assert.h"
#include "platform/vel/Attribute.h"
#include "platform/vel/Clock.h"
#include "platform/vel/Collection.h"
#include "platform/vel/IndexedMap.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/RangeException.h"
#include "platform/vel/Trace.h"

namespace {

struct Counted : Vel::PtrInterface {
   explicit Counted( int & deaths ) : deaths_( deaths ) {}
   ~Counted() override { ++deaths_; }
   int & deaths_;
};

TEST( VelPtr, CountsReferencesAndConvertsToConst ) {
   int deaths = 0;
   {
      Vel::Ptr< Counted > a = Vel::make< Counted >( deaths );
      Vel::PtrConst< Counted > b = a;
      EXPECT_EQ( a->refCount(), 2u );
      a.reset();
      EXPECT_EQ( deaths, 0 );
   }
   EXPECT_EQ( deaths, 1 );
}

TEST( VelSignal, DeliversInOrderAndToleratesChangesDuringDelivery ) {
   Vel::Attribute< int > attr;
   std::vector< std::string > calls;
   Vel::Reactor second;
   Vel::Reactor late;
   Vel::Reactor first = attr.react( [ & ] {
      calls.push_back( "first" );
      // Removing a later reactor and adding a new one during the delivery:
      // the removed one is not called, the new one misses this delivery.
      second.disconnect();
      late = attr.react( [ & ] { calls.push_back( "late" ); } );
   } );
   second = attr.react( [ & ] { calls.push_back( "second" ); } );
   attr.set( 1 );
   EXPECT_EQ( calls, ( std::vector< std::string >{ "first" } ) );
   calls.clear();
   first.zombieIs();
   attr.set( 2 );
   attr.set( 2 ); // an unchanged value does not notify
   EXPECT_EQ( calls, ( std::vector< std::string >{ "late" } ) );
}

TEST( VelCollection, NotifiesKeysAndWalksWhileDeleting ) {
   Vel::OrderedCollection< int, std::string > coll;
   std::vector< int > notified;
   auto r = coll.react( [ & ]( const int & k ) { notified.push_back( k ); } );
   coll.set( 1, "a" );
   coll.set( 2, "b" );
   coll.set( 3, "c" );
   EXPECT_FALSE( coll.del( 7 ) );
   EXPECT_EQ( coll.get( 7 ), "" );
   std::vector< int > visited;
   coll.forEachKey( [ & ]( int k ) {
      visited.push_back( k );
      coll.del( k );
      coll.del( 3 );
   } );
   EXPECT_EQ( visited, ( std::vector< int >{ 1, 2 } ) );
   EXPECT_EQ( notified, ( std::vector< int >{ 1, 2, 3, 1, 3, 2 } ) );

   Vel::HashCollection< int, int > hashed;
   for ( int i = 0; i < 10; ++i ) {
      hashed.set( i, i );
   }
   int walked = 0;
   hashed.forEachKey( [ & ]( int k ) {
      ++walked;
      hashed.del( k );
   } );
   EXPECT_EQ( walked, 10 );
   EXPECT_TRUE( hashed.empty() );

   // Over an indexed map, a step that writes no key goes on from its
   // iterator; one that inserts or erases finds its place again.
   struct WordHash {
      std::uint64_t operator()( int k ) const noexcept { return std::uint64_t( k ); }
   };
   Vel::Collection< int, int, Vel::IndexedMap< int, int, std::less< int >, WordHash > > indexed;
   for ( int i = 0; i < 100; i += 2 ) {
      indexed.set( i, i );
   }
   std::vector< int > seen;
   indexed.forEachKey( [ & ]( int k ) {
      seen.push_back( k );
      indexed.set( k, -k );
      if ( k == 10 ) {
         indexed.set( 11, 11 );
         indexed.set( 5, 5 );
         indexed.del( 12 );
      }
      if ( k == 20 ) {
         indexed.del( 20 );
         // The walk's own key, looked up once gone, and another's.
         EXPECT_FALSE( indexed.has( 20 ) );
         EXPECT_EQ( indexed.get( 22 ), 22 );
      }
      EXPECT_EQ( indexed.has( k ), k != 20 );
   } );
   std::vector< int > expected;
   for ( int i = 0; i < 100; i += 2 ) {
      if ( i != 12 ) {
         expected.push_back( i );
      }
      if ( i == 10 ) {
         expected.push_back( 11 );
      }
   }
   EXPECT_EQ( seen, expected );
   EXPECT_FALSE( indexed.has( 20 ) );
   EXPECT_EQ( indexed.get( 5 ), 5 );
   EXPECT_EQ( indexed.get( 98 ), -98 );
}

TEST( VelAssert, HandlerGetsTheFixedText ) {
   try {
      VEL_ASSERT( 1 == 2, "the fixed text" );
      FAIL();
   } catch ( const Vel::AssertionError & e ) {
      EXPECT_STREQ( e.what(), "the fixed text" );
   }
}

TEST( VelRange, BoundedIndexNamesItsBounds ) {
   using Index = Vel::BoundedIndex< "TunnelIdCollIndex", unsigned, 0u, 599u >;
   EXPECT_EQ( Index( 599 ).value(), 599u );
   try {
      Index::of( 600 );
      FAIL();
   } catch ( const Vel::RangeException & e ) {
      EXPECT_STREQ( e.what(), "TunnelIdCollIndex::value < TunnelIdCollIndex::min or > "
                              "TunnelIdCollIndex::max not allowed" );
   }
   EXPECT_THROW( Index::of( -1 ), std::out_of_range );
}

} // namespace

// In a named namespace: compilers spell an anonymous one differently in the
// signature a trace line starts with.
namespace traced {
void tracedFunction( int x ) { VEL_TRACE( 8, " x: ", x ); }
} // namespace traced

namespace {

using traced::tracedFunction;

TEST( VelTrace, LinesStartWithTheSignatureAndHonourTheLevel ) {
   Vel::TestTraceSink sink( 7 );
   tracedFunction( 1 );
   EXPECT_TRUE( sink.lines().empty() );
   Vel::traceLevelIs( 9 );
   tracedFunction( 2 );
   ASSERT_EQ( sink.lines().size(), 1u );
   EXPECT_EQ( sink.lines()[ 0 ], "void traced::tracedFunction(int) x: 2" );
}

TEST( VelClock, FiresOnlyWhenTimeIsAdvancedToItsMinimum ) {
   auto scheduler = Vel::make< Mox::TaskScheduler >();
   auto clock = Vel::make< Vel::Clock >( scheduler );
   std::vector< double > firedAt;
   auto r = clock->react( [ & ] { firedAt.push_back( clock->now() ); } );
   // Work that reschedules itself runs to the end without the clock's
   // minimum being reached: waiting is not work.
   auto work = Vel::make< Mox::Task >( scheduler, Mox::TaskPriority{ 0 }, "work" );
   int runs = 0;
   auto w = work->onRun( [ & ] {
      if ( ++runs < 3 ) {
         scheduler->scheduleTaskLowestDelay( *work, 0.01 );
      }
   } );
   clock->minTimeIs( 120 );
   scheduler->scheduleTask( *work );
   scheduler->runUntilIdle();
   EXPECT_EQ( runs, 3 );
   EXPECT_TRUE( firedAt.empty() );
   EXPECT_LT( clock->now(), 1 );
   scheduler->runFor( 100 );
   EXPECT_TRUE( firedAt.empty() );
   scheduler->advance( 20 );
   EXPECT_EQ( firedAt, ( std::vector< double >{ 120 } ) );
   EXPECT_EQ( clock->minTime(), Mox::TaskScheduler::infinity );
   scheduler->advance( 200 );
   EXPECT_EQ( firedAt.size(), 1u );

   // Infinity disarms a minimum that was set.
   clock->minTimeIs( clock->now() + 5 );
   clock->minTimeIs( Mox::TaskScheduler::infinity );
   scheduler->advance( 10 );
   EXPECT_EQ( firedAt.size(), 1u );
}

} // namespace
