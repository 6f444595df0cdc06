#pragma once

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Tunnel::Gr {

// The tunnel FIB's graceful-restart status: whether its backlog has emptied
// since the restart.
class TunnelFibGrStatus : public Vel::PtrInterface {
 public:
   const Vel::Attribute< bool > & tunnelFibSmBacklogEmpty() const noexcept {
      return tunnelFibSmBacklogEmpty_;
   }
   void tunnelFibSmBacklogEmptyIs( bool empty ) { tunnelFibSmBacklogEmpty_.set( empty ); }

 private:
   Vel::Attribute< bool > tunnelFibSmBacklogEmpty_{ false };
};

} // namespace Tunnel::Gr
