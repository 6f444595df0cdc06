#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Tunnel::TunnelTable {

// What went wrong while resolving vias over lower tunnels; results of
// several vias combine by OR.
class TunnelFibViaCalcResult {
 public:
   static constexpr std::uint8_t recTunNotReady = 1;
   static constexpr std::uint8_t recTunUnprogrammable = 2;
   static constexpr std::uint8_t recTunMissing = 4;
   static constexpr std::uint8_t recTunNonContrib = 8;
   static constexpr std::uint8_t recTunFlattenError = 16;
   static constexpr std::uint8_t recTunCycle = 32;

   constexpr TunnelFibViaCalcResult() noexcept = default;
   constexpr explicit TunnelFibViaCalcResult( std::uint8_t flags ) noexcept : flags_( flags ) {}

   constexpr std::uint8_t value() const noexcept { return flags_; }
   constexpr bool has( std::uint8_t flag ) const noexcept { return ( flags_ & flag ) != 0; }
   constexpr bool none() const noexcept { return flags_ == 0; }

   constexpr TunnelFibViaCalcResult & operator|=( TunnelFibViaCalcResult other ) noexcept {
      flags_ = std::uint8_t( flags_ | other.flags_ );
      return *this;
   }
   friend constexpr TunnelFibViaCalcResult operator|( TunnelFibViaCalcResult a,
                                                      TunnelFibViaCalcResult b ) noexcept {
      return a |= b;
   }
   friend constexpr bool operator==( TunnelFibViaCalcResult, TunnelFibViaCalcResult ) = default;

   std::string stringValue() const;
   static std::optional< TunnelFibViaCalcResult > parse( std::string_view text );
   friend std::ostream & operator<<( std::ostream & os, TunnelFibViaCalcResult r ) {
      return os << r.stringValue();
   }

 private:
   std::uint8_t flags_ = 0;
};

// The outcome of computing one tunnel's vias.
struct TunnelFibCalcResult {
   TunnelFibViaCalcResult viaResult;
   bool tunnelTableEntryDeleted = false;
   bool tunnelContributing = false;

   friend bool operator==( const TunnelFibCalcResult &, const TunnelFibCalcResult & ) = default;

   std::string stringValue() const;
   static std::optional< TunnelFibCalcResult > parse( std::string_view text );
   friend std::ostream & operator<<( std::ostream & os, const TunnelFibCalcResult & r ) {
      return os << r.stringValue();
   }
};

} // namespace Tunnel::TunnelTable
