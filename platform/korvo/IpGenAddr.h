#pragma once

#include <array>
#include <bit>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Korvo {

enum class AddressFamily : std::uint8_t { none = 0, ipv4 = 4, ipv6 = 6 };

// An IPv4 or IPv6 address, or the empty address (no family), whose text is
// "" so that it reads back apart from 0.0.0.0. The empty address orders
// first, then IPv4 before IPv6.
class IpGenAddr {
 public:
   IpGenAddr() = default;
   static IpGenAddr ipv4( std::uint32_t hostOrder );
   static IpGenAddr ipv6( const std::array< std::uint8_t, 16 > & bytes );
   // "10.0.0.1", "2001:db8::1", or "" for the empty address; nothing when
   // the text is not an address.
   static std::optional< IpGenAddr > parse( std::string_view text );

   AddressFamily family() const noexcept { return family_; }
   bool isV4() const noexcept { return family_ == AddressFamily::ipv4; }
   bool isV6() const noexcept { return family_ == AddressFamily::ipv6; }
   unsigned bits() const noexcept { return isV4() ? 32 : isV6() ? 128 : 0; }
   const std::array< std::uint8_t, 16 > & bytes() const noexcept { return bytes_; }
   // The address with every bit after the first `length` cleared.
   IpGenAddr masked( unsigned length ) const noexcept;

   std::string stringValue() const;

   // Family, then the bytes as one 128-bit big-endian number: the order of
   // comparing byte by byte, in two word compares.
   friend std::strong_ordering operator<=>( const IpGenAddr & a, const IpGenAddr & b ) noexcept {
      if ( a.family_ != b.family_ ) {
         return a.family_ <=> b.family_;
      }
      if ( const auto high = a.word( 0 ) <=> b.word( 0 ); high != 0 ) {
         return high;
      }
      return a.word( 1 ) <=> b.word( 1 );
   }
   friend bool operator==( const IpGenAddr & a, const IpGenAddr & b ) noexcept {
      return a.family_ == b.family_ && a.word( 0 ) == b.word( 0 ) && a.word( 1 ) == b.word( 1 );
   }
   friend std::ostream & operator<<( std::ostream & os, const IpGenAddr & a ) {
      return os << a.stringValue();
   }
   std::size_t hash() const noexcept;
   // A hash of a few instructions for hash indexes, which spread it
   // themselves.
   std::uint64_t indexHash() const noexcept {
      const std::uint64_t h = word( 0 ) ^ ( word( 1 ) * 0x9E3779B97F4A7C15ull ) ^
                              static_cast< std::uint64_t >( family_ );
      return h ^ ( h >> 29 );
   }

 private:
   // Bytes 8i..8i+7 as a big-endian number.
   std::uint64_t word( unsigned i ) const noexcept {
      std::uint64_t w;
      std::memcpy( &w, bytes_.data() + 8 * i, sizeof w );
      if constexpr ( std::endian::native == std::endian::little ) {
         w = __builtin_bswap64( w );
      }
      return w;
   }

   AddressFamily family_ = AddressFamily::none;
   // IPv4 in the first four bytes, network order.
   std::array< std::uint8_t, 16 > bytes_{};
};

} // namespace Korvo

template<>
struct std::hash< Korvo::IpGenAddr > {
   std::size_t operator()( const Korvo::IpGenAddr & a ) const noexcept { return a.hash(); }
};
