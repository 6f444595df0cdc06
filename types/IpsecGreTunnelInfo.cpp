#include "types/IpsecGreTunnelInfo.h"

#include "platform/vel/ValueText.h"

namespace Tunnel {

std::string IpsecGreTunnelInfo::stringValue() const {
   return "Value('Tunnel::IpsecGreTunnelInfo', ** {'gre': " + gre_.stringValue() +
          ", 'ipsecProfile': " + Vel::quotedText( ipsecProfile_ ) + "})";
}

std::optional< IpsecGreTunnelInfo > IpsecGreTunnelInfo::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::IpsecGreTunnelInfo" );
   auto gre = reader.field( "gre", GreTunnelInfo::parse );
   auto ipsecProfile = reader.field( "ipsecProfile", Vel::unquotedText );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return IpsecGreTunnelInfo( *gre, std::move( *ipsecProfile ) );
}

} // namespace Tunnel
