#include "types/IpsecVtiTunnelInfo.h"

#include "platform/vel/ValueText.h"

namespace Tunnel {

std::string IpsecVtiTunnelInfo::stringValue() const {
   return "Value('Tunnel::IpsecVtiTunnelInfo', ** {'src': " + src_.stringValue() +
          ", 'dst': " + dst_.stringValue() +
          ", 'ipsecProfile': " + Vel::quotedText( ipsecProfile_ ) + "})";
}

std::optional< IpsecVtiTunnelInfo > IpsecVtiTunnelInfo::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::IpsecVtiTunnelInfo" );
   auto src = reader.field( "src", Korvo::IpGenAddr::parse );
   auto dst = reader.field( "dst", Korvo::IpGenAddr::parse );
   auto ipsecProfile = reader.field( "ipsecProfile", Vel::unquotedText );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return IpsecVtiTunnelInfo( *src, *dst, std::move( *ipsecProfile ) );
}

} // namespace Tunnel
