#include "platform/korvo/IpGenPrefix.h"

#include <charconv>

#include "platform/vel/Assert.h"

namespace Korvo {

IpGenPrefix::IpGenPrefix( const IpGenAddr & address, unsigned length )
      : address_( address.masked( length ) ), length_( static_cast< std::uint8_t >( length ) ) {
   VEL_ASSERT( length <= 128, "Prefix length beyond 128" );
}

IpGenPrefix::IpGenPrefix( const IpGenAddr & address )
      : address_( address ), length_( static_cast< std::uint8_t >( address.bits() ) ) {}

std::optional< IpGenPrefix > IpGenPrefix::parse( std::string_view text ) {
   auto slash = text.find( '/' );
   auto address = IpGenAddr::parse( text.substr( 0, slash ) );
   if ( !address || address->family() == AddressFamily::none ) {
      return std::nullopt;
   }
   if ( slash == std::string_view::npos ) {
      return IpGenPrefix( *address );
   }
   std::string_view digits = text.substr( slash + 1 );
   unsigned length = 0;
   auto [ end, ec ] = std::from_chars( digits.data(), digits.data() + digits.size(), length );
   if ( digits.empty() || ec != std::errc{} || end != digits.data() + digits.size() ||
        length > address->bits() ) {
      return std::nullopt;
   }
   return IpGenPrefix( *address, length );
}

bool IpGenPrefix::contains( const IpGenAddr & address ) const noexcept {
   return address.family() == family() && address.masked( length_ ) == address_;
}

std::string IpGenPrefix::stringValue() const {
   return address_.stringValue() + "/" + std::to_string( length_ );
}

std::size_t IpGenPrefix::hash() const noexcept {
   return address_.hash() * 31 + length_;
}

} // namespace Korvo
