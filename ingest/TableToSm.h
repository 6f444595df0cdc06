#pragma once

#include "ingest/ProtocolTunnelSm.h"
#include "ingest/TunnelTableEntities.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelTableBase.h"

namespace Tunnel::TunnelTable {

class TableEntrySm;

// The protocol reactor for a mounted table, by the table's tunnel-type code
// (and, for the static interface tables, by its name); null when the table
// is not of the type its code promises. A code without a reactor is the
// assertion "Unhandled table type".
Vel::Ptr< ProtocolTunnelSm > tableToSm( const Vel::String & name,
                                        Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                        Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId,
                                        const Vel::PtrConst< TunnelTableBase > & table,
                                        TableEntrySm * tableEntrySm );

} // namespace Tunnel::TunnelTable
