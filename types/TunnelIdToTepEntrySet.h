#pragma once

#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpointSet.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// The endpoints whose RIB entry uses one tunnel, the key. The set is made
// when first needed.
class TunnelIdToTepEntrySet : public Vel::PtrInterface {
 public:
   explicit TunnelIdToTepEntrySet( TunnelId tunnelId ) : tunnelId_( tunnelId ) {}

   TunnelId tunnelId() const noexcept { return tunnelId_; }

   // Null until tepSetIs().
   const Vel::Ptr< ColoredTunnelEndpointSet > & tepSet() const noexcept { return tepSet_; }
   // The set, made empty when there is none.
   const Vel::Ptr< ColoredTunnelEndpointSet > & tepSetIs() {
      if ( !tepSet_ ) {
         tepSet_ = Vel::make< ColoredTunnelEndpointSet >();
      }
      return tepSet_;
   }
   void tepSetDel() noexcept { tepSet_.reset(); }

 private:
   const TunnelId tunnelId_;
   Vel::Ptr< ColoredTunnelEndpointSet > tepSet_;
};

} // namespace Tunnel::TunnelTable
