#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

#include "platform/korvo/IpGenPrefix.h"
#include "platform/vel/InlineVector.h"

namespace Tunnel::TunnelTable {

using TunnelColor = std::uint32_t;

// A tunnel endpoint prefix, qualified by a color in a colored tunnel RIB. An
// uncolored endpoint has no color (and orders before every colored endpoint
// of the same prefix). The default value is the all-zero endpoint.
class ColoredTunnelEndpoint {
 public:
   ColoredTunnelEndpoint() = default;
   explicit ColoredTunnelEndpoint( const Korvo::IpGenPrefix & tep ) : tep_( tep ) {}
   ColoredTunnelEndpoint( const Korvo::IpGenPrefix & tep, TunnelColor color )
         : tep_( tep ), color_( color ), colored_( true ) {}

   const Korvo::IpGenPrefix & tep() const noexcept { return tep_; }
   bool colored() const noexcept { return colored_; }
   TunnelColor color() const noexcept { return color_; }

   // "10.0.0.1/32", or "10.0.0.1/32 color 100".
   std::string stringValue() const {
      return colored_ ? tep_.stringValue() + " color " + std::to_string( color_ )
                      : tep_.stringValue();
   }
   std::uint32_t hash( std::uint32_t seed = 0 ) const noexcept {
      std::size_t h = tep_.hash() ^ ( seed * 0x9E3779B9u );
      h = h * 31 + ( colored_ ? color_ + 1ull : 0ull );
      return static_cast< std::uint32_t >( h ^ ( h >> 32 ) );
   }

   std::uint64_t indexHash() const noexcept {
      return tep_.indexHash() + ( colored_ ? ( color_ + 1ull ) * 0xC2B2AE3D27D4EB4Full : 0 );
   }

   friend bool operator==( const ColoredTunnelEndpoint & a, const ColoredTunnelEndpoint & b ) {
      return a.tep_ == b.tep_ && a.colored_ == b.colored_ && a.color_ == b.color_;
   }
   friend auto operator<=>( const ColoredTunnelEndpoint & a, const ColoredTunnelEndpoint & b ) {
      if ( auto c = a.tep_ <=> b.tep_; c != 0 ) {
         return c;
      }
      if ( auto c = a.colored_ <=> b.colored_; c != 0 ) {
         return c;
      }
      return a.color_ <=> b.color_;
   }
   friend std::ostream & operator<<( std::ostream & os, const ColoredTunnelEndpoint & c ) {
      return os << c.stringValue();
   }

 private:
   Korvo::IpGenPrefix tep_;
   TunnelColor color_ = 0;
   bool colored_ = false;
};

// Endpoints in a sorted list: most tunnels serve one, so none allocates.
using ColoredTunnelEndpointList = Vel::InlineVector< ColoredTunnelEndpoint, 2 >;

} // namespace Tunnel::TunnelTable

template<>
struct std::hash< Tunnel::TunnelTable::ColoredTunnelEndpoint > {
   std::size_t operator()( const Tunnel::TunnelTable::ColoredTunnelEndpoint & c ) const noexcept {
      return c.hash();
   }
};
