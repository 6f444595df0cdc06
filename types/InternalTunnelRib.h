#pragma once

#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelTableOrderedEntry.h"

namespace Tunnel::TunnelTable {

// Every candidate tunnel per endpoint (an uncolored endpoint has no color),
// in endpoint order.
class InternalTunnelRib : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< ColoredTunnelEndpoint, Vel::Ptr< TunnelTableOrderedEntry > >;

   const Coll & entry() const noexcept { return entry_; }
   // The endpoint's candidates, or null.
   Vel::Ptr< TunnelTableOrderedEntry > entry( const ColoredTunnelEndpoint & tep ) const {
      return entry_.get( tep );
   }
   bool entryHas( const ColoredTunnelEndpoint & tep ) const { return entry_.has( tep ); }
   // The endpoint's candidates; an empty set for a new endpoint.
   Vel::Ptr< TunnelTableOrderedEntry > entryIs( const ColoredTunnelEndpoint & tep ) {
      if ( auto existing = entry( tep ) ) {
         return existing;
      }
      auto candidates = Vel::make< TunnelTableOrderedEntry >( tep );
      entry_.set( tep, candidates );
      return candidates;
   }
   void entryDel( const ColoredTunnelEndpoint & tep ) { entry_.del( tep ); }
   void entryDelAll() { entry_.delAll(); }

   std::size_t size() const noexcept { return entry_.size(); }
   bool empty() const noexcept { return entry_.empty(); }

 private:
   Coll entry_;
};

} // namespace Tunnel::TunnelTable
