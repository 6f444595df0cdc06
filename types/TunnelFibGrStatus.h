#pragma once

#include <cstdint>

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelGrContext.h"

namespace Tunnel::Gr {

// The tunnel FIB's graceful-restart status: whether its backlog has emptied
// since the restart, with its tracked tables quiesced, and how often it got
// there. It also carries the agent's GR context, so that the FIB machine
// reaches the context through the one record it is given.
class TunnelFibGrStatus : public Vel::PtrInterface {
 public:
   TunnelFibGrStatus() : tunnelGrContext_( Vel::make< TunnelGrContext >() ) {}
   explicit TunnelFibGrStatus( Vel::PtrConst< TunnelGrContext > context )
         : tunnelGrContext_( std::move( context ) ) {}

   const Vel::Attribute< bool > & tunnelFibSmBacklogEmpty() const noexcept {
      return tunnelFibSmBacklogEmpty_;
   }
   void tunnelFibSmBacklogEmptyIs( bool empty ) { tunnelFibSmBacklogEmpty_.set( empty ); }

   const Vel::PtrConst< TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }

   // The counter of the tunnel-tables-processed stage.
   std::uint64_t tunnelTablesProcessed() const noexcept { return tunnelTablesProcessed_; }
   void tunnelTablesProcessedInc() noexcept { ++tunnelTablesProcessed_; }

 private:
   Vel::Attribute< bool > tunnelFibSmBacklogEmpty_{ false };
   Vel::PtrConst< TunnelGrContext > tunnelGrContext_;
   std::uint64_t tunnelTablesProcessed_ = 0;
};

} // namespace Tunnel::Gr
