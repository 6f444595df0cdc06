#include "platform/korvo/IntfId.h"

#include <cctype>
#include <charconv>
#include <cstdio>
#include <mutex>
#include <unordered_set>

#include "platform/vel/Assert.h"

namespace Korvo {

namespace {

// A decimal or "0x" hexadecimal number that fills the whole text.
std::optional< std::uint64_t > parseNumber( std::string_view text ) {
   int base = 10;
   if ( text.starts_with( "0x" ) ) {
      text.remove_prefix( 2 );
      base = 16;
   }
   std::uint64_t value = 0;
   const char * end = text.data() + text.size();
   auto [ ptr, ec ] = std::from_chars( text.data(), end, value, base );
   if ( text.empty() || ec != std::errc() || ptr != end ) {
      return std::nullopt;
   }
   return value;
}

bool isOrdinaryName( std::string_view text ) {
   if ( text.empty() || !std::isalpha( static_cast< unsigned char >( text.front() ) ) ) {
      return false;
   }
   for ( char c : text ) {
      if ( !std::isalnum( static_cast< unsigned char >( c ) ) && c != '/' && c != '.' &&
           c != '-' && c != '_' && c != ':' ) {
         return false;
      }
   }
   return true;
}

} // namespace

IntfId IntfId::ordinary( std::string_view name ) {
   std::optional< IntfId > intf = parse( name );
   VEL_ASSERT( intf && intf->kind() == Kind::ordinary, "Not an ordinary interface name" );
   return *intf;
}

IntfId IntfId::dynamicTunnel( std::uint64_t tunnelIdValue ) {
   return IntfId( Kind::dynamicTunnel, tunnelIdValue );
}

IntfId IntfId::nexthopGroup( std::uint64_t nexthopGroupId ) {
   return IntfId( Kind::nexthopGroup, nexthopGroupId );
}

std::optional< IntfId > IntfId::parse( std::string_view text ) {
   if ( text.empty() ) {
      return IntfId();
   }
   for ( auto [ prefix, kind ] : { std::pair( dynamicTunnelPrefix, Kind::dynamicTunnel ),
                                   std::pair( nexthopGroupPrefix, Kind::nexthopGroup ) } ) {
      if ( text.starts_with( prefix ) ) {
         std::optional< std::uint64_t > value = parseNumber( text.substr( prefix.size() ) );
         if ( !value ) {
            return std::nullopt;
         }
         return IntfId( kind, *value );
      }
   }
   if ( !isOrdinaryName( text ) ) {
      return std::nullopt;
   }
   return IntfId( Kind::ordinary, reinterpret_cast< std::uintptr_t >( intern( text ) ) );
}

std::uint64_t IntfId::tunnelIdValue() const {
   VEL_ASSERT( kind_ == Kind::dynamicTunnel, "Not a dynamic tunnel interface" );
   return word();
}

std::uint64_t IntfId::nexthopGroupId() const {
   VEL_ASSERT( kind_ == Kind::nexthopGroup, "Not a nexthop-group interface" );
   return word();
}

std::string IntfId::stringValue() const {
   switch ( kind_ ) {
   case Kind::empty:
      return {};
   case Kind::ordinary:
      return *interned();
   case Kind::dynamicTunnel: {
      char hex[ 24 ];
      std::snprintf( hex, sizeof hex, "0x%llx", static_cast< unsigned long long >( word() ) );
      return std::string( dynamicTunnelPrefix ) + hex;
   }
   case Kind::nexthopGroup:
      return std::string( nexthopGroupPrefix ) + std::to_string( word() );
   }
   return {};
}

const std::string * IntfId::intern( std::string_view name ) {
   if ( name.empty() ) {
      return noName();
   }
   // Never freed, so a pointer stays valid as long as any id can hold it;
   // the lock keeps agents on several threads apart.
   struct NameHash {
      using is_transparent = void;
      std::size_t operator()( std::string_view text ) const noexcept {
         return std::hash< std::string_view >{}( text );
      }
   };
   static std::mutex lock;
   static std::unordered_set< std::string, NameHash, std::equal_to<> > names;
   const std::lock_guard< std::mutex > guard( lock );
   auto found = names.find( name );
   if ( found == names.end() ) {
      found = names.emplace( name ).first;
   }
   return &*found;
}

std::size_t IntfId::hash() const noexcept {
   // The number of an ordinary interface counts as zero.
   const std::uint64_t value = kind_ == Kind::ordinary ? 0 : word();
   std::size_t h = std::hash< std::string >{}( name() );
   h ^= std::hash< std::uint64_t >{}( value ) + 0x9e3779b97f4a7c15ull + ( h << 6 ) + ( h >> 2 );
   return h * 31 + static_cast< std::size_t >( kind_ );
}

} // namespace Korvo
