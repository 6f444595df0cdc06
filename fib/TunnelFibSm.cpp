#include "fib/TunnelFibSm.h"

namespace Tunnel::TunnelTable {

// Placeholder while the machine is written: it adopts the FIB and does
// nothing else.
TunnelFibSm::TunnelFibSm( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                          Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                          Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                          Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                          Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                          Vel::Ptr< Mox::TaskScheduler > scheduler )
      : tunnelFib_( std::move( tunnelFib ) ),
        unprogrammableTunnelId_( std::move( unprogrammableTunnelId ) ),
        mplsTunnelConfig_( std::move( mplsTunnelConfig ) ),
        tunnelFibGrStatus_( std::move( tunnelFibGrStatus ) ),
        tunnelTableEntities_( std::move( tunnelTableEntities ) ),
        scheduler_( std::move( scheduler ) ) {
   tunnelFibWriter_ = tunnelFibWriterFactory( tunnelFib_ );
}

TunnelFibSm::~TunnelFibSm() = default;

void TunnelFibSm::dumpState( Mox::DumpContext & ctx, unsigned indent ) const {
   ctx.printf( "%*cTunnelFibSm\n", int( indent ), ' ' );
}

Vel::Ptr< TunnelFibSm > tunnelFibSmFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                                            Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                                            Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                                            Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                                            Vel::Ptr< Mox::TaskScheduler > scheduler ) {
   return Vel::make< TunnelFibSm >( std::move( tunnelFib ), std::move( unprogrammableTunnelId ),
                                    std::move( mplsTunnelConfig ), std::move( tunnelFibGrStatus ),
                                    std::move( tunnelTableEntities ), std::move( scheduler ) );
}

} // namespace Tunnel::TunnelTable
