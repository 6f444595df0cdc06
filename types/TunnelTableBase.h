#pragma once

#include "platform/statix/EntityManager.h"
#include "types/TunnelTableIdentifier.h"
#include "types/TunnelType.h"

namespace Tunnel::TunnelTable {

// What every protocol tunnel table carries whatever its entries: its table
// identifier and the tunnel-type code that says which reactor watches it.
// Both are fixed by the table's type.
class TunnelTableBase : public Statix::Mountable {
 public:
   TunnelTableIdentifier tunnelTableId() const noexcept { return tunnelTableId_; }
   TunnelType tunnelType() const noexcept { return tunnelType_; }

 protected:
   TunnelTableBase( TunnelTableIdentifier tunnelTableId, TunnelType tunnelType )
         : tunnelTableId_( tunnelTableId ), tunnelType_( tunnelType ) {}

 private:
   TunnelTableIdentifier tunnelTableId_;
   TunnelType tunnelType_;
};

} // namespace Tunnel::TunnelTable
