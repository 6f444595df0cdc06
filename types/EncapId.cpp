#include "types/EncapId.h"

#include <array>
#include <charconv>

namespace Tunnel::TunnelFib {

namespace {

constexpr std::array< std::string_view, 6 > encapTypeNames = {
   "invalid", "gre", "ipsecVti", "ipsecGre", "mpls", "reserved" };

} // namespace

std::string stringValue( EncapType type ) {
   auto value = static_cast< std::size_t >( type );
   if ( value < encapTypeNames.size() ) {
      return std::string( encapTypeNames[ value ] );
   }
   return "type" + std::to_string( value );
}

std::optional< EncapType > encapTypeFromString( std::string_view name ) {
   for ( std::size_t i = 0; i < encapTypeNames.size(); ++i ) {
      if ( encapTypeNames[ i ] == name ) {
         return EncapType( i );
      }
   }
   return std::nullopt;
}

std::ostream & operator<<( std::ostream & os, EncapType type ) {
   return os << stringValue( type );
}

std::string EncapId::stringValue() const {
   return TunnelFib::stringValue( encapType() ) + ":" + std::to_string( index() );
}

std::optional< EncapId > EncapId::parse( std::string_view text ) {
   auto colon = text.find( ':' );
   if ( colon == std::string_view::npos ) {
      return std::nullopt;
   }
   auto type = encapTypeFromString( text.substr( 0, colon ) );
   std::string_view digits = text.substr( colon + 1 );
   std::uint32_t index = 0;
   const char * end = digits.data() + digits.size();
   auto [ ptr, ec ] = std::from_chars( digits.data(), end, index );
   if ( !type || digits.empty() || ec != std::errc() || ptr != end || index > indexMask ) {
      return std::nullopt;
   }
   return encapValueIs( *type, index );
}

} // namespace Tunnel::TunnelFib
