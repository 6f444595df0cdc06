#pragma once

#include "ingest/ProtocolTunnelSmTemplate.h"
#include "types/ProtocolTunnelTable.h"

namespace Tunnel::TunnelTable {

inline constexpr ProtocolTunnelRow ldpTunnelSmRow{
   "LdpTunnelSm", "handleLdpTunnelEntry",
   " ldp tunnel ID ", " ldp",
   TunnelTableIdentifier::ldpTable, true };

// The LDP table's reactor; the one protocol reactor that takes part in
// graceful restart, reporting when its table is quiesced.
class LdpTunnelSm final : public ProtocolTunnelSmTemplate< LdpTunnelTable, ldpTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< LdpTunnelTable > & ldpTable() const noexcept { return table(); }
   void handleLdpTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }

   void initializeGrAttrs() override;
   void propagateQuiescedNotification() override;

 private:
   // A producer may declare its table after the reactor was set up for GR.
   Vel::Reactor tableControlReactor_;
};

inline constexpr auto * ldpTunnelSmFactory = &protocolTunnelSmFactory< LdpTunnelSm >;

} // namespace Tunnel::TunnelTable
