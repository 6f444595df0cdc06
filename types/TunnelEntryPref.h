#pragma once

#include <compare>
#include <cstdint>
#include <ostream>

#include "types/TunnelType.h"

namespace Tunnel::TunnelTable {

// The preference of a tunnel table entry: unsigned 8-bit, lower is better.
class TunnelEntryPref {
 public:
   constexpr TunnelEntryPref() noexcept = default;
   constexpr TunnelEntryPref( std::uint8_t value ) noexcept : value_( value ) {}

   constexpr std::uint8_t value() const noexcept { return value_; }
   constexpr operator std::uint8_t() const noexcept { return value_; }

   // Compared as its unsigned 8-bit value, through the conversion above.
   friend std::ostream & operator<<( std::ostream & os, TunnelEntryPref p ) {
      return os << static_cast< unsigned >( p.value_ );
   }

 private:
   std::uint8_t value_ = 0;
};

// The preference a tunnel of the type gets when nothing else sets one; 255
// for every type without a default of its own. Types 23-30 are an
// assertion.
TunnelEntryPref getDefaultPrefForType( TunnelType type );

} // namespace Tunnel::TunnelTable
