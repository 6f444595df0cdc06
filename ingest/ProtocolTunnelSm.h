#pragma once

#include "ingest/TunnelTableEntities.h"
#include "platform/mirra/CollectionControl.h"
#include "platform/vel/Collection.h"
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
   // Kept in a hash map, one per reactor and table: kickSeenIds sorts the ids
   // it reports.
   using SeenTunnelIdColl =
      Vel::Collection< TunnelId, TunnelTableIdentifier, TunnelIdHashMap< TunnelTableIdentifier > >;

   // Not counted: the owner owns this reactor.
   TableEntrySm * tableEntrySm() const noexcept { return tableEntrySm_; }
   const Vel::PtrConst< TunnelTableEntities > & tunnelTableEntities() const noexcept {
      return tunnelTableEntities_;
   }
   const Vel::PtrConst< TunnelIdColl > & unprogrammableTunnelId() const noexcept {
      return unprogrammableTunnelId_;
   }

   const SeenTunnelIdColl & seenTunnelId() const noexcept { return seenTunnelId_; }
   void seenTunnelIdIs( TunnelId id, TunnelTableIdentifier tableId ) {
      seenTunnelId_.set( id, tableId );
   }
   void seenTunnelIdDel( TunnelId id ) { seenTunnelId_.del( id ); }
   void seenTunnelIdDelAll() { seenTunnelId_.delAll(); }

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

 private:
   TableEntrySm * tableEntrySm_;
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities_;
   Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId_;
   SeenTunnelIdColl seenTunnelId_;
   Vel::PtrConst< Mirra::CollectionControl > tableEntryControl_;
   Vel::Reactor tableEntryControlReactor_;
   Vel::PtrConst< Gr::TunnelGrContext > tunnelGrContext_;
   Vel::Reactor tunnelGrContextReactor_;
};

} // namespace Tunnel::TunnelTable
