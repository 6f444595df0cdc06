#include "types/Via.h"

#include "platform/vel/ValueText.h"

namespace Tunnel::TunnelTable {

std::string Via::stringValue() const {
   return "Value('Tunnel::TunnelTable::Via', ** {'hop': " + hop_.stringValue() +
          ", 'intfId': " + intfId_.stringValue() + "})";
}

std::optional< Via > Via::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::TunnelTable::Via" );
   auto hop = reader.field( "hop", Korvo::IpGenAddr::parse );
   auto intfId = reader.field( "intfId", Korvo::IntfId::parse );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return Via( *hop, *intfId );
}

std::size_t Via::hash( std::size_t seed ) const noexcept {
   std::size_t h = seed ^ ( intfId_.hash() + 0x9E3779B97F4A7C15ull );
   return h * 31 + hop_.hash();
}

} // namespace Tunnel::TunnelTable
