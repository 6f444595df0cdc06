#pragma once

#include <cstddef>
#include <functional>

#include "platform/vel/FlatMap.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// The candidate tunnels of one endpoint, kept in candidate order: the first
// is the best. A plain value held in place by the internal RIB under the
// endpoint; an endpoint's two or so candidates sit inside it.
class TunnelTableOrderedEntry {
 public:
   using Coll = Vel::FlatMap< TunnelTableEntry, bool, std::less< TunnelTableEntry >, 2 >;


   const Coll & entry() const noexcept { return entry_; }
   bool entryHas( const TunnelTableEntry & candidate ) const {
      return entry_.find( candidate ) != entry_.end();
   }
   void entryIs( const TunnelTableEntry & candidate, bool value ) {
      entry_.insert_or_assign( candidate, value );
   }
   void entryDel( const TunnelTableEntry & candidate ) { entry_.erase( candidate ); }
   void entryDelAll() { entry_.clear(); }

   Coll::const_iterator begin() const noexcept { return entry_.begin(); }
   Coll::const_iterator end() const noexcept { return entry_.end(); }
   std::size_t size() const noexcept { return entry_.size(); }
   bool empty() const noexcept { return entry_.empty(); }

 private:
   Coll entry_;
};

} // namespace Tunnel::TunnelTable
