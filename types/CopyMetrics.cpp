#include "types/CopyMetrics.h"

#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"
#include "types/IgpCostPref.h"

namespace Tunnel::TunnelTable {

void copyMetrics( const TunnelId & tunnelId, TunnelRibEntry & ribEntry,
                  const IgpTunnelTableEntryBase & igpEntry ) {
   VEL_TRACE_AS( "void Tunnel::TunnelTable::copyMetrics(const Tunnel::TunnelTable::TunnelId&, "
                 "Tunnel::TunnelTable::TunnelRibEntry&, "
                 "const Tunnel::TunnelTable::IgpTunnelTableEntryBase&)",
                 8, " updating id: ", tunnelId, ", m: ", igpEntry.m(), ", m2: ", igpEntry.m2(),
                 ", p: ", igpEntry.p(), ", p2: ", igpEntry.p2() );
   ribEntry.mIs( igpEntry.m() );
   ribEntry.m2Is( igpEntry.m2() );
   ribEntry.p2Is( igpEntry.p2() );
}

void copyMetrics( const TunnelId & tunnelId, TunnelRibEntry & ribEntry,
                  const EncapsulatedTableEntry & entry, const TunnelRibConfig & config ) {
   VEL_TRACE( 8, " id: ", tunnelId );
   switch ( tunnelId.tunnelType() ) {
    case TunnelType::bgpLuTunnel: {
      const BgpLuTunnelTableEntry & ent = entry.bgpLuEntry();
      VEL_ASSERT( !!ent && ent.contribution() == BgpLuContribution::contributing,
                  "!!ent && ent.contribution() == contributing()" );
      VEL_TRACE_AS( "void Tunnel::TunnelTable::copyMetrics(const Tunnel::TunnelTable::TunnelId&, "
                 "Tunnel::TunnelTable::TunnelRibEntry&, "
                 "const Tunnel::TunnelTable::IgpTunnelTableEntryBase&)",
                 8, " updating id: ", tunnelId, ", m: ", ent.m(), ", mt: ", ent.metricType(),
                 ", m2: ", ent.m2(), ", p2: ", ent.p2() );
      ribEntry.mIs( ent.m() );
      ribEntry.metricTypeIs( ent.metricType() );
      ribEntry.m2Is( ent.m2() );
      ribEntry.p2Is( ent.p2() );
      break;
    }
    case TunnelType::ldpTunnel:
      copyMetrics( tunnelId, ribEntry, entry.ldpEntry() );
      break;
    case TunnelType::srTunnel:
    case TunnelType::ospfSrTunnel:
      copyMetrics( tunnelId, ribEntry, entry.srEntry() );
      break;
    case TunnelType::nexthopGroupTunnel:
      ribEntry.mIs( entry.nexthopGroupEntry().metric() );
      break;
    case TunnelType::srTePolicyTunnel:
      ribEntry.mIs( entry.srTePolicyEntry().metric() );
      break;
    default:
      break;
   }
   ribEntry.igpCostPrefIs( getIgpCostPref( tunnelId, entry, config ) );
}

} // namespace Tunnel::TunnelTable
