#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "types/GreTunnelInfo.h"

namespace Tunnel {

// A GRE encapsulation protected by IPsec: the GRE header fields and the name
// of the IPsec profile that secures the outer packets.
class IpsecGreTunnelInfo {
 public:
   IpsecGreTunnelInfo() = default;
   IpsecGreTunnelInfo( GreTunnelInfo gre, std::string ipsecProfile )
         : gre_( gre ), ipsecProfile_( std::move( ipsecProfile ) ) {}

   const GreTunnelInfo & gre() const noexcept { return gre_; }
   const std::string & ipsecProfile() const noexcept { return ipsecProfile_; }

   // The profile is quoted, a quote or backslash in it escaped, so that any
   // name reads back.
   std::string stringValue() const;
   static std::optional< IpsecGreTunnelInfo > parse( std::string_view text );
   std::size_t hash( std::size_t seed = 0 ) const noexcept {
      return gre_.hash( seed ) * 31 + std::hash< std::string >{}( ipsecProfile_ );
   }

   friend auto operator<=>( const IpsecGreTunnelInfo &, const IpsecGreTunnelInfo & ) = default;
   friend bool operator==( const IpsecGreTunnelInfo &, const IpsecGreTunnelInfo & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const IpsecGreTunnelInfo & i ) {
      return os << i.stringValue();
   }

 private:
   GreTunnelInfo gre_;
   std::string ipsecProfile_;
};

} // namespace Tunnel

template<>
struct std::hash< Tunnel::IpsecGreTunnelInfo > {
   std::size_t operator()( const Tunnel::IpsecGreTunnelInfo & i ) const noexcept { return i.hash(); }
};
