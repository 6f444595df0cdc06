#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/mox/DumpContext.h"
#include "platform/mox/Task.h"
#include "platform/mox/TaskScheduler.h"

namespace {

using Mox::Task;
using Mox::TaskPriority;
using Mox::TaskScheduler;

struct MoxTest : ::testing::Test {
   Vel::Ptr< TaskScheduler > scheduler = Vel::make< TaskScheduler >();
   std::vector< std::string > runs;
   std::vector< Vel::Reactor > reactors;

   Vel::Ptr< Task > task( const std::string & name, unsigned priority = 0 ) {
      auto t = Vel::make< Task >( scheduler, TaskPriority{ static_cast< std::uint8_t >( priority ) },
                                  name );
      reactors.push_back( t->onRun( [ this, name ] { runs.push_back( name ); } ) );
      return t;
   }
};

TEST_F( MoxTest, RunsByDueTimeThenPriorityThenArrival ) {
   auto late = task( "late", 0 );
   auto low = task( "low", 9 );
   auto firstHigh = task( "firstHigh", 1 );
   auto secondHigh = task( "secondHigh", 1 );
   auto dropped = task( "dropped", 0 );
   scheduler->scheduleTaskAt( *late, 1.0 );
   scheduler->scheduleTask( *low );
   scheduler->scheduleTask( *firstHigh );
   scheduler->scheduleTask( *secondHigh );
   scheduler->scheduleTask( *dropped );
   scheduler->unscheduleTask( *dropped );
   EXPECT_FALSE( scheduler->taskScheduled( *dropped ) );
   scheduler->runUntilIdle();
   EXPECT_EQ( runs, ( std::vector< std::string >{ "firstHigh", "secondHigh", "low", "late" } ) );
   // Delayed work is not a timer: running until idle moves time to it.
   EXPECT_EQ( scheduler->now(), 1.0 );

   // A task dropped while scheduled leaves the queue.
   scheduler->scheduleTask( *low );
   low = nullptr;
   EXPECT_TRUE( scheduler->idle() );
}

TEST_F( MoxTest, LowestDelayKeepsTheEarlierDueTime ) {
   auto t = task( "t" );
   double ranAt = -1;
   auto r = t->onRun( [ & ] { ranAt = scheduler->now(); } );
   scheduler->scheduleTaskLowestDelay( *t, 5 );
   scheduler->scheduleTaskLowestDelay( *t, 10 );
   scheduler->runFor( 6 );
   EXPECT_EQ( ranAt, 5 );
   scheduler->scheduleTaskLowestDelay( *t, 10 );
   scheduler->scheduleTaskLowestDelay( *t, 2 );
   scheduler->runFor( 3 );
   EXPECT_EQ( ranAt, 8 );
   EXPECT_EQ( runs.size(), 2u );
}

// A task with a backlog of units that yields when told to and resumes on its
// next run.
TEST_F( MoxTest, YieldAfterUnitsSplitsTheBacklogIntoSlices ) {
   for ( unsigned slice : { 1u, 2u, 5u } ) {
      scheduler->yieldPolicyIs( Mox::yieldAfterUnits( slice ) );
      auto t = task( "backlog" );
      int left = 5;
      std::vector< int > perRun;
      auto r = t->onRun( [ & ] {
         perRun.push_back( 0 );
         while ( left > 0 ) {
            --left;
            ++perRun.back();
            scheduler->taskWorkCountInc( *t );
            if ( left > 0 && scheduler->taskShouldYield() ) {
               scheduler->scheduleTaskLowestDelay( *t, 0.01 );
               return;
            }
         }
      } );
      scheduler->scheduleTask( *t );
      scheduler->runUntilIdle();
      std::vector< int > expected;
      for ( int done = 0; done < 5; done += static_cast< int >( slice ) ) {
         expected.push_back( std::min( 5 - done, static_cast< int >( slice ) ) );
      }
      EXPECT_EQ( perRun, expected ) << "slice " << slice;
      EXPECT_EQ( t->workCount(), 5u );
   }
}

TEST_F( MoxTest, WorkPendingFallsWhenARunEndsUnscheduled ) {
   auto t = task( "t" );
   std::vector< bool > seen;
   auto watch = t->workPending().react( [ & ] { seen.push_back( t->workPending()() ); } );
   int again = 1;
   auto r = t->onRun( [ & ] {
      if ( again-- > 0 ) {
         scheduler->scheduleTaskLowestDelay( *t, 0.01 );
      }
   } );
   scheduler->scheduleTask( *t );
   EXPECT_TRUE( scheduler->taskWorkPending( *t ) );
   scheduler->runUntilIdle();
   // Rescheduled from its own run, the task stays pending; the second run
   // ends with nothing scheduled.
   EXPECT_EQ( seen, ( std::vector< bool >{ true, false } ) );
   EXPECT_EQ( runs.size(), 2u );
   scheduler->taskWorkPendingIs( *t, true );
   EXPECT_TRUE( scheduler->taskWorkPending( *t ) );
}

TEST_F( MoxTest, RealTimeModeWaitsForWorkThatIsDue ) {
   auto later = task( "later" );
   scheduler->advance( 5 );
   scheduler->realTimeIs( true );
   const double start = scheduler->now();
   EXPECT_GE( start, 5.0 ); // virtual time carries over
   scheduler->scheduleTaskAt( *later, start + 0.002 );
   scheduler->runUntilIdle();
   EXPECT_EQ( runs, ( std::vector< std::string >{ "later" } ) );
   EXPECT_GE( scheduler->now(), start + 0.002 );
   scheduler->realTimeIs( false );
   const double frozen = scheduler->now();
   EXPECT_EQ( scheduler->now(), frozen ); // virtual time stands still again
}

TEST( MoxDumpContext, FormatsWithPrintfFormats ) {
   Mox::DumpContext dump;
   dump.printf( "%*cTunnelRibSm tunnelRibId %u\n", 2, ' ', 7u );
   dump.printf( "%*cTunnelFibSm\n", 4, ' ' );
   EXPECT_EQ( dump.text(), "  TunnelRibSm tunnelRibId 7\n    TunnelFibSm\n" );
}

} // namespace
