#pragma once

#include <utility>

#include "platform/vel/Ptr.h"
#include "types/TunnelRib.h"
#include "types/TunnelType.h"

namespace Tunnel::TunnelTable {

// The tunnel RIB of the best tunnels of one type alone; null until set.
class ProtocolTunnelRibWrapper : public Vel::PtrInterface {
 public:
   explicit ProtocolTunnelRibWrapper( TunnelType tunnelType ) : tunnelType_( tunnelType ) {}

   TunnelType tunnelType() const noexcept { return tunnelType_; }
   const Vel::Ptr< TunnelRib > & tunnelRib() const noexcept { return tunnelRib_; }
   void tunnelRibIs( Vel::Ptr< TunnelRib > tunnelRib ) noexcept {
      tunnelRib_ = std::move( tunnelRib );
   }

 private:
   const TunnelType tunnelType_;
   Vel::Ptr< TunnelRib > tunnelRib_;
};

} // namespace Tunnel::TunnelTable
