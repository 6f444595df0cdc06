#pragma once

#include <compare>
#include <functional>
#include <ostream>
#include <string>
#include <string_view>

namespace Vel {

using String = std::string;

// The name of a configured thing (a tunnel RIB's name). A type of its own so
// that signatures read as names, not as strings.
class Name {
 public:
   Name() = default;
   Name( std::string text ) : text_( std::move( text ) ) {}
   Name( const char * text ) : text_( text ) {}

   const std::string & text() const noexcept { return text_; }
   bool empty() const noexcept { return text_.empty(); }

   friend auto operator<=>( const Name &, const Name & ) = default;
   friend bool operator==( const Name &, const Name & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const Name & n ) {
      return os << n.text_;
   }

 private:
   std::string text_;
};

} // namespace Vel

template<>
struct std::hash< Vel::Name > {
   std::size_t operator()( const Vel::Name & n ) const noexcept {
      return std::hash< std::string >{}( n.text() );
   }
};
