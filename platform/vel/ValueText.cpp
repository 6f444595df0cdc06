#include "platform/vel/ValueText.h"

namespace Vel {

namespace {

// Where the quoted text that starts at `from` ends (one past its closing
// quote), or npos when it never closes.
std::size_t quotedEnd( std::string_view text, std::size_t from ) noexcept {
   for ( std::size_t i = from + 1; i < text.size(); ++i ) {
      if ( text[ i ] == '\\' ) {
         ++i;
      } else if ( text[ i ] == '\'' ) {
         return i + 1;
      }
   }
   return std::string_view::npos;
}

} // namespace

ValueTextReader::ValueTextReader( std::string_view text, std::string_view typeName )
      : rest_( text ) {
   failed_ = !( take( "Value('" ) && take( typeName ) && take( "', ** {" ) );
}

bool ValueTextReader::take( std::string_view literal ) noexcept {
   if ( !rest_.starts_with( literal ) ) {
      return false;
   }
   rest_.remove_prefix( literal.size() );
   return true;
}

std::optional< std::string_view > ValueTextReader::fieldText( std::string_view name ) {
   if ( failed_ || !( take( firstField_ ? "'" : ", '" ) && take( name ) && take( "': " ) ) ) {
      failed_ = true;
      return std::nullopt;
   }
   firstField_ = false;
   int depth = 0;
   for ( std::size_t i = 0; i < rest_.size(); ++i ) {
      switch ( rest_[ i ] ) {
      case '\'':
         i = quotedEnd( rest_, i );
         if ( i == std::string_view::npos ) {
            failed_ = true;
            return std::nullopt;
         }
         --i;
         break;
      case '(':
      case '[':
      case '{':
         ++depth;
         break;
      case ')':
      case ']':
         --depth;
         break;
      case '}':
      case ',':
         if ( depth == 0 ) {
            std::string_view text = rest_.substr( 0, i );
            rest_.remove_prefix( i );
            return text;
         }
         depth -= rest_[ i ] == '}';
         break;
      default:
         break;
      }
   }
   failed_ = true;
   return std::nullopt;
}

std::string quotedText( std::string_view text ) {
   std::string quoted = "'";
   for ( char c : text ) {
      if ( c == '\'' || c == '\\' ) {
         quoted += '\\';
      }
      quoted += c;
   }
   return quoted + "'";
}

std::optional< std::string > unquotedText( std::string_view text ) {
   if ( text.empty() || text.front() != '\'' || quotedEnd( text, 0 ) != text.size() ) {
      return std::nullopt;
   }
   std::string unquoted;
   for ( std::size_t i = 1; i + 1 < text.size(); ++i ) {
      if ( text[ i ] == '\\' ) {
         ++i;
      }
      unquoted += text[ i ];
   }
   return unquoted;
}

std::optional< bool > parseBool( std::string_view text ) noexcept {
   if ( text == "True" ) {
      return true;
   }
   if ( text == "False" ) {
      return false;
   }
   return std::nullopt;
}

} // namespace Vel
