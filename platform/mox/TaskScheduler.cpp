#include "platform/mox/TaskScheduler.h"

#include <thread>

namespace Mox {

YieldPolicy yieldAfterUnits( std::uint64_t units ) {
   return [ units ]( std::uint64_t done, double ) { return done >= units; };
}

YieldPolicy yieldAfterSeconds( double seconds ) {
   return [ seconds ]( std::uint64_t, double elapsed ) { return elapsed >= seconds; };
}

Task::Task( Vel::Ptr< TaskScheduler > scheduler, TaskPriority priority, std::string name,
            Kind kind )
      : scheduler_( std::move( scheduler ) ), priority_( priority ), name_( std::move( name ) ),
        timer_( kind == Kind::timer ) {}

Task::~Task() {
   if ( scheduled_() ) {
      scheduler_->unscheduleTask( *this );
   }
}

bool TaskScheduler::Earlier::operator()( const Task * a, const Task * b ) const noexcept {
   if ( a->dueTime_ != b->dueTime_ ) {
      return a->dueTime_ < b->dueTime_;
   }
   if ( a->priority_ != b->priority_ ) {
      return a->priority_ < b->priority_;
   }
   return a->sequence_ < b->sequence_;
}

TaskScheduler::TaskScheduler()
      : yieldPolicy_( yieldAfterSeconds( 0.005 ) ),
        sliceStart_( std::chrono::steady_clock::now() ) {}

TaskScheduler::~TaskScheduler() {
   for ( Task * task : queue_ ) {
      task->scheduled_.set( false );
   }
}

double TaskScheduler::now() const noexcept {
   if ( !realTime_ ) {
      return virtualNow_;
   }
   std::chrono::duration< double > since = std::chrono::steady_clock::now() - realStart_;
   return virtualNow_ + since.count();
}

void TaskScheduler::realTimeIs( bool on ) {
   if ( on == realTime_ ) {
      return;
   }
   virtualNow_ = now();
   realStart_ = std::chrono::steady_clock::now();
   realTime_ = on;
}

void TaskScheduler::scheduleAt( Task & task, double time ) {
   if ( task.scheduled_() ) {
      queue_.erase( &task );
   }
   task.dueTime_ = time;
   task.sequence_ = ++sequence_;
   queue_.insert( &task );
   task.scheduled_.set( true );
   task.workPending_.set( true );
}

void TaskScheduler::scheduleTaskLowestDelay( Task & task, double delay ) {
   double time = now() + delay;
   if ( task.scheduled_() && task.dueTime_ <= time ) {
      return;
   }
   scheduleAt( task, time );
}

void TaskScheduler::unscheduleTask( Task & task ) {
   if ( !task.scheduled_() ) {
      return;
   }
   queue_.erase( &task );
   task.scheduled_.set( false );
}

bool TaskScheduler::taskShouldYield() {
   ++sliceUnits_;
   std::chrono::duration< double > elapsed = std::chrono::steady_clock::now() - sliceStart_;
   return yieldPolicy_( sliceUnits_, elapsed.count() );
}

void TaskScheduler::runOne( Task & task ) {
   queue_.erase( &task );
   if ( !realTime_ && task.dueTime_ > virtualNow_ ) {
      virtualNow_ = task.dueTime_;
   }
   // Keep the task alive through its own run: its handler may drop the owner.
   Vel::Ptr< Task > hold( &task );
   task.scheduled_.set( false );
   sliceUnits_ = 0;
   sliceStart_ = std::chrono::steady_clock::now();
   ++tasksRun_;
   task.run_.notify();
   if ( !task.scheduled_() ) {
      task.workPending_.set( false );
   }
}

bool TaskScheduler::runNext( double limit ) {
   if ( queue_.empty() ) {
      return false;
   }
   Task * next = *queue_.begin();
   if ( next->dueTime_ > limit ) {
      return false;
   }
   if ( realTime_ ) {
      double wait = next->dueTime_ - now();
      if ( wait > 0 ) {
         std::this_thread::sleep_for( std::chrono::duration< double >( wait ) );
      }
   }
   runOne( *next );
   return true;
}

void TaskScheduler::runUntilIdle() {
   while ( !queue_.empty() ) {
      Task * next = *queue_.begin();
      // Timers wait for time to be advanced; work that is merely delayed runs.
      if ( next->timer_ && next->dueTime_ > now() ) {
         bool workBehind = false;
         for ( Task * t : queue_ ) {
            if ( !t->timer_ ) {
               workBehind = true;
               break;
            }
         }
         if ( !workBehind ) {
            return;
         }
      }
      runNext( infinity );
   }
}

void TaskScheduler::runFor( double seconds ) {
   double end = now() + seconds;
   while ( runNext( end ) ) {
   }
   if ( !realTime_ && virtualNow_ < end ) {
      virtualNow_ = end;
   }
}

} // namespace Mox
