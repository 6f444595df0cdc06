#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>

namespace Tunnel::TunnelTable {

// Names one configured tunnel RIB. Well-known ids: 0 the system tunnel RIB,
// 1 the system colored tunnel RIB, 2 and 3 the two application RIBs that take
// RSVP LER tunnels by their eligibility flags.
class TunnelRibId {
 public:
   static constexpr std::uint32_t systemTunnelRib = 0;
   static constexpr std::uint32_t systemColoredTunnelRib = 1;
   static constexpr std::uint32_t ldpTunnelingRib = 2;
   static constexpr std::uint32_t igpShortcutRib = 3;

   constexpr TunnelRibId() noexcept = default;
   constexpr TunnelRibId( std::uint32_t value ) noexcept : value_( value ) {}

   constexpr std::uint32_t value() const noexcept { return value_; }
   constexpr operator std::uint32_t() const noexcept { return value_; }
   constexpr bool isSystemColoredRibId() const noexcept {
      return value_ == systemColoredTunnelRib;
   }
   // The id printed with "%u"; it names the RIB's status path.
   std::string stringValue() const { return std::to_string( value_ ); }

   // Compared as its number, through the conversion above.
   friend std::ostream & operator<<( std::ostream & os, TunnelRibId id ) {
      return os << id.value_;
   }

 private:
   std::uint32_t value_ = 0;
};

} // namespace Tunnel::TunnelTable

template<>
struct std::hash< Tunnel::TunnelTable::TunnelRibId > {
   // The framework's identity hash.
   std::size_t operator()( Tunnel::TunnelTable::TunnelRibId id ) const noexcept {
      return id.value();
   }
};
