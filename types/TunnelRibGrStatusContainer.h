#pragma once

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelRibGrStatus.h"

namespace Tunnel::Gr {

// The GR status of every tunnel RIB, with the GR context they share and the
// counters snapshot.
class TunnelRibGrStatusContainer : public Vel::PtrInterface {
 public:
   using StatusCollection =
      Vel::OrderedCollection< TunnelTable::TunnelRibId, Vel::Ptr< TunnelRibGrStatus > >;

   explicit TunnelRibGrStatusContainer( Vel::Ptr< TunnelGrContext > context )
         : tunnelGrContext_( std::move( context ) ),
           grCounters_( Vel::make< TunnelRibGrCounters >() ) {}

   const Vel::Ptr< TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }
   const Vel::Ptr< TunnelRibGrCounters > & grCounters() const noexcept { return grCounters_; }
   void grCountersIs( Vel::Ptr< TunnelRibGrCounters > counters ) {
      grCounters_ = std::move( counters );
   }

   const StatusCollection & tunnelRibGrStatus() const noexcept { return status_; }
   Vel::Ptr< TunnelRibGrStatus > tunnelRibGrStatus( TunnelTable::TunnelRibId id ) const {
      return status_.get( id );
   }
   void tunnelRibGrStatusIs( TunnelTable::TunnelRibId id, Vel::Ptr< TunnelRibGrStatus > s ) {
      status_.set( id, std::move( s ) );
   }
   void tunnelRibGrStatusDel( TunnelTable::TunnelRibId id ) { status_.del( id ); }

 private:
   Vel::Ptr< TunnelGrContext > tunnelGrContext_;
   Vel::Ptr< TunnelRibGrCounters > grCounters_;
   StatusCollection status_;
};

} // namespace Tunnel::Gr
