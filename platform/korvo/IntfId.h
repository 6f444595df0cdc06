#pragma once

#include <array>
#include <compare>
#include <cstdint>
#include <cstring>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>

namespace Korvo {

// An egress interface: an ordinary interface by name ("Ethernet1"), a dynamic
// tunnel interface that stands for a tunnel ("DynamicTunnel0x300000000001"),
// or a nexthop-group interface ("NexthopGroup5"). The default is the empty
// id, whose text is "". A dynamic tunnel interface keeps the tunnel's raw
// 64-bit id; what that id means is for the layers above.
class IntfId {
 public:
   enum class Kind : std::uint8_t { empty, ordinary, dynamicTunnel, nexthopGroup };

   static constexpr std::string_view dynamicTunnelPrefix = "DynamicTunnel";
   static constexpr std::string_view nexthopGroupPrefix = "NexthopGroup";

   IntfId() = default;
   // Asserts that the name is an ordinary interface name (see parse).
   static IntfId ordinary( std::string_view name );
   static IntfId dynamicTunnel( std::uint64_t tunnelIdValue );
   static IntfId nexthopGroup( std::uint64_t nexthopGroupId );
   // The text form back to an id; nothing when the text is no interface. An
   // ordinary name starts with a letter and holds letters, digits and "/.-_:"
   // only. A name with one of the two prefixes must be followed by a decimal
   // or "0x" hexadecimal number, and is a dynamic tunnel or nexthop-group
   // interface.
   static std::optional< IntfId > parse( std::string_view text );

   Kind kind() const noexcept { return kind_; }
   bool empty() const noexcept { return kind_ == Kind::empty; }
   // The name of an ordinary interface; empty for the other kinds.
   const std::string & name() const noexcept {
      return kind_ == Kind::ordinary ? *interned() : *noName();
   }
   // Assert that the id is of the kind.
   std::uint64_t tunnelIdValue() const;
   std::uint64_t nexthopGroupId() const;

   std::string stringValue() const;
   std::size_t hash() const noexcept;

   // Kind, then number, then name.
   friend std::strong_ordering operator<=>( const IntfId & a, const IntfId & b ) noexcept {
      if ( a.kind_ != b.kind_ ) {
         return a.kind_ <=> b.kind_;
      }
      if ( a.word_ == b.word_ ) {
         return std::strong_ordering::equal;
      }
      if ( a.kind_ == Kind::ordinary ) {
         return *a.interned() <=> *b.interned();
      }
      return a.word() <=> b.word();
   }
   // Equal names are one interned string.
   friend bool operator==( const IntfId & a, const IntfId & b ) noexcept {
      return a.kind_ == b.kind_ && a.word_ == b.word_;
   }
   friend std::ostream & operator<<( std::ostream & os, const IntfId & i ) {
      return os << i.stringValue();
   }

 private:
   IntfId( Kind kind, std::uint64_t word ) noexcept : kind_( kind ) {
      std::memcpy( word_.data(), &word, sizeof word );
   }
   // The one copy of the name that every id with it points to: a router has
   // few interface names and a million vias over them.
   static const std::string * intern( std::string_view name );
   // The name of every id but an ordinary one; a default id takes it
   // without a lookup.
   static const std::string * noName() noexcept {
      static const std::string none;
      return &none;
   }

   std::uint64_t word() const noexcept {
      std::uint64_t word;
      std::memcpy( &word, word_.data(), sizeof word );
      return word;
   }
   const std::string * interned() const noexcept {
      return reinterpret_cast< const std::string * >( static_cast< std::uintptr_t >( word() ) );
   }

   Kind kind_ = Kind::empty;
   // The number of a dynamic tunnel or nexthop-group interface, the address
   // of an ordinary interface's interned name, or zero: in two halves, so
   // that an id packs beside an address in a 32-byte Via.
   std::array< std::uint32_t, 2 > word_{};
};

// The names by which the machines ask about dynamic tunnel interfaces.
namespace DynamicTunnelIntfId {

inline bool isDynamicTunnelIntfId( const IntfId & intf ) noexcept {
   return intf.kind() == IntfId::Kind::dynamicTunnel;
}
// The raw id of the tunnel the interface stands for.
inline std::uint64_t tunnelId( const IntfId & intf ) { return intf.tunnelIdValue(); }
inline IntfId tunnelIdToIntfId( std::uint64_t tunnelIdValue ) {
   return IntfId::dynamicTunnel( tunnelIdValue );
}

} // namespace DynamicTunnelIntfId

namespace NexthopGroupIntfId {

inline bool isNexthopGroupIntfId( const IntfId & intf ) noexcept {
   return intf.kind() == IntfId::Kind::nexthopGroup;
}
inline std::uint64_t nexthopGroupId( const IntfId & intf ) { return intf.nexthopGroupId(); }
inline IntfId nexthopGroupIdToIntfId( std::uint64_t nexthopGroupId ) {
   return IntfId::nexthopGroup( nexthopGroupId );
}

} // namespace NexthopGroupIntfId

} // namespace Korvo

template<>
struct std::hash< Korvo::IntfId > {
   std::size_t operator()( const Korvo::IntfId & i ) const noexcept { return i.hash(); }
};
