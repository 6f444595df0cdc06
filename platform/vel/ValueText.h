#pragma once

#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace Vel {

// Reads a value's string form back, field by field:
//   Value('<type name>', ** {'<field>': <text>, '<field>': <text>})
// A field's text runs to the next "," or "}" that stands outside quotes,
// brackets, parentheses and braces, so a nested value's text or a label
// stack's "push [100 200]" comes out whole and an empty field text is "".
// The first mismatch fails the reader for good; done() says whether every
// field matched and the closing "})" ends the text.
class ValueTextReader {
 public:
   ValueTextReader( std::string_view text, std::string_view typeName );

   // The next field, which must carry this name, turned into a value by
   // `parse` (a function from the field's text to an optional value).
   template< class Parse >
   auto field( std::string_view name, Parse && parse ) {
      using Result = std::invoke_result_t< Parse, std::string_view >;
      std::optional< std::string_view > text = fieldText( name );
      if ( !text ) {
         return Result();
      }
      Result value = parse( *text );
      failed_ = !value;
      return value;
   }

   bool done() const noexcept { return !failed_ && rest_ == "})"; }

 private:
   std::optional< std::string_view > fieldText( std::string_view name );
   bool take( std::string_view literal ) noexcept;

   std::string_view rest_;
   bool firstField_ = true;
   bool failed_ = false;
};

// A string field's form: the text in single quotes, a quote or a backslash in
// it escaped by a backslash. unquotedText takes back exactly that form.
std::string quotedText( std::string_view text );
std::optional< std::string > unquotedText( std::string_view text );

// "True" or "False".
inline const char * boolText( bool value ) noexcept { return value ? "True" : "False"; }
std::optional< bool > parseBool( std::string_view text ) noexcept;

// A decimal number that fills the text and fits the type.
template< class T >
std::optional< T > parseNumber( std::string_view text ) noexcept {
   T value{};
   const char * end = text.data() + text.size();
   auto [ ptr, ec ] = std::from_chars( text.data(), end, value );
   if ( text.empty() || ec != std::errc() || ptr != end ) {
      return std::nullopt;
   }
   return value;
}

} // namespace Vel
