#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "ingest/TunnelTableEntities.h"
#include "platform/mirra/CollectionControl.h"
#include "platform/vel/Collection.h"
#include "platform/vel/FlatHashMap.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelId.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

class TableEntrySm;

// The base of the protocol reactors: one watches one protocol table and
// tells its owner of every tunnel id that appears, changes or goes, keeping
// the ids it has reported present so that the table's removal can report
// them gone.
class ProtocolTunnelSm : public Vel::PtrInterface {
 public:
   // The ids the reactor has reported present and not yet reported removed.
   // A reactor that keeps them reports every id of its table as it comes and
   // goes, so they are the table's own ids save those a corrupted lookup
   // reported removed, plus any recorded for an id the table lacks or under
   // another identifier: the reactor holds only that difference, not a copy
   // of every id of a table that may hold a million.
   class SeenTunnelIds {
    public:
      explicit SeenTunnelIds( const ProtocolTunnelSm & sm ) : sm_( sm ) {}
      // The identifier the id was seen with, or nothing.
      std::optional< TunnelTableIdentifier > find( TunnelId id ) const;
      bool has( TunnelId id ) const { return find( id ).has_value(); }
      std::size_t size() const;
      // In id order.
      std::vector< std::pair< TunnelId, TunnelTableIdentifier > > entries() const;

    private:
      friend class ProtocolTunnelSm;
      const ProtocolTunnelSm & sm_;
      // Ids of the table that are not seen.
      TunnelIdHashMap< Vel::Present > unseen_;
      // Seen ids the table lacks, or seen under another identifier.
      TunnelIdHashMap< TunnelTableIdentifier > extra_;
   };

   // Not counted: the owner owns this reactor.
   TableEntrySm * tableEntrySm() const noexcept { return tableEntrySm_; }
   const Vel::PtrConst< TunnelTableEntities > & tunnelTableEntities() const noexcept {
      return tunnelTableEntities_;
   }
   const Vel::PtrConst< TunnelIdColl > & unprogrammableTunnelId() const noexcept {
      return unprogrammableTunnelId_;
   }

   const SeenTunnelIds & seenTunnelId() const noexcept { return seenTunnelId_; }
   void seenTunnelIdIs( TunnelId id, TunnelTableIdentifier tableId );
   void seenTunnelIdDel( TunnelId id );
   void seenTunnelIdDelAll();

   // Graceful restart: the watched table's collection control and the tunnel
   // GR context; a change of tableComplete or of restartComplete runs
   // propagateQuiescedNotification().
   const Vel::PtrConst< Mirra::CollectionControl > & tableEntryControl() const noexcept {
      return tableEntryControl_;
   }
   void tableEntryControlIs( Vel::PtrConst< Mirra::CollectionControl > control );
   void tableEntryControlDel() { tableEntryControlIs( nullptr ); }
   const Vel::PtrConst< Gr::TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }
   void tunnelGrContextIs( Vel::PtrConst< Gr::TunnelGrContext > context );
   void tunnelGrContextDel() { tunnelGrContextIs( nullptr ); }

   // Reports every entry of the table as present.
   virtual void handleTunnelEntry();
   virtual void propagateQuiescedNotification();
   virtual void initializeGrAttrs();

   // Reports every seen tunnel id as removed; the seen ids stay.
   void kickSeenIds();

 protected:
   ProtocolTunnelSm( TableEntrySm * tableEntrySm,
                     Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                     Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId );

   // The watched table as the seen ids read it: whether this reactor keeps
   // seen ids, the identifier it reports them with, and the table's ids
   // (read past a corrupted table's check, which only lookups make).
   virtual bool keepsSeenIds() const { return false; }
   virtual TunnelTableIdentifier seenIdsTableId() const {
      return TunnelTableIdentifier::invalidTable;
   }
   virtual bool tableHolds( TunnelId ) const { return false; }
   virtual std::size_t tableSize() const { return 0; }
   virtual void forEachTableId( const std::function< void( TunnelId ) > & ) const {}
   // seenTunnelIdIs for an id the reactor just found in its table, reported
   // with its own identifier: nothing to look up again.
   void seenInTableIs( TunnelId id ) {
      seenTunnelId_.unseen_.erase( id );
      seenTunnelId_.extra_.erase( id );
   }

 private:
   TableEntrySm * tableEntrySm_;
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities_;
   Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId_;
   SeenTunnelIds seenTunnelId_{ *this };
   Vel::PtrConst< Mirra::CollectionControl > tableEntryControl_;
   Vel::Reactor tableEntryControlReactor_;
   Vel::PtrConst< Gr::TunnelGrContext > tunnelGrContext_;
   Vel::Reactor tunnelGrContextReactor_;
};

} // namespace Tunnel::TunnelTable
