#pragma once

#include <algorithm>
#include <cstddef>
#include <stdexcept>
#include <string>

namespace Vel {

class RangeException : public std::out_of_range {
 public:
   using std::out_of_range::out_of_range;
};

// A string literal usable as a template argument, so that a bounded type can
// carry its own name into its range text.
template< std::size_t N >
struct FixedString {
   constexpr FixedString( const char ( &s )[ N ] ) { std::copy_n( s, N, text ); }
   char text[ N ];
};

// An index that refuses values outside [Min, Max] with
// "<Name>::value < <Name>::min or > <Name>::max not allowed".
template< FixedString Name, class T, T Min, T Max >
class BoundedIndex {
 public:
   static constexpr T min = Min;
   static constexpr T max = Max;

   constexpr BoundedIndex() noexcept : value_( Min ) {}
   BoundedIndex( T value ) : value_( value ) { validate( value ); }

   T value() const noexcept { return value_; }
   operator T() const noexcept { return value_; }

   // A raw integer is checked before it is narrowed to T.
   static BoundedIndex of( long long raw ) {
      if ( raw < static_cast< long long >( Min ) || raw > static_cast< long long >( Max ) ) {
         throwRange();
      }
      return BoundedIndex( static_cast< T >( raw ) );
   }

   static std::string rangeText() {
      std::string name( Name.text );
      return name + "::value < " + name + "::min or > " + name + "::max not allowed";
   }

 private:
   static void validate( T value ) {
      if ( value < Min || value > Max ) {
         throwRange();
      }
   }
   [[noreturn]] static void throwRange() { throw RangeException( rangeText() ); }

   T value_;
};

} // namespace Vel
