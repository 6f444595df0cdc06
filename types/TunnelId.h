#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/vel/FlatHashMap.h"
#include "types/TunnelTableIdentifier.h"
#include "types/TunnelType.h"

namespace Tunnel::TunnelTable {

// Names one tunnel: the type in bits 44 and up (five bits), the producer's
// index of the tunnel within its type in bits 0-43.
class TunnelId {
 public:
   static constexpr std::uint64_t minValue = 0;
   static constexpr std::uint64_t maxValue = 0x1FFFFFFFFFFFFull;
   static constexpr unsigned typeShift = 44;
   static constexpr std::uint64_t maxIndex = ( 1ull << typeShift ) - 1;

   constexpr TunnelId() noexcept = default;
   // Refuses a value above maxValue with the range error
   // "TunnelId::value < TunnelId::minValue or > TunnelId::maxValue not allowed".
   explicit TunnelId( std::uint64_t value );
   TunnelId( TunnelType type, std::uint64_t index );

   // The text form is "<type name>:<index>" ("ldp:12"); parse also takes a
   // raw value in decimal or 0x-hex. Nothing when the text is not an id.
   static std::optional< TunnelId > parse( std::string_view text );

   std::uint64_t value() const noexcept { return value_; }
   // The word itself serves hash indexes, which spread it.
   std::uint64_t indexHash() const noexcept { return value_; }
   TunnelType tunnelType() const noexcept {
      return static_cast< TunnelType >( value_ >> typeShift );
   }
   std::uint64_t index() const noexcept { return value_ & maxIndex; }
   // The protocol table that holds tunnels of this id's type; an assertion
   // for types without a table of their own.
   TunnelTableIdentifier tableType() const;
   // Whether a tunnel of this type may push an entropy label: ldp, sr,
   // ospfSr, static, srTeSegmentList and the two kinds of the "rsvpFrr"
   // table. The tunnel FIB recomputes the tables of all of them when the
   // entropy-label setting changes, so toggling it never leaves a stale
   // stack; RSVP LER, TI-LFA and flex-algo tunnels, whose tables it does not
   // recompute, carry none.
   bool supportsEntropyLabelPush() const noexcept;
   // Jenkins one-at-a-time over the eight bytes, least significant first.
   std::uint32_t hash() const noexcept;

   std::string stringValue() const;

   friend constexpr auto operator<=>( TunnelId, TunnelId ) noexcept = default;
   friend constexpr bool operator==( TunnelId, TunnelId ) noexcept = default;
   friend std::ostream & operator<<( std::ostream & os, TunnelId id ) {
      return os << id.stringValue();
   }

 private:
   std::uint64_t value_ = 0;
};

// The id's word itself: for the flat hash maps, which spread it themselves.
struct TunnelIdWordHash {
   std::size_t operator()( TunnelId id ) const noexcept { return id.value(); }
};

// A table per tunnel id where the order of its elements shows nowhere. The
// empty id is never a key, so it marks the free slots.
template< class V >
using TunnelIdHashMap =
   Vel::FlatHashMap< TunnelId, V, TunnelIdWordHash, std::equal_to< TunnelId >, true >;

} // namespace Tunnel::TunnelTable

// Deliberately not noexcept: the standard library then keeps each node's hash
// in the node, so walking a bucket or rehashing does not rerun the byte-wise
// hash for every node it passes (it never throws).
template<>
struct std::hash< Tunnel::TunnelTable::TunnelId > {
   std::size_t operator()( Tunnel::TunnelTable::TunnelId id ) const {
      return id.hash();
   }
};
