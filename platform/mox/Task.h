#pragma once

#include <cstdint>
#include <string>

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Mox {

class TaskScheduler;

// Lower values run first when two tasks are due at the same time.
enum class TaskPriority : std::uint8_t {};

// A unit of cooperative work. A reactor on its run notification does the
// work; workPending falls back to false when a run ends without the task
// being scheduled again, which tells watchers the task's backlog is empty.
class Task : public Vel::PtrInterface {
 public:
   // A timer is work that waits for time to be advanced to it (runUntilIdle
   // does not jump ahead for it). Tasks are always held through Vel::Ptr.
   enum class Kind { work, timer };

   Task( Vel::Ptr< TaskScheduler > scheduler, TaskPriority priority, std::string name,
         Kind kind = Kind::work );
   ~Task() override;

   const std::string & name() const noexcept { return name_; }
   TaskPriority priority() const noexcept { return priority_; }
   TaskScheduler & scheduler() const noexcept { return *scheduler_; }

   const Vel::Attribute< bool > & scheduled() const noexcept { return scheduled_; }
   const Vel::Attribute< bool > & workPending() const noexcept { return workPending_; }
   std::uint64_t workCount() const noexcept { return workCount_; }

   [[nodiscard]] Vel::Reactor onRun( std::function< void() > callback ) const {
      return run_.react( std::move( callback ) );
   }

 private:
   friend class TaskScheduler;

   Vel::Ptr< TaskScheduler > scheduler_;
   TaskPriority priority_;
   std::string name_;
   Vel::Attribute< bool > scheduled_{ false };
   Vel::Attribute< bool > workPending_{ false };
   std::uint64_t workCount_ = 0;
   double dueTime_ = 0;
   std::uint64_t sequence_ = 0;
   bool timer_;
   mutable Vel::Signal<> run_;
};

} // namespace Mox
