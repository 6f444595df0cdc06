#pragma once

#include <compare>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/IpGenAddr.h"

namespace Tunnel {

// An IPsec virtual tunnel interface's encapsulation: the outer addresses and
// the IPsec profile.
class IpsecVtiTunnelInfo {
 public:
   IpsecVtiTunnelInfo() = default;
   IpsecVtiTunnelInfo( Korvo::IpGenAddr src, Korvo::IpGenAddr dst, std::string ipsecProfile )
         : src_( src ), dst_( dst ), ipsecProfile_( std::move( ipsecProfile ) ) {}

   const Korvo::IpGenAddr & src() const noexcept { return src_; }
   const Korvo::IpGenAddr & dst() const noexcept { return dst_; }
   const std::string & ipsecProfile() const noexcept { return ipsecProfile_; }

   // The profile is quoted, a quote or backslash in it escaped, so that any
   // name reads back.
   std::string stringValue() const;
   static std::optional< IpsecVtiTunnelInfo > parse( std::string_view text );
   std::size_t hash( std::size_t seed = 0 ) const noexcept {
      std::size_t h = seed ^ ( src_.hash() * 31 + dst_.hash() );
      return h * 31 + std::hash< std::string >{}( ipsecProfile_ );
   }

   friend auto operator<=>( const IpsecVtiTunnelInfo &, const IpsecVtiTunnelInfo & ) = default;
   friend bool operator==( const IpsecVtiTunnelInfo &, const IpsecVtiTunnelInfo & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const IpsecVtiTunnelInfo & i ) {
      return os << i.stringValue();
   }

 private:
   Korvo::IpGenAddr src_;
   Korvo::IpGenAddr dst_;
   std::string ipsecProfile_;
};

} // namespace Tunnel

template<>
struct std::hash< Tunnel::IpsecVtiTunnelInfo > {
   std::size_t operator()( const Tunnel::IpsecVtiTunnelInfo & i ) const noexcept { return i.hash(); }
};
