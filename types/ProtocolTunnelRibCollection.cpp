#include "types/ProtocolTunnelRibCollection.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< ProtocolTunnelRibWrapper >
ProtocolTunnelRibCollection::protocolTunnelRibIs( TunnelType type ) {
   if ( auto existing = protocolTunnelRib( type ) ) {
      return existing;
   }
   return protocolTunnelRib_.set( type, Vel::make< ProtocolTunnelRibWrapper >( type ) );
}

Vel::Ptr< ProtocolTunnelRibCollection > protocolTunnelRibCollectionFactory( Vel::String name ) {
   return Vel::make< ProtocolTunnelRibCollection >( std::move( name ) );
}

} // namespace Tunnel::TunnelTable
