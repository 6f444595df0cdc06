#pragma once

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Tunnel::Gr {

// The agent's graceful-restart context. restartTracking says that the
// restart of the agent is being tracked (GR status records are kept);
// restartComplete says the restart has ended, so waiting consumers can report
// and clean up.
class TunnelGrContext : public Vel::PtrInterface {
 public:
   const Vel::Attribute< bool > & restartTracking() const noexcept { return restartTracking_; }
   void restartTrackingIs( bool on ) { restartTracking_.set( on ); }
   const Vel::Attribute< bool > & restartComplete() const noexcept { return restartComplete_; }
   void restartCompleteIs( bool done ) { restartComplete_.set( done ); }

 private:
   Vel::Attribute< bool > restartTracking_{ false };
   Vel::Attribute< bool > restartComplete_{ false };
};

} // namespace Tunnel::Gr
