#pragma once

#include <cstddef>
#include <functional>

#include "platform/vel/Collection.h"
#include "platform/vel/FlatMap.h"
#include "types/ColoredTunnelEndpoint.h"

namespace Tunnel::TunnelTable {

// A set of endpoints, colored or not, in endpoint order. A plain value: it
// sits inside the builder's per-tunnel index, one per tunnel, and most
// tunnels serve one endpoint, which it holds without an allocation.
class ColoredTunnelEndpointSet {
 public:
   using Coll = Vel::FlatMap< ColoredTunnelEndpoint, Vel::Present, std::less< ColoredTunnelEndpoint >, 1 >;

   const Coll & coloredTep() const noexcept { return coloredTep_; }
   bool coloredTepHas( const ColoredTunnelEndpoint & tep ) const {
      return coloredTep_.find( tep ) != coloredTep_.end();
   }
   void coloredTepIs( const ColoredTunnelEndpoint & tep ) { coloredTep_.insert_or_assign( tep, {} ); }
   void coloredTepDel( const ColoredTunnelEndpoint & tep ) { coloredTep_.erase( tep ); }
   void coloredTepDelAll() { coloredTep_.clear(); }

   std::size_t size() const noexcept { return coloredTep_.size(); }
   bool empty() const noexcept { return coloredTep_.empty(); }

 private:
   Coll coloredTep_;
};

} // namespace Tunnel::TunnelTable
