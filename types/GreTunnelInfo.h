#pragma once

#include <compare>
#include <functional>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/IpGenAddr.h"

namespace Tunnel {

// What a GRE encapsulation needs: the outer addresses and header fields.
class GreTunnelInfo {
 public:
   GreTunnelInfo() = default;
   GreTunnelInfo( Korvo::IpGenAddr src, Korvo::IpGenAddr dst, std::uint8_t ttl = 0,
                  std::uint8_t tos = 0 )
         : src_( src ), dst_( dst ), ttl_( ttl ), tos_( tos ) {}

   const Korvo::IpGenAddr & src() const noexcept { return src_; }
   const Korvo::IpGenAddr & dst() const noexcept { return dst_; }
   // 0 copies the inner packet's value.
   std::uint8_t ttl() const noexcept { return ttl_; }
   std::uint8_t tos() const noexcept { return tos_; }

   std::string stringValue() const;
   // The string form back; nothing when the text is not one.
   static std::optional< GreTunnelInfo > parse( std::string_view text );
   std::size_t hash( std::size_t seed = 0 ) const noexcept {
      std::size_t h = seed ^ ( src_.hash() * 31 + dst_.hash() );
      return h * 31 + ( std::size_t( ttl_ ) << 8 | tos_ );
   }

   friend auto operator<=>( const GreTunnelInfo &, const GreTunnelInfo & ) = default;
   friend bool operator==( const GreTunnelInfo &, const GreTunnelInfo & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const GreTunnelInfo & i ) {
      return os << i.stringValue();
   }

 private:
   Korvo::IpGenAddr src_;
   Korvo::IpGenAddr dst_;
   std::uint8_t ttl_ = 0;
   std::uint8_t tos_ = 0;
};

} // namespace Tunnel

template<>
struct std::hash< Tunnel::GreTunnelInfo > {
   std::size_t operator()( const Tunnel::GreTunnelInfo & i ) const noexcept { return i.hash(); }
};
