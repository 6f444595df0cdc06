#pragma once

#include <compare>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Tunnel::TunnelFib {

// What an encapsulation is. The numbers are shared with the forwarding side
// and must not change; 5 is reserved and implemented nowhere.
enum class EncapType : std::uint8_t {
   invalidEncap = 0,
   greEncap = 1,
   ipsecVtiEncap = 2,
   ipsecGreEncap = 3,
   mplsLabelStackEncap = 4,
   reservedEncap = 5,
};

// "invalid", "gre", "ipsecVti", "ipsecGre", "mpls", "reserved"; "type<N>" for
// a value without a name. encapTypeFromString takes back either form.
std::string stringValue( EncapType type );
std::optional< EncapType > encapTypeFromString( std::string_view name );
std::ostream & operator<<( std::ostream & os, EncapType type );

// Names one published encapsulation: the type in bits 31-28, the index within
// the type in bits 27-0. The null id (type 0, index 0) stands for none; an id
// whose type bits are 0 is never counted, published or deleted.
class EncapId {
 public:
   static constexpr unsigned typeShift = 28;
   static constexpr std::uint32_t indexMask = ( 1u << typeShift ) - 1;

   constexpr EncapId() noexcept = default;
   constexpr explicit EncapId( std::uint32_t value ) noexcept : value_( value ) {}

   // The index folds into its 28 bits, so a cursor that runs past the top
   // comes back to 0.
   static constexpr EncapId encapValueIs( EncapType type, std::uint32_t index ) noexcept {
      return EncapId( std::uint32_t( type ) << typeShift | ( index & indexMask ) );
   }

   constexpr std::uint32_t value() const noexcept { return value_; }
   constexpr EncapType encapType() const noexcept { return EncapType( value_ >> typeShift ); }
   constexpr std::uint32_t index() const noexcept { return value_ & indexMask; }
   constexpr bool isNull() const noexcept { return value_ == 0; }

   // "<type name>:<index>" ("mpls:0"); parse also takes that text only.
   std::string stringValue() const;
   static std::optional< EncapId > parse( std::string_view text );

   friend constexpr auto operator<=>( EncapId, EncapId ) noexcept = default;
   friend constexpr bool operator==( EncapId, EncapId ) noexcept = default;
   friend std::ostream & operator<<( std::ostream & os, EncapId id ) {
      return os << id.stringValue();
   }

 private:
   std::uint32_t value_ = 0;
};

} // namespace Tunnel::TunnelFib

template<>
struct std::hash< Tunnel::TunnelFib::EncapId > {
   std::size_t operator()( Tunnel::TunnelFib::EncapId id ) const noexcept {
      // Ids of one type are dense from 0: the identity spreads them over
      // buckets perfectly.
      return id.value();
   }
};

template<>
struct std::hash< Tunnel::TunnelFib::EncapType > {
   std::size_t operator()( Tunnel::TunnelFib::EncapType type ) const noexcept {
      return static_cast< std::size_t >( type );
   }
};
