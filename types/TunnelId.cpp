#include "types/TunnelId.h"

#include <charconv>

#include "platform/vel/Assert.h"
#include "platform/vel/RangeException.h"

namespace Tunnel::TunnelTable {

namespace {

// The table of each type value 0-22; -1 marks a type without a table.
constexpr int tableOfType[] = { 0, 2, 1, 3, -1, 9, 15, 7, 11, -1, -1, 10,
                                16, 8, 17, -1, 6, 4, 18, -1, 5, 19, 20 };

std::optional< std::uint64_t > parseNumber( std::string_view text ) {
   int base = 10;
   if ( text.size() > 2 && text[ 0 ] == '0' && ( text[ 1 ] == 'x' || text[ 1 ] == 'X' ) ) {
      text.remove_prefix( 2 );
      base = 16;
   }
   std::uint64_t value = 0;
   auto [ end, ec ] = std::from_chars( text.data(), text.data() + text.size(), value, base );
   if ( text.empty() || ec != std::errc{} || end != text.data() + text.size() ) {
      return std::nullopt;
   }
   return value;
}

} // namespace

TunnelId::TunnelId( std::uint64_t value ) : value_( value ) {
   if ( value > maxValue ) {
      throw Vel::RangeException(
         "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed" );
   }
}

TunnelId::TunnelId( TunnelType type, std::uint64_t index )
      : TunnelId( ( static_cast< std::uint64_t >( type ) << typeShift ) |
                  ( index & maxIndex ) ) {
   if ( index > maxIndex ) {
      throw Vel::RangeException(
         "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed" );
   }
}

std::optional< TunnelId > TunnelId::parse( std::string_view text ) {
   auto colon = text.find( ':' );
   if ( colon == std::string_view::npos ) {
      auto value = parseNumber( text );
      if ( !value || *value > maxValue ) {
         return std::nullopt;
      }
      return TunnelId( *value );
   }
   auto type = tunnelTypeFromString( text.substr( 0, colon ) );
   auto index = parseNumber( text.substr( colon + 1 ) );
   if ( !type || !index || *index > maxIndex ) {
      return std::nullopt;
   }
   return TunnelId( *type, *index );
}

TunnelTableIdentifier TunnelId::tableType() const {
   auto type = static_cast< std::uint64_t >( tunnelType() );
   VEL_ASSERT( isTunnelType( static_cast< std::uint32_t >( type ) ), "Unknown tunnel type used" );
   int table = type < std::size( tableOfType ) ? tableOfType[ type ] : -1;
   VEL_ASSERT( table >= 0, "false && \"No tunnel table identifier for type\"" );
   return static_cast< TunnelTableIdentifier >( table );
}

bool TunnelId::supportsEntropyLabelPush() const noexcept {
   switch ( tunnelType() ) {
   case TunnelType::ldpTunnel:
   case TunnelType::staticTunnel:
   case TunnelType::srTunnel:
   case TunnelType::ospfSrTunnel:
   case TunnelType::srTeSegmentListTunnel:
   case TunnelType::rsvpFrrTunnel:
   case TunnelType::rsvpFrrBackupTunnel:
      return true;
   default:
      return false;
   }
}

std::uint32_t TunnelId::hash() const noexcept {
   std::uint32_t h = 0;
   for ( unsigned byte = 0; byte < 8; ++byte ) {
      h += static_cast< std::uint8_t >( value_ >> ( 8 * byte ) );
      h += h << 10;
      h ^= h >> 6;
   }
   h += h << 3;
   h ^= h >> 11;
   h += h << 15;
   return h;
}

std::string TunnelId::stringValue() const {
   return Tunnel::TunnelTable::stringValue( tunnelType() ) + ":" + std::to_string( index() );
}

} // namespace Tunnel::TunnelTable
