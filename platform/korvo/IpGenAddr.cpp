#include "platform/korvo/IpGenAddr.h"

#include <arpa/inet.h>

#include <cstring>

namespace Korvo {

IpGenAddr IpGenAddr::ipv4( std::uint32_t hostOrder ) {
   IpGenAddr a;
   a.family_ = AddressFamily::ipv4;
   for ( int i = 0; i < 4; ++i ) {
      a.bytes_[ i ] = static_cast< std::uint8_t >( hostOrder >> ( 24 - 8 * i ) );
   }
   return a;
}

IpGenAddr IpGenAddr::ipv6( const std::array< std::uint8_t, 16 > & bytes ) {
   IpGenAddr a;
   a.family_ = AddressFamily::ipv6;
   a.bytes_ = bytes;
   return a;
}

std::optional< IpGenAddr > IpGenAddr::parse( std::string_view text ) {
   if ( text.empty() ) {
      return IpGenAddr();
   }
   std::string s( text );
   IpGenAddr a;
   if ( s.find( ':' ) == std::string::npos ) {
      if ( inet_pton( AF_INET, s.c_str(), a.bytes_.data() ) != 1 ) {
         return std::nullopt;
      }
      a.family_ = AddressFamily::ipv4;
   } else {
      if ( inet_pton( AF_INET6, s.c_str(), a.bytes_.data() ) != 1 ) {
         return std::nullopt;
      }
      a.family_ = AddressFamily::ipv6;
   }
   return a;
}

IpGenAddr IpGenAddr::masked( unsigned length ) const noexcept {
   IpGenAddr a = *this;
   for ( unsigned byte = 0; byte < 16; ++byte ) {
      unsigned first = byte * 8;
      if ( first >= length ) {
         a.bytes_[ byte ] = 0;
      } else if ( first + 8 > length ) {
         a.bytes_[ byte ] &= static_cast< std::uint8_t >( 0xFF << ( first + 8 - length ) );
      }
   }
   return a;
}

std::string IpGenAddr::stringValue() const {
   char buffer[ INET6_ADDRSTRLEN ] = {};
   switch ( family_ ) {
   case AddressFamily::ipv4:
      inet_ntop( AF_INET, bytes_.data(), buffer, sizeof buffer );
      return buffer;
   case AddressFamily::ipv6:
      inet_ntop( AF_INET6, bytes_.data(), buffer, sizeof buffer );
      return buffer;
   case AddressFamily::none:
      break;
   }
   return {};
}

std::size_t IpGenAddr::hash() const noexcept {
   std::uint64_t h = 1469598103934665603ull ^ static_cast< std::uint8_t >( family_ );
   for ( auto b : bytes_ ) {
      h = ( h ^ b ) * 1099511628211ull;
   }
   return static_cast< std::size_t >( h );
}

} // namespace Korvo
