#pragma once

#include <utility>

#include "platform/vel/Reactor.h"

namespace Vel {

// A watchable scalar attribute: a write that changes the value notifies.
template< class T >
class Attribute {
 public:
   Attribute() = default;
   explicit Attribute( T initial ) : value_( std::move( initial ) ) {}

   const T & operator()() const noexcept { return value_; }
   const T & value() const noexcept { return value_; }

   void set( T value ) {
      if ( value_ == value ) {
         return;
      }
      value_ = std::move( value );
      changed_.notify();
   }

   [[nodiscard]] Reactor react( std::function< void() > callback ) const {
      return changed_.react( std::move( callback ) );
   }

 private:
   T value_{};
   mutable Signal<> changed_;
};

} // namespace Vel
