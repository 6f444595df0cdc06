#pragma once

#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/ColoredTunnelEndpoint.h"

namespace Tunnel::TunnelTable {

// A set of endpoints, colored or not, in endpoint order.
class ColoredTunnelEndpointSet : public Vel::PtrInterface {
 public:
   using Coll = Vel::SmallOrderedCollection< ColoredTunnelEndpoint, Vel::Present, 1 >;

   const Coll & coloredTep() const noexcept { return coloredTep_; }
   bool coloredTepHas( const ColoredTunnelEndpoint & tep ) const { return coloredTep_.has( tep ); }
   void coloredTepIs( const ColoredTunnelEndpoint & tep ) { coloredTep_.set( tep, {} ); }
   void coloredTepDel( const ColoredTunnelEndpoint & tep ) { coloredTep_.del( tep ); }
   void coloredTepDelAll() { coloredTep_.delAll(); }

   std::size_t size() const noexcept { return coloredTep_.size(); }
   bool empty() const noexcept { return coloredTep_.empty(); }

 private:
   Coll coloredTep_;
};

} // namespace Tunnel::TunnelTable
