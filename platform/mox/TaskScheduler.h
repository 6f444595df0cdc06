#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <limits>
#include <set>

#include "platform/mox/Task.h"
#include "platform/vel/Ptr.h"

namespace Mox {

// Decides whether the running task should end its slice: given the units of
// work it has reported in this slice and the real seconds the slice has taken.
using YieldPolicy = std::function< bool( std::uint64_t units, double seconds ) >;

YieldPolicy yieldAfterUnits( std::uint64_t units );
YieldPolicy yieldAfterSeconds( double seconds );

// One scheduler per agent, on one thread. Time is virtual: it moves only when
// the owner of the loop runs it, so a run is repeatable. In real-time mode
// virtual time follows the steady clock and run loops sleep until work is due.
class TaskScheduler : public Vel::PtrInterface {
 public:
   static constexpr double infinity = std::numeric_limits< double >::infinity();

   TaskScheduler();
   ~TaskScheduler() override;

   double now() const noexcept;
   void realTimeIs( bool on );
   bool realTime() const noexcept { return realTime_; }

   void scheduleTask( Task & task ) { scheduleAt( task, now() ); }
   // Runs the task at the earlier of its current due time and now + delay.
   void scheduleTaskLowestDelay( Task & task, double delay );
   // Schedules a backlog's task unless it is scheduled already: at once, or
   // after `delay` while the task has work pending, so that a burst of
   // changes is reviewed in one batch.
   void scheduleBacklogTask( Task & task, double delay ) {
      if ( taskScheduled( task ) ) {
         return;
      }
      if ( taskWorkPending( task ) ) {
         scheduleTaskLowestDelay( task, delay );
      } else {
         scheduleTask( task );
      }
   }
   void scheduleTaskAt( Task & task, double time ) { scheduleAt( task, time ); }
   void unscheduleTask( Task & task );
   bool taskScheduled( const Task & task ) const noexcept { return task.scheduled_(); }
   bool taskWorkPending( const Task & task ) const noexcept { return task.workPending_(); }
   void taskWorkPendingIs( Task & task, bool pending ) { task.workPending_.set( pending ); }
   void taskWorkCountInc( Task & task ) { ++task.workCount_; }

   // Asked by the running task after each unit of work.
   bool taskShouldYield();
   void yieldPolicyIs( YieldPolicy policy ) { yieldPolicy_ = std::move( policy ); }

   // Runs every task that is or becomes due, moving time forward to delayed
   // tasks; timers later than the last task run are left armed.
   void runUntilIdle();
   // Runs everything due within the next `seconds`, then sets the time to
   // now + seconds.
   void runFor( double seconds );
   void advance( double seconds ) { runFor( seconds ); }
   bool idle() const noexcept { return queue_.empty(); }
   std::uint64_t tasksRun() const noexcept { return tasksRun_; }

 private:
   struct Earlier {
      bool operator()( const Task * a, const Task * b ) const noexcept;
   };

   void scheduleAt( Task & task, double time );
   void runOne( Task & task );
   // Runs the next task if it is due at or before `limit`; false when none is.
   bool runNext( double limit );

   std::set< Task *, Earlier > queue_;
   double virtualNow_ = 0;
   bool realTime_ = false;
   std::chrono::steady_clock::time_point realStart_;
   std::uint64_t sequence_ = 0;
   std::uint64_t tasksRun_ = 0;
   YieldPolicy yieldPolicy_;
   std::uint64_t sliceUnits_ = 0;
   std::chrono::steady_clock::time_point sliceStart_;
};

} // namespace Mox
