#pragma once

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Mirra {

// Published by a table's producer: its presence says the producer has
// declared the table; tableComplete says it has written all it had after a
// restart.
class CollectionControl : public Vel::PtrInterface {
 public:
   const Vel::Attribute< bool > & tableComplete() const noexcept { return tableComplete_; }
   void tableCompleteIs( bool complete ) { tableComplete_.set( complete ); }

 private:
   Vel::Attribute< bool > tableComplete_{ false };
};

} // namespace Mirra
