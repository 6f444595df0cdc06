#pragma once

#include <string>

#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Ptr.h"
#include "types/BgpLuConvergence.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelConvergence.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelRibConfigDir.h"
#include "types/TunnelRibGrStatusContainer.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableInfo.h"
#include "types/TunnelTableInfoCollection.h"

namespace Tunnel::TunnelTable {
class TunnelRibConfigDirSm;
}

namespace TunnelSim {

// The tunnel agent as a router assembles it: one scheduler on virtual time,
// one entity manager, the shared inputs and outputs, and the configuration
// directory machine over them. The scenario plays the producers' side by
// writing the inputs directly.
class Agent {
 public:
   Agent();
   ~Agent();
   Agent( const Agent & ) = delete;
   Agent & operator=( const Agent & ) = delete;

   // Builds the configuration directory machine over the current inputs.
   void start();
   // Drops the machines; the tables and the RIB outputs stay as they are.
   void stop();
   bool running() const noexcept { return bool( ribConfigDirSm_ ); }
   // A restart of the agent: new machines over the surviving state.
   void restart();

   // The table that producers of Table write, shared with every reader.
   template< class Table >
   Vel::Ptr< Table > producerTable() {
      return entityManager->mount< Table >( Tunnel::TunnelTable::TunnelTableInfo::pathPrefix +
                                            std::string( Table::tableName ) );
   }

   // The machines' state dump.
   std::string dump() const;

   const Vel::Ptr< Mox::TaskScheduler > scheduler;
   const Vel::Ptr< Statix::EntityManager > entityManager;
   const Vel::Ptr< Tunnel::TunnelTable::TunnelRibConfigDir > ribConfigDir;
   const Vel::Ptr< Tunnel::TunnelTable::TunnelTableInfoCollection > tableInfo;
   const Vel::Ptr< Tunnel::TunnelTable::BgpLuConvergence > bgpLuConvergence;
   const Vel::Ptr< Tunnel::TunnelTable::TunnelConvergence > tunnelConvergence;
   const Vel::Ptr< Tunnel::TunnelTable::ProtocolTunnelRibCollection > protocolRibs;
   // The tunnels the tunnel FIB could not program.
   const Vel::Ptr< Tunnel::TunnelTable::TunnelIdColl > unprogrammable;
   const Vel::Ptr< Tunnel::TunnelTable::TunnelRibNameIdMap > ribNameIdMap;
   // The RIBs' graceful-restart status and the context that says whether a
   // restart is tracked (by default it is not).
   const Vel::Ptr< Tunnel::Gr::TunnelRibGrStatusContainer > grStatus;
   // The MPLS tunnel configuration's entropy-label push setting; the tunnel
   // FIB reads it once it is part of the agent.
   bool entropyLabelPush = false;

 private:
   Vel::Ptr< Tunnel::TunnelTable::TunnelRibConfigDirSm > ribConfigDirSm_;
};

} // namespace TunnelSim
