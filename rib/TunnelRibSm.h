#pragma once

#include "platform/mox/DumpContext.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "types/BgpLuConvergence.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelConvergence.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelRib.h"
#include "types/TunnelRibConfig.h"
#include "types/TunnelRibGrStatus.h"
#include "types/TunnelTableInfoCollection.h"
#include "ingest/TunnelTableEntities.h"
#include "ingest/TunnelTableTypeFilter.h"
#include "ingest/TunnelTablesMountSm.h"
#include "rib/PreferenceMapperSm.h"
#include "rib/TunnelRibBuilderSmBase.h"
#include "rib/TunnelTableEntryFilter.h"

namespace Tunnel::TunnelTable {

// Owns everything that works for one configured tunnel RIB, and keeps the
// RIB's table-type filter in step with its configuration.
class TunnelRibSm : public Vel::PtrInterface {
 public:
   TunnelRibSm( Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                Vel::Ptr< Statix::EntityManager > entityManager,
                Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                Vel::Ptr< TunnelRibBase > tunnelRib,
                Vel::Ptr< TunnelConvergence > tunnelConvergence,
                Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                Vel::Ptr< Mox::TaskScheduler > scheduler,
                Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus );
   ~TunnelRibSm() override;

   void handleInitialized();
   void handleRibConfig();
   void handleRibConfig( TunnelTableIdentifier id );

   void tableTypeFilterIs();
   void tableTypeFilterDel();
   void tunnelTableEntitiesIs( Vel::Ptr< TunnelTableEntities > entities );
   void tunnelTableEntitiesDel();
   void tunnelTablesMountSmIs( Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                               Vel::PtrConst< TunnelTableTypeFilter > tableTypeFilter,
                               Vel::Ptr< Statix::EntityManager > entityManager,
                               Vel::Ptr< TunnelTableEntities > tunnelTableEntities );
   void tunnelTablesMountSmDel();
   void tableEntryFilterIs();
   void tableEntryFilterDel();
   void preferenceMapperSmIs( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                              Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                              Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                              Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                              TunnelRibId tunnelRibId );
   void preferenceMapperSmDel();
   // The colored builder for a colored RIB, the uncolored one otherwise.
   void tunnelRibBuilderSmIs();
   void tunnelRibBuilderSmDel();

   void dumpState( Mox::DumpContext & ctx, int indent ) const;

   const Vel::PtrConst< TunnelRibConfig > & tunnelRibConfig() const noexcept {
      return tunnelRibConfig_;
   }
   const Vel::Ptr< TunnelRibBase > & tunnelRib() const noexcept { return tunnelRib_; }
   const Vel::Ptr< ProtocolTunnelRibCollection > & protoTunnelRibColl() const noexcept {
      return protoTunnelRibColl_;
   }
   const Vel::Ptr< Gr::TunnelRibGrStatus > & tunnelRibGrStatus() const noexcept {
      return tunnelRibGrStatus_;
   }
   const Vel::Ptr< TunnelTableEntities > & tunnelTableEntities() const noexcept {
      return tunnelTableEntities_;
   }
   const Vel::Ptr< TunnelTableTypeFilter > & tableTypeFilter() const noexcept {
      return tableTypeFilter_;
   }
   const Vel::Ptr< TunnelTablesMountSm > & tunnelTablesMountSm() const noexcept {
      return tunnelTablesMountSm_;
   }
   const Vel::Ptr< TunnelTableEntryFilter > & tableEntryFilter() const noexcept {
      return tableEntryFilter_;
   }
   const Vel::Ptr< PreferenceMapperSm > & preferenceMapperSm() const noexcept {
      return preferenceMapperSm_;
   }
   const Vel::Ptr< TunnelRibBuilderSmBase > & tunnelRibBuilderSm() const noexcept {
      return tunnelRibBuilderSm_;
   }

 private:
   // Given at construction, never changed.
   Vel::PtrConst< TunnelRibConfig > tunnelRibConfig_;
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl_;
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence_;
   Vel::Ptr< Statix::EntityManager > entityManager_;
   Vel::PtrConst< TunnelIdColl > tunnelIdColl_;
   Vel::Ptr< TunnelRibBase > tunnelRib_;
   Vel::Ptr< TunnelConvergence > tunnelConvergence_;
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl_;
   Vel::Ptr< Mox::TaskScheduler > scheduler_;
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus_;
   // Owned parts, in the order they are built.
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities_;
   Vel::Ptr< TunnelTableTypeFilter > tableTypeFilter_;
   Vel::Ptr< TunnelTablesMountSm > tunnelTablesMountSm_;
   Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter_;
   Vel::Ptr< PreferenceMapperSm > preferenceMapperSm_;
   Vel::Ptr< TunnelRibBuilderSmBase > tunnelRibBuilderSm_;

   Vel::Reactor ribConfigReactor_;
};

Vel::Ptr< TunnelRibSm > tunnelRibSmFactory(
   Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< Statix::EntityManager > entityManager, Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelRibBase > tunnelRib, Vel::Ptr< TunnelConvergence > tunnelConvergence,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus );

} // namespace Tunnel::TunnelTable
