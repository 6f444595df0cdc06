#pragma once

#include "rib/TunnelRibBuilderSmBase.h"
#include "types/ColoredTunnelRib.h"

namespace Tunnel::TunnelTable {

// The builder of a colored tunnel RIB: one entry per endpoint prefix and
// color. It selects as every builder does and never reports convergence.
class ColoredTunnelRibBuilderSm final : public TunnelRibBuilderSmBase {
 public:
   ColoredTunnelRibBuilderSm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                              Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                              Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                              Vel::Ptr< TunnelRibBase > tunnelRib,
                              Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                              Vel::Ptr< Mox::TaskScheduler > scheduler,
                              Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                              Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus );

   bool isColored() const override { return true; }
   // The RIB keyed by colored endpoint; null when the builder was given
   // another kind.
   ColoredTunnelRib * coloredTunnelRibRawPtr() const;

   void processTunnelRibReview() override;
   void initTunnelRib() override;
};

Vel::Ptr< ColoredTunnelRibBuilderSm >
coloredTunnelRibBuilderSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                  Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                                  Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                                  Vel::Ptr< TunnelRibBase > tunnelRib,
                                  Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                                  Vel::Ptr< Mox::TaskScheduler > scheduler,
                                  Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                                  Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus );

} // namespace Tunnel::TunnelTable
