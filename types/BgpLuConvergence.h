#pragma once

#include <cstdint>

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"

namespace Tunnel::TunnelTable {

// Published by BGP: whether BGP-LU has converged, and the sequence number of
// the BGP-LU table that the convergence refers to.
class BgpLuConvergence : public Vel::PtrInterface {
 public:
   const Vel::Attribute< bool > & converged() const noexcept { return converged_; }
   std::uint64_t bgpLuTableSeqno() const noexcept { return bgpLuTableSeqno_; }
   // The sequence number is written first so that a reactor on `converged`
   // reads the one it refers to.
   void convergedIs( bool converged, std::uint64_t bgpLuTableSeqno ) {
      bgpLuTableSeqno_ = bgpLuTableSeqno;
      converged_.set( converged );
   }

 private:
   Vel::Attribute< bool > converged_{ false };
   std::uint64_t bgpLuTableSeqno_ = 0;
};

} // namespace Tunnel::TunnelTable
