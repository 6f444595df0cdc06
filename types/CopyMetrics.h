#pragma once

#include "types/EncapsulatedTableEntry.h"
#include "types/IgpTunnelTableEntryBase.h"
#include "types/TunnelId.h"
#include "types/TunnelRibConfig.h"
#include "types/TunnelRibEntry.h"

namespace Tunnel::TunnelTable {

// Copies m, m2 and p2 of an IGP entry into the RIB entry; p is traced only,
// since a RIB entry carries no first preference.
void copyMetrics( const TunnelId & tunnelId, TunnelRibEntry & ribEntry,
                  const IgpTunnelTableEntryBase & igpEntry );

// Copies the metrics of the entry's kind into the RIB entry, then its
// IGP-cost preference as the RIB's configuration maps it. A BGP-LU entry must
// be present and contributing.
void copyMetrics( const TunnelId & tunnelId, TunnelRibEntry & ribEntry,
                  const EncapsulatedTableEntry & entry, const TunnelRibConfig & config );

} // namespace Tunnel::TunnelTable
