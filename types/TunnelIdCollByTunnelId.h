#pragma once

#include "types/TunnelId.h"
#include "types/TunnelIdColl.h"

namespace Tunnel::TunnelTable {

// A set of tunnel ids that belongs to one tunnel, the key.
class TunnelIdCollByTunnelId : public TunnelIdColl {
 public:
   explicit TunnelIdCollByTunnelId( TunnelId tunnelId ) : tunnelId_( tunnelId ) {}

   TunnelId tunnelId() const noexcept { return tunnelId_; }

 private:
   const TunnelId tunnelId_;
};

} // namespace Tunnel::TunnelTable
