#pragma once

#include <cstdint>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelRibId.h"

namespace Tunnel::TunnelTable {

// Written by the tunnel RIB builders: per RIB, the RIB's sequence number at
// the moment it caught up with a converged BGP-LU.
class TunnelConvergence : public Vel::PtrInterface {
 public:
   using SeqnoCollection = Vel::OrderedCollection< TunnelRibId, std::uint64_t >;

   const SeqnoCollection & tunnelRibConvergenceSeqno() const noexcept { return seqno_; }
   std::uint64_t tunnelRibConvergenceSeqno( TunnelRibId id ) const { return seqno_.get( id ); }
   void tunnelRibConvergenceSeqnoIs( TunnelRibId id, std::uint64_t seqno ) {
      seqno_.set( id, seqno );
   }
   void tunnelRibConvergenceSeqnoDel( TunnelRibId id ) { seqno_.del( id ); }

 private:
   SeqnoCollection seqno_;
};

} // namespace Tunnel::TunnelTable
