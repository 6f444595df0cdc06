#pragma once

#include <cstddef>
#include "platform/vel/IndexedMap.h"
#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelTableOrderedEntry.h"

namespace Tunnel::TunnelTable {

// Every candidate tunnel per endpoint (an uncolored endpoint has no color),
// in endpoint order. Each endpoint's candidates live in its element.
class InternalTunnelRib : public Vel::PtrInterface {
 public:
   using Coll = Vel::IndexedMap< ColoredTunnelEndpoint, TunnelTableOrderedEntry >;

   const Coll & entry() const noexcept { return entry_; }
   // The endpoint's candidates, or null; valid until the endpoint's element
   // is deleted.
   TunnelTableOrderedEntry * entry( const ColoredTunnelEndpoint & tep ) {
      return entry_.findValue( tep );
   }
   const TunnelTableOrderedEntry * entry( const ColoredTunnelEndpoint & tep ) const {
      return entry_.findValue( tep );
   }
   bool entryHas( const ColoredTunnelEndpoint & tep ) const { return entry_.contains( tep ); }
   // The endpoint's candidates; an empty set for a new endpoint.
   TunnelTableOrderedEntry & entryIs( const ColoredTunnelEndpoint & tep ) {
      return entry_.try_emplace( tep ).first->second;
   }
   void entryDel( const ColoredTunnelEndpoint & tep ) { entry_.erase( tep ); }
   void entryDelAll() { entry_.clear(); }

   std::size_t size() const noexcept { return entry_.size(); }
   bool empty() const noexcept { return entry_.empty(); }

 private:
   Coll entry_;
};

} // namespace Tunnel::TunnelTable
