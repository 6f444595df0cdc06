#include "fib/ViaAndTunnelInfo.h"

#include "platform/vel/ValueText.h"

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

std::optional< ViaAndTunnelInfo > ViaAndTunnelInfo::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::TunnelTable::ViaAndTunnelInfo" );
   auto via = reader.field( "via", Via::parse );
   auto type = reader.field( "type", TunnelFib::encapTypeFromString );
   auto labelStack = reader.field( "labelStack", Korvo::MplsLabelOperation::parse );
   auto ipsecGre = reader.field( "ipsecGreTunnelInfo", IpsecGreTunnelInfo::parse );
   auto ipsecVti = reader.field( "ipsecVtiTunnelInfo", IpsecVtiTunnelInfo::parse );
   auto gre = reader.field( "greTunnelInfo", GreTunnelInfo::parse );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   ViaAndTunnelInfo info( std::move( *via ), *type );
   info.labelStackIs( *labelStack );
   info.ipsecGreTunnelInfoIs( *ipsecGre );
   info.ipsecVtiTunnelInfoIs( *ipsecVti );
   info.greTunnelInfoIs( *gre );
   return info;
}

} // namespace Tunnel::TunnelTable
