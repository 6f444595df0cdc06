#include "platform/vel/Reactor.h"

#include <algorithm>

namespace Vel {

void Reactor::disconnect() noexcept {
   if ( !slot_ ) {
      return;
   }
   slot_->live = false;
   if ( slot_->owner ) {
      slot_->owner->detach( slot_.get() );
   }
   slot_.reset();
}

SignalBase::~SignalBase() {
   VEL_ASSERT( depth_ == 0, "Signal destroyed during its own delivery" );
   for ( auto & slot : slots_ ) {
      slot->owner = nullptr;
   }
}

bool SignalBase::empty() const noexcept {
   return std::none_of( slots_.begin(), slots_.end(),
                        []( const auto & slot ) { return slot->live; } );
}

Reactor SignalBase::attach( std::shared_ptr< detail::SlotBase > slot ) {
   slot->owner = this;
   slots_.push_back( slot );
   return Reactor( std::move( slot ) );
}

void SignalBase::detach( detail::SlotBase * slot ) noexcept {
   slot->owner = nullptr;
   if ( depth_ > 0 ) {
      dirty_ = true;
      return;
   }
   std::erase_if( slots_, [ slot ]( const auto & s ) { return s.get() == slot; } );
}

void SignalBase::compact() noexcept {
   dirty_ = false;
   std::erase_if( slots_, []( const auto & s ) { return s->owner == nullptr; } );
}

} // namespace Vel
