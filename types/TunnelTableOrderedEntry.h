#pragma once

#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// The candidate tunnels of one endpoint, the key, kept in candidate order:
// the first is the best.
class TunnelTableOrderedEntry : public Vel::PtrInterface {
 public:
   using Coll = Vel::SmallOrderedCollection< TunnelTableEntry, bool >;

   explicit TunnelTableOrderedEntry( const ColoredTunnelEndpoint & coloredTep )
         : coloredTep_( coloredTep ) {}

   const ColoredTunnelEndpoint & coloredTep() const noexcept { return coloredTep_; }

   const Coll & entry() const noexcept { return entry_; }
   bool entryHas( const TunnelTableEntry & candidate ) const { return entry_.has( candidate ); }
   void entryIs( const TunnelTableEntry & candidate, bool value ) { entry_.set( candidate, value ); }
   void entryDel( const TunnelTableEntry & candidate ) { entry_.del( candidate ); }
   void entryDelAll() { entry_.delAll(); }

   Coll::const_iterator begin() const noexcept { return entry_.begin(); }
   Coll::const_iterator end() const noexcept { return entry_.end(); }
   std::size_t size() const noexcept { return entry_.size(); }
   bool empty() const noexcept { return entry_.empty(); }

 private:
   const ColoredTunnelEndpoint coloredTep_;
   Coll entry_;
};

} // namespace Tunnel::TunnelTable
