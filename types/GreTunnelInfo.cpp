#include "types/GreTunnelInfo.h"

#include "platform/vel/ValueText.h"

namespace Tunnel {

std::string GreTunnelInfo::stringValue() const {
   return "Value('Tunnel::GreTunnelInfo', ** {'src': " + src_.stringValue() +
          ", 'dst': " + dst_.stringValue() + ", 'ttl': " + std::to_string( ttl_ ) +
          ", 'tos': " + std::to_string( tos_ ) + "})";
}

std::optional< GreTunnelInfo > GreTunnelInfo::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::GreTunnelInfo" );
   auto src = reader.field( "src", Korvo::IpGenAddr::parse );
   auto dst = reader.field( "dst", Korvo::IpGenAddr::parse );
   auto ttl = reader.field( "ttl", Vel::parseNumber< std::uint8_t > );
   auto tos = reader.field( "tos", Vel::parseNumber< std::uint8_t > );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return GreTunnelInfo( *src, *dst, *ttl, *tos );
}

} // namespace Tunnel
