#include "ingest/LdpTunnelSm.h"

#include "ingest/ProtocolTunnelGr.h"

namespace Tunnel::TunnelTable {

void LdpTunnelSm::initializeGrAttrs() { initializeGrAttributes( *this ); }

void LdpTunnelSm::propagateQuiescedNotification() { propagateQuiesced( *this ); }

} // namespace Tunnel::TunnelTable
