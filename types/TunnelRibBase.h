#pragma once

#include <cstddef>
#include <cstdint>

#include "platform/statix/EntityManager.h"
#include "platform/vel/IndexedMap.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelRibEntry.h"
#include "types/TunnelRibId.h"

namespace Tunnel::TunnelTable {

// A tunnel RIB as its builder sees it, whatever its key: the entries are
// reached by the full endpoint, and a RIB keyed by prefix alone maps the
// endpoint onto its prefix.
class TunnelRibBase : public Statix::Mountable {
 public:
   TunnelRibId tunnelRibId() const noexcept { return tunnelRibId_; }
   void idIs( TunnelRibId id ) noexcept { tunnelRibId_ = id; }

   virtual bool isColored() const = 0;

   // A copy of the endpoint's entry; an entry for the endpoint with no tunnel
   // ids when it has none.
   virtual TunnelRibEntry tunnelRibEntry( const ColoredTunnelEndpoint & tep ) const = 0;
   // Starts a load of the entry's lookup, ahead of a review that will read it.
   virtual void prefetchEntry( const ColoredTunnelEndpoint & tep, Vel::IndexLoad load ) const = 0;
   virtual void tunnelRibEntryIs( const TunnelRibEntry & entry ) = 0;
   virtual void tunnelRibEntryDel( const ColoredTunnelEndpoint & tep ) = 0;

   // Advances on every write.
   virtual std::uint64_t sequenceNumber() const = 0;
   virtual std::size_t size() const = 0;

 private:
   TunnelRibId tunnelRibId_;
};

} // namespace Tunnel::TunnelTable
