#pragma once

#include "ingest/TunnelTableEntities.h"
#include "ingest/TunnelTableTypeFilter.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "types/TunnelTableInfoCollection.h"

namespace Tunnel::TunnelTable {

// Keeps one tunnel RIB's TunnelTableEntities holding exactly the protocol
// tables that are both described in the table descriptions and named by the
// RIB's table filter, whichever of the two changes.
class TunnelTablesMountSm : public Vel::PtrInterface {
 public:
   TunnelTablesMountSm( Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                        Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
                        Vel::Ptr< Statix::EntityManager > entityManager,
                        Vel::Ptr< TunnelTableEntities > tunnelTableEntities );

   const Vel::PtrConst< TunnelTableInfoCollection > & tunnelTableInfoColl() const noexcept {
      return tunnelTableInfoColl_;
   }
   const Vel::PtrConst< TunnelTableTypeFilter > & tableTypeFilter() const noexcept {
      return tableTypeFilter_;
   }
   const Vel::Ptr< Statix::EntityManager > & entityManager() const noexcept {
      return entityManager_;
   }
   const Vel::Ptr< TunnelTableEntities > & tunnelTableEntities() const noexcept {
      return tunnelTableEntities_;
   }

   // A description changed: mount and file the table, or delete it.
   void handleTunnelTable( const Vel::String & name );
   // Rebuilds the entities from every description.
   void handleTunnelTable();
   // The filter changed for one name.
   void handleTableTypeFilterTable( const Vel::String & name );
   void handleTableTypeFilterTable();

 private:
   void handleInitialized();

   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl_;
   Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter_;
   Vel::Ptr< Statix::EntityManager > entityManager_;
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities_;
   Vel::Reactor tableInfoReactor_;
   Vel::Reactor tableTypeFilterReactor_;
};

Vel::Ptr< TunnelTablesMountSm >
tunnelTablesMountSmFactory( Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                            Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
                            Vel::Ptr< Statix::EntityManager > entityManager,
                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities );

} // namespace Tunnel::TunnelTable
