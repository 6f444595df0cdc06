#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/IpGenAddr.h"

namespace Korvo {

// An IPv4 or IPv6 prefix, "10.0.0.1/32". The address is kept masked to the
// length, so equal prefixes compare equal whatever host bits were written.
class IpGenPrefix {
 public:
   IpGenPrefix() = default;
   // Asserts that the length is at most 128.
   IpGenPrefix( const IpGenAddr & address, unsigned length );
   // A host prefix of the address (/32 or /128).
   explicit IpGenPrefix( const IpGenAddr & address );
   // "10.0.0.0/8", "2001:db8::/32", or a bare address for a host prefix;
   // nothing when the text is not a prefix.
   static std::optional< IpGenPrefix > parse( std::string_view text );

   const IpGenAddr & address() const noexcept { return address_; }
   unsigned length() const noexcept { return length_; }
   AddressFamily family() const noexcept { return address_.family(); }
   bool contains( const IpGenAddr & address ) const noexcept;

   std::string stringValue() const;

   friend std::strong_ordering operator<=>( const IpGenPrefix & a,
                                           const IpGenPrefix & b ) noexcept {
      if ( const auto address = a.address_ <=> b.address_; address != 0 ) {
         return address;
      }
      return a.length_ <=> b.length_;
   }
   friend bool operator==( const IpGenPrefix & a, const IpGenPrefix & b ) noexcept {
      return a.address_ == b.address_ && a.length_ == b.length_;
   }
   friend std::ostream & operator<<( std::ostream & os, const IpGenPrefix & p ) {
      return os << p.stringValue();
   }
   std::size_t hash() const noexcept;
   std::uint64_t indexHash() const noexcept { return address_.indexHash() + length_; }

 private:
   IpGenAddr address_;
   std::uint8_t length_ = 0;
};

static_assert( sizeof( IpGenPrefix ) == 18, "A prefix is held per endpoint and per key" );

} // namespace Korvo

template<>
struct std::hash< Korvo::IpGenPrefix > {
   std::size_t operator()( const Korvo::IpGenPrefix & p ) const noexcept { return p.hash(); }
};
