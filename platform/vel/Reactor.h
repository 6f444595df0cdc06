#pragma once

#include <functional>
#include <memory>
#include <vector>

#include "platform/vel/Assert.h"

namespace Vel {

class SignalBase;

namespace detail {

struct SlotBase {
   virtual ~SlotBase() = default;
   bool live = true;
   SignalBase * owner = nullptr;
};

} // namespace detail

// An RAII subscription to one signal. Destroying it, or making it a zombie,
// stops delivery at once, also in the middle of a delivery.
class Reactor {
 public:
   Reactor() = default;
   explicit Reactor( std::shared_ptr< detail::SlotBase > slot ) : slot_( std::move( slot ) ) {}
   Reactor( Reactor && ) noexcept = default;
   Reactor & operator=( Reactor && o ) noexcept {
      if ( this != &o ) {
         disconnect();
         slot_ = std::move( o.slot_ );
      }
      return *this;
   }
   Reactor( const Reactor & ) = delete;
   Reactor & operator=( const Reactor & ) = delete;
   ~Reactor() { disconnect(); }

   // An inert reactor stays bound but is never called again.
   void zombieIs() noexcept {
      if ( slot_ ) {
         slot_->live = false;
      }
   }
   bool zombie() const noexcept { return !slot_ || !slot_->live; }
   void disconnect() noexcept;

 private:
   std::shared_ptr< detail::SlotBase > slot_;
};

// The non-template core: slot bookkeeping that tolerates subscription changes
// during a delivery.
class SignalBase {
 public:
   SignalBase() = default;
   SignalBase( const SignalBase & ) = delete;
   SignalBase & operator=( const SignalBase & ) = delete;
   ~SignalBase();

   bool empty() const noexcept;

 protected:
   friend class Reactor;

   Reactor attach( std::shared_ptr< detail::SlotBase > slot );
   void detach( detail::SlotBase * slot ) noexcept;

   // Keeps a delivery's view of the slots stable: removals during a delivery
   // are deferred to its end.
   class DeliveryGuard {
    public:
      explicit DeliveryGuard( SignalBase & signal ) noexcept : signal_( signal ) {
         ++signal_.depth_;
      }
      ~DeliveryGuard() {
         if ( --signal_.depth_ == 0 && signal_.dirty_ ) {
            signal_.compact();
         }
      }

    private:
      SignalBase & signal_;
   };

   void compact() noexcept;

   std::vector< std::shared_ptr< detail::SlotBase > > slots_;
   unsigned depth_ = 0;
   bool dirty_ = false;
};

// Synchronous notification in subscription order. A reactor added during a
// delivery misses that delivery. Delivering allocates nothing.
template< class... Args >
class Signal : public SignalBase {
 public:
   using Callback = std::function< void( Args... ) >;

   [[nodiscard]] Reactor react( Callback callback ) {
      auto slot = std::make_shared< Slot >();
      slot->callback = std::move( callback );
      return attach( std::move( slot ) );
   }

   void notify( Args... args ) {
      DeliveryGuard guard( *this );
      const auto count = slots_.size();
      for ( std::size_t i = 0; i < count; ++i ) {
         auto * slot = static_cast< Slot * >( slots_[ i ].get() );
         if ( slot->live ) {
            slot->callback( args... );
         }
      }
   }

 private:
   struct Slot : detail::SlotBase {
      Callback callback;
   };
};

} // namespace Vel
