#pragma once

#include <algorithm>

#include "platform/vel/InlineVector.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// A small set of tunnel ids in id order, in one array: the tunnels one
// tunnel rests on, or that rest on it, are few, and the usual one lives
// inline, costing no allocation.
class TunnelIdSet {
 public:
   using const_iterator = const TunnelId *;

   bool has( TunnelId id ) const { return std::binary_search( ids_.begin(), ids_.end(), id ); }
   void insert( TunnelId id ) {
      auto at = std::lower_bound( ids_.begin(), ids_.end(), id );
      if ( at == ids_.end() || *at != id ) {
         ids_.insert( at, id );
      }
   }
   void erase( TunnelId id ) {
      auto at = std::lower_bound( ids_.begin(), ids_.end(), id );
      if ( at != ids_.end() && *at == id ) {
         ids_.erase( at );
      }
   }
   void clear() noexcept { ids_.clear(); }
   std::size_t size() const noexcept { return ids_.size(); }
   bool empty() const noexcept { return ids_.empty(); }
   const_iterator begin() const noexcept { return ids_.begin(); }
   const_iterator end() const noexcept { return ids_.end(); }
   friend bool operator==( const TunnelIdSet &, const TunnelIdSet & ) = default;

 private:
   Vel::InlineVector< TunnelId, 1 > ids_;
};

} // namespace Tunnel::TunnelTable
