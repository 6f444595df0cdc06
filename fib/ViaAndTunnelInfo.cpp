#include "fib/ViaAndTunnelInfo.h"

namespace Tunnel::TunnelTable {

std::size_t ViaAndTunnelInfo::hash( std::size_t seed ) const noexcept {
   std::size_t h = via_.hash( seed );
   h = h * 31 + static_cast< std::size_t >( type_ );
   h = h * 31 + labelStack_.hash();
   h = ipsecGreTunnelInfo_.hash( h );
   h = ipsecVtiTunnelInfo_.hash( h );
   return greTunnelInfo_.hash( h );
}

std::string ViaAndTunnelInfo::stringValue() const {
   return "Value('Tunnel::TunnelTable::ViaAndTunnelInfo', ** {'via': " + via_.stringValue() +
          ", 'type': " + TunnelFib::stringValue( type_ ) +
          ", 'labelStack': " + labelStack_.stringValue() +
          ", 'ipsecGreTunnelInfo': " + ipsecGreTunnelInfo_.stringValue() +
          ", 'ipsecVtiTunnelInfo': " + ipsecVtiTunnelInfo_.stringValue() +
          ", 'greTunnelInfo': " + greTunnelInfo_.stringValue() + "})";
}

std::optional< ViaAndTunnelInfo > ViaAndTunnelInfo::parse( std::string_view ) {
   return std::nullopt; // TODO(records): parse the string form back
}

} // namespace Tunnel::TunnelTable
