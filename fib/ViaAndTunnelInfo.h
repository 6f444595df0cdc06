#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/MplsLabelOperation.h"
#include "types/EncapId.h"
#include "types/GreTunnelInfo.h"
#include "types/IpsecGreTunnelInfo.h"
#include "types/IpsecVtiTunnelInfo.h"
#include "types/Via.h"

namespace Tunnel::TunnelTable {

// One via of a computed FIB entry with the encapsulation it needs: a label
// stack, or GRE, IPsec+GRE or IPsec-VTI tunnel information, as its type says;
// the payloads of the other types stay default. Records order by egress
// interface, next hop, type, label stack, then the IPsec+GRE, IPsec-VTI and
// GRE information.
class ViaAndTunnelInfo {
 public:
   ViaAndTunnelInfo() = default;
   ViaAndTunnelInfo( Via via, TunnelFib::EncapType type ) : via_( std::move( via ) ), type_( type ) {}

   const Via & via() const noexcept { return via_; }
   void viaIs( const Via & via ) { via_ = via; }
   TunnelFib::EncapType type() const noexcept { return type_; }
   void typeIs( TunnelFib::EncapType type ) noexcept { type_ = type; }
   const Korvo::MplsLabelOperation & labelStack() const noexcept { return labelStack_; }
   void labelStackIs( const Korvo::MplsLabelOperation & op ) { labelStack_ = op; }
   const IpsecGreTunnelInfo & ipsecGreTunnelInfo() const noexcept { return ipsecGreTunnelInfo_; }
   void ipsecGreTunnelInfoIs( const IpsecGreTunnelInfo & info ) { ipsecGreTunnelInfo_ = info; }
   const IpsecVtiTunnelInfo & ipsecVtiTunnelInfo() const noexcept { return ipsecVtiTunnelInfo_; }
   void ipsecVtiTunnelInfoIs( const IpsecVtiTunnelInfo & info ) { ipsecVtiTunnelInfo_ = info; }
   const GreTunnelInfo & greTunnelInfo() const noexcept { return greTunnelInfo_; }
   void greTunnelInfoIs( const GreTunnelInfo & info ) { greTunnelInfo_ = info; }

   explicit operator bool() const { return *this != ViaAndTunnelInfo(); }
   std::size_t hash( std::size_t seed ) const noexcept;

   std::string stringValue() const;
   // The string form back to a record; nothing when the text is not one.
   static std::optional< ViaAndTunnelInfo > parse( std::string_view text );

   friend auto operator<=>( const ViaAndTunnelInfo &, const ViaAndTunnelInfo & ) = default;
   friend bool operator==( const ViaAndTunnelInfo &, const ViaAndTunnelInfo & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const ViaAndTunnelInfo & v ) {
      return os << v.stringValue();
   }

 private:
   // The declaration order is the record order.
   Via via_;
   TunnelFib::EncapType type_ = TunnelFib::EncapType::invalidEncap;
   Korvo::MplsLabelOperation labelStack_;
   IpsecGreTunnelInfo ipsecGreTunnelInfo_;
   IpsecVtiTunnelInfo ipsecVtiTunnelInfo_;
   GreTunnelInfo greTunnelInfo_;
};

} // namespace Tunnel::TunnelTable

template<>
struct std::hash< Tunnel::TunnelTable::ViaAndTunnelInfo > {
   std::size_t operator()( const Tunnel::TunnelTable::ViaAndTunnelInfo & v ) const noexcept {
      return v.hash( 0 );
   }
};
