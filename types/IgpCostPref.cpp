#include "types/IgpCostPref.h"

namespace Tunnel::TunnelTable {

// Until the configured mapping is applied, every RIB keeps the entry's own
// value.
std::uint32_t getIgpCostPref( const TunnelId &, const EncapsulatedTableEntry & entry,
                              const TunnelRibConfig & ) {
   return entry.igpCostPref();
}

} // namespace Tunnel::TunnelTable
