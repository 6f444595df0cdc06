#include "types/TunnelFib.h"

namespace Tunnel::TunnelFib {

Vel::Ptr< TunnelFib > tunnelFibFactory() { return Vel::make< TunnelFib >(); }

} // namespace Tunnel::TunnelFib
