#pragma once

#include "platform/vel/Attribute.h"
#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::Gr {

// A consumer's report of how far it has processed its inputs after a
// restart: per tracked protocol table whether it is quiesced (the producer
// declared it complete and the consumer has seen it all), and whether the
// consumer's backlogs are empty.
class InputProcessedStatus : public Vel::PtrInterface {
 public:
   using QuiescedCollection =
      Vel::OrderedCollection< TunnelTable::TunnelTableIdentifier, bool >;

   explicit InputProcessedStatus( Vel::PtrConst< TunnelGrContext > context )
         : tunnelGrContext_( std::move( context ) ) {}

   const Vel::PtrConst< TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }

   const Vel::Attribute< bool > & backlogsEmpty() const noexcept { return backlogsEmpty_; }
   void backlogsEmptyIs( bool empty ) { backlogsEmpty_.set( empty ); }

   const QuiescedCollection & tunnelTablesQuiesced() const noexcept { return quiesced_; }
   void tunnelTablesQuiescedIs( TunnelTable::TunnelTableIdentifier id, bool quiesced ) {
      quiesced_.set( id, quiesced );
   }
   void tunnelTablesQuiescedDel( TunnelTable::TunnelTableIdentifier id ) { quiesced_.del( id ); }
   // True when every tracked table is quiesced.
   bool allTablesQuiesced() const {
      for ( const auto & [ id, quiesced ] : quiesced_ ) {
         if ( !quiesced ) {
            return false;
         }
      }
      return true;
   }

 private:
   Vel::PtrConst< TunnelGrContext > tunnelGrContext_;
   Vel::Attribute< bool > backlogsEmpty_{ false };
   QuiescedCollection quiesced_;
};

} // namespace Tunnel::Gr
