#include "types/EncapId.h"

#include <array>

#include "platform/vel/ValueText.h"

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
   if ( name.starts_with( "type" ) ) {
      if ( auto value = Vel::parseNumber< std::uint8_t >( name.substr( 4 ) ) ) {
         return EncapType( *value );
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
   auto index = Vel::parseNumber< std::uint32_t >( text.substr( colon + 1 ) );
   if ( !type || std::uint32_t( *type ) > ( ~0u >> typeShift ) || !index || *index > indexMask ) {
      return std::nullopt;
   }
   return encapValueIs( *type, *index );
}

} // namespace Tunnel::TunnelFib
