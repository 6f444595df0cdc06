#include "types/ProtocolTunnelRibCollection.h"

namespace Tunnel::TunnelTable {

Vel::Ptr< ProtocolTunnelRibWrapper >
ProtocolTunnelRibCollection::protocolTunnelRibIs( TunnelType type ) {
   if ( auto existing = protocolTunnelRib( type ) ) {
      return existing;
   }
   auto wrapper = Vel::make< ProtocolTunnelRibWrapper >( type );
   protocolTunnelRib_.set( type, wrapper );
   return wrapper;
}

Vel::Ptr< ProtocolTunnelRibCollection > protocolTunnelRibCollectionFactory( Vel::String name ) {
   return Vel::make< ProtocolTunnelRibCollection >( std::move( name ) );
}

} // namespace Tunnel::TunnelTable
