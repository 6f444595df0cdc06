#pragma once

#include <string>

#include "ingest/TunnelTableEntities.h"
#include "ingest/TunnelTableTypeFilter.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Ptr.h"
#include "types/BgpLuConvergence.h"
#include "types/MplsTunnelConfig.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelConvergence.h"
#include "types/TunnelFib.h"
#include "types/TunnelFibGrStatus.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelRibConfigDir.h"
#include "types/TunnelRibGrStatusContainer.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableInfo.h"
#include "types/TunnelTableInfoCollection.h"

namespace Tunnel::TunnelTable {
class TunnelRibConfigDirSm;
class TunnelFibSm;
class TunnelTablesMountSm;
} // namespace Tunnel::TunnelTable

namespace Tunnel {

// The tunnel agent as a router assembles it: one scheduler, one entity
// manager, the shared inputs and outputs, and the two entry machines over
// them: the tunnel RIB configuration directory machine and the tunnel FIB
// machine with its own view of every protocol and interface table. Producers
// write the inputs; the outputs (RIB status tables, the tunnel FIB, the
// unprogrammable tunnels, GR status) outlive the machines, so stop and start
// is a restart over what the previous run left.
class TunnelAgent {
 public:
   struct Options {
      // Without the FIB machine the unprogrammable collection belongs to
      // whoever embeds the agent.
      bool tunnelFib = true;
   };

   TunnelAgent();
   explicit TunnelAgent( Options options );
   ~TunnelAgent();
   TunnelAgent( const TunnelAgent & ) = delete;
   TunnelAgent & operator=( const TunnelAgent & ) = delete;

   // Builds the machines over the current inputs and outputs.
   void start();
   // Drops the machines; inputs and outputs stay as they are.
   void stop();
   bool running() const noexcept;
   void restart();
   bool tunnelFibEnabled() const noexcept { return options_.tunnelFib; }

   // The table that producers of Table write, shared with every reader.
   template< class Table >
   Vel::Ptr< Table > producerTable() {
      return entityManager->mount< Table >( TunnelTable::TunnelTableInfo::pathPrefix +
                                            std::string( Table::tableName ) );
   }

   // The machines' state dump.
   std::string dump() const;

   const Vel::Ptr< Mox::TaskScheduler > scheduler;
   const Vel::Ptr< Statix::EntityManager > entityManager;
   // Inputs.
   const Vel::Ptr< TunnelTable::TunnelRibConfigDir > ribConfigDir;
   const Vel::Ptr< TunnelTable::TunnelTableInfoCollection > tableInfo;
   const Vel::Ptr< TunnelTable::BgpLuConvergence > bgpLuConvergence;
   const Vel::Ptr< MplsTunnelConfig > mplsTunnelConfig;
   // Outputs.
   const Vel::Ptr< TunnelTable::TunnelConvergence > tunnelConvergence;
   const Vel::Ptr< TunnelTable::ProtocolTunnelRibCollection > protocolRibs;
   // The tunnels the tunnel FIB could not program.
   const Vel::Ptr< TunnelTable::TunnelIdColl > unprogrammable;
   const Vel::Ptr< TunnelTable::TunnelRibNameIdMap > ribNameIdMap;
   // The RIBs' graceful-restart status and the context that says whether a
   // restart is tracked (by default it is not).
   const Vel::Ptr< Gr::TunnelRibGrStatusContainer > grStatus;
   const Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus;
   // Mounted at TunnelFib::mountPath.
   const Vel::Ptr< TunnelFib::TunnelFib > tunnelFib;

   // The running machines; null while stopped (the FIB machine also when the
   // FIB is off).
   const Vel::Ptr< TunnelTable::TunnelRibConfigDirSm > & ribConfigDirSm() const noexcept {
      return ribConfigDirSm_;
   }
   const Vel::Ptr< TunnelTable::TunnelFibSm > & tunnelFibSm() const noexcept {
      return tunnelFibSm_;
   }

 private:
   Options options_;
   Vel::Ptr< TunnelTable::TunnelTableTypeFilter > fibTableFilter_;
   Vel::Ptr< TunnelTable::TunnelTableEntities > fibTableEntities_;
   Vel::Ptr< TunnelTable::TunnelTablesMountSm > fibMountSm_;
   Vel::Ptr< TunnelTable::TunnelFibSm > tunnelFibSm_;
   Vel::Ptr< TunnelTable::TunnelRibConfigDirSm > ribConfigDirSm_;
};

} // namespace Tunnel
