#pragma once

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Tunnel {

// The MPLS configuration of tunnels that the tunnel FIB watches: whether
// tunnels that may carry an entropy label push one.
class MplsTunnelConfig : public Vel::PtrInterface {
 public:
   const Vel::Attribute< bool > & entropyLabelPush() const noexcept { return entropyLabelPush_; }
   void entropyLabelPushIs( bool on ) { entropyLabelPush_.set( on ); }

 private:
   Vel::Attribute< bool > entropyLabelPush_{ false };
};

inline Vel::Ptr< MplsTunnelConfig > mplsTunnelConfigFactory() {
   return Vel::make< MplsTunnelConfig >();
}

} // namespace Tunnel
