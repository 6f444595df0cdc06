#pragma once

#include "types/ColoredTunnelEndpointSet.h"

namespace Tunnel::TunnelTable {

// The endpoints whose RIB entry uses one tunnel, the key. The set is made
// when first needed. A plain value, held in place in the builder's index.
class TunnelIdToTepEntrySet {
 public:
   TunnelIdToTepEntrySet() = default;

   // Null until tepSetIs().
   const ColoredTunnelEndpointSet * tepSet() const noexcept { return made_ ? &tepSet_ : nullptr; }
   ColoredTunnelEndpointSet * tepSet() noexcept { return made_ ? &tepSet_ : nullptr; }
   // The set, made empty when there is none.
   ColoredTunnelEndpointSet & tepSetIs() noexcept {
      made_ = true;
      return tepSet_;
   }
   void tepSetDel() noexcept {
      tepSet_.coloredTepDelAll();
      made_ = false;
   }

 private:
   ColoredTunnelEndpointSet tepSet_;
   bool made_ = false;
};

} // namespace Tunnel::TunnelTable
