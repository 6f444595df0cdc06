// A program that embeds the tunnel agent: it plays an LDP producer with one
// tunnel, configures the system tunnel RIB, runs the machines and reads which
// tunnel reaches the endpoint and what the tunnel FIB programs for it.
#include <iostream>

#include "agent/TunnelAgent.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelRib.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;

int main() {
   Tunnel::TunnelAgent agent;

   // The LDP producer describes its table and publishes a tunnel to PE2.
   agent.tableInfo->tableInfoIs( "ldp", TunnelTableMounter::tableInfo( "ldp" ) );
   const TunnelId id( TunnelType::ldpTunnel, 1 );
   LdpTunnelTable::EntryType entry( id, getDefaultPrefForType( TunnelType::ldpTunnel ) );
   entry.endpointAdd( *Korvo::IpGenPrefix::parse( "10.0.0.2/32" ) );
   entry.mplsViaAdd( MplsVia( Via( *Korvo::IpGenAddr::parse( "10.1.1.2" ),
                                   *Korvo::IntfId::parse( "Ethernet1" ) ),
                              *Korvo::MplsLabelOperation::parse( "push [24002]" ) ) );
   agent.producerTable< LdpTunnelTable >()->entryIs( id, entry );

   // The system tunnel RIB takes LDP tunnels.
   auto config = agent.ribConfigDir->tunnelRibConfigIs( TunnelRibNameIdMap::systemTunnelRibName );
   config->entryIs( TunnelTableIdentifier::ldpTable );

   agent.start();
   agent.scheduler->runUntilIdle();

   auto rib = agent.entityManager->lookup< TunnelRib >(
      TunnelRibConfigDirSm::statusPath( TunnelRibId::systemTunnelRib ) );
   const auto * found = rib ? rib->entry().find( *Korvo::IpGenPrefix::parse( "10.0.0.2/32" ) ) : nullptr;
   const auto * programmed = agent.tunnelFib->entryFind( id );
   if ( !found || !programmed ) {
      std::cerr << "embed: the tunnel did not reach the RIB and the FIB\n";
      return 1;
   }
   std::cout << "10.0.0.2/32 via " << found->tunnelId( 0 ) << "; FIB: " << *programmed << "\n";
   return 0;
}
