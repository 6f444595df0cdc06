#include "tools/tunnelsim/Agent.h"

#include "platform/mox/DumpContext.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/TunnelRib.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

Agent::Agent()
      : scheduler( Vel::make< Mox::TaskScheduler >() ),
        entityManager( Vel::make< Statix::EntityManager >() ),
        ribConfigDir( Vel::make< TunnelRibConfigDir >() ),
        tableInfo( tunnelTableInfoCollectionFactory() ),
        bgpLuConvergence( Vel::make< BgpLuConvergence >() ),
        tunnelConvergence( Vel::make< TunnelConvergence >() ),
        protocolRibs( protocolTunnelRibCollectionFactory( "protocolTunnelRibs" ) ),
        unprogrammable( tunnelIdCollFactory() ),
        ribNameIdMap( Vel::make< TunnelRibNameIdMap >() ),
        grStatus( Vel::make< Tunnel::Gr::TunnelRibGrStatusContainer >(
           Vel::make< Tunnel::Gr::TunnelGrContext >() ) ) {
   // The system RIB keeps, per type that can enter a RIB, the best tunnels of
   // that type alone; the agent provides those RIBs.
   for ( std::uint32_t value = 0; value <= maxTunnelTypeValue; ++value ) {
      auto type = static_cast< TunnelType >( value );
      if ( isTunnelType( value ) && contributeToTunnelRib( type ) ) {
         protocolRibs->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
   }
}

Agent::~Agent() { stop(); }

void Agent::start() {
   ribConfigDirSm_ = tunnelRibConfigDirSmFactory(
      bgpLuConvergence, tunnelConvergence, ribConfigDir, tableInfo, entityManager, protocolRibs,
      unprogrammable, ribNameIdMap, scheduler, grStatus );
}

void Agent::stop() { ribConfigDirSm_ = nullptr; }

void Agent::restart() {
   stop();
   start();
}

std::string Agent::dump() const {
   if ( !ribConfigDirSm_ ) {
      return "(the agent's machines are stopped)\n";
   }
   Mox::DumpContext context;
   ribConfigDirSm_->dumpState( context, 0 );
   return context.text();
}

} // namespace TunnelSim
