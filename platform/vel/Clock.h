#pragma once

#include <functional>

#include "platform/mox/Task.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/vel/Ptr.h"

namespace Vel {

// The framework clock, on the scheduler's time. Its owner sets a minimum time;
// when now() reaches it, the clock notifies once. Infinity disarms it.
class Clock : public PtrInterface {
 public:
   explicit Clock( Ptr< Mox::TaskScheduler > scheduler );

   double now() const noexcept { return scheduler_->now(); }
   double minTime() const noexcept { return minTime_; }
   void minTimeIs( double time );

   [[nodiscard]] Reactor react( std::function< void() > callback ) const {
      return wakeup_.react( std::move( callback ) );
   }

 private:
   Ptr< Mox::TaskScheduler > scheduler_;
   Ptr< Mox::Task > timer_;
   Reactor timerReactor_;
   double minTime_ = Mox::TaskScheduler::infinity;
   mutable Signal<> wakeup_;
};

} // namespace Vel
