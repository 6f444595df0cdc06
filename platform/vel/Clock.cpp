#include "platform/vel/Clock.h"

namespace Vel {

Clock::Clock( Ptr< Mox::TaskScheduler > scheduler )
      : scheduler_( std::move( scheduler ) ),
        timer_( make< Mox::Task >( scheduler_, Mox::TaskPriority{ 0 }, "Vel::Clock",
                                   Mox::Task::Kind::timer ) ) {
   timerReactor_ = timer_->onRun( [ this ] {
      minTime_ = Mox::TaskScheduler::infinity;
      wakeup_.notify();
   } );
}

void Clock::minTimeIs( double time ) {
   minTime_ = time;
   if ( time == Mox::TaskScheduler::infinity ) {
      scheduler_->unscheduleTask( *timer_ );
   } else {
      scheduler_->scheduleTaskAt( *timer_, time );
   }
}

} // namespace Vel
