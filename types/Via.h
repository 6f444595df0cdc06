#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/IntfId.h"
#include "platform/korvo/IpGenAddr.h"

namespace Tunnel::TunnelTable {

// A next hop: the address of the neighbour and the interface that leads to
// it. Vias order by interface first, then by address.
class Via {
 public:
   Via() = default;
   Via( Korvo::IpGenAddr hop, Korvo::IntfId intfId )
         : intfId_( std::move( intfId ) ), hop_( hop ) {}

   const Korvo::IpGenAddr & hop() const noexcept { return hop_; }
   void hopIs( const Korvo::IpGenAddr & hop ) { hop_ = hop; }
   const Korvo::IntfId & intfId() const noexcept { return intfId_; }
   void intfIdIs( const Korvo::IntfId & intfId ) { intfId_ = intfId; }

   std::string stringValue() const;
   // The string form back to a via; nothing when the text is not one.
   static std::optional< Via > parse( std::string_view text );
   std::size_t hash( std::size_t seed = 0 ) const noexcept;

   friend auto operator<=>( const Via &, const Via & ) = default;
   friend bool operator==( const Via &, const Via & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const Via & v ) {
      return os << v.stringValue();
   }

 private:
   Korvo::IntfId intfId_;
   Korvo::IpGenAddr hop_;
};

} // namespace Tunnel::TunnelTable
