#pragma once

#include "platform/vel/Clock.h"
#include "rib/TunnelRibBuilderSmBase.h"
#include "types/BgpLuConvergence.h"
#include "types/TunnelConvergence.h"
#include "types/TunnelRib.h"

namespace Tunnel::TunnelTable {

// The builder of an uncolored tunnel RIB (the system tunnel RIB among them),
// keyed by endpoint prefix. It also owns the RIB's report of convergence with
// BGP-LU, for which it is given the BGP-LU convergence record, the
// convergence output record and the clock it owns.
class TunnelRibBuilderSm final : public TunnelRibBuilderSmBase {
 public:
   // The longest the RIB waits, after BGP-LU converged, before it reports
   // convergence whether it has caught up or not.
   static constexpr double convergenceUpdateWaitMax = 120.0;

   TunnelRibBuilderSm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                       Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                       Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                       Vel::Ptr< TunnelRibBase > tunnelRib,
                       Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                       Vel::Ptr< Mox::TaskScheduler > scheduler,
                       Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                       Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus,
                       Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                       Vel::Ptr< TunnelConvergence > tunnelConvergence,
                       Vel::Ptr< Vel::Clock > clock );
   ~TunnelRibBuilderSm() override;

   const Vel::PtrConst< BgpLuConvergence > & bgpLuConvergence() const noexcept {
      return bgpLuConvergence_;
   }
   const Vel::Ptr< TunnelConvergence > & tunnelConvergence() const noexcept {
      return tunnelConvergence_;
   }
   const Vel::Ptr< Vel::Clock > & clock() const noexcept { return clock_; }
   bool waitingToNotifyConverged() const noexcept { return waitingToNotifyConverged_; }

   // The RIB keyed by prefix; null when the builder was given another kind.
   TunnelRib * tunnelRibRawPtr() const;

   void processTunnelRibReview() override;
   void initTunnelRib() override;

   // --- Convergence with BGP-LU. Once BGP-LU has converged, the RIB reports
   // its sequence number as soon as its backlog is empty and it has seen the
   // BGP-LU table up to the sequence number BGP-LU converged on, and at the
   // latest convergenceUpdateWaitMax seconds later.
   void handleBgpLuConverged();
   // True when the RIB has caught up, which it then reports.
   bool maybeUpdateTunnelRibConvergenceSeqno();
   void updateTunnelRibConvergenceSeqno();
   void tunnelRibConvergenceCallback() override;
   void handleConvergenceUpdateWaitMax();

 private:
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence_;
   Vel::Reactor bgpLuConvergenceReactor_;
   Vel::Ptr< TunnelConvergence > tunnelConvergence_;
   Vel::Ptr< Vel::Clock > clock_;
   Vel::Reactor clockReactor_;
   bool waitingToNotifyConverged_ = false;
};

Vel::Ptr< TunnelRibBuilderSm >
tunnelRibBuilderSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                           Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                           Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                           Vel::Ptr< TunnelRibBase > tunnelRib,
                           Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                           Vel::Ptr< Mox::TaskScheduler > scheduler,
                           Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                           Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus,
                           Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                           Vel::Ptr< TunnelConvergence > tunnelConvergence,
                           Vel::Ptr< Vel::Clock > clock );

} // namespace Tunnel::TunnelTable
