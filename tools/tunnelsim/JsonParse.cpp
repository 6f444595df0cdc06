#include "tools/tunnelsim/JsonParse.h"

#include "tools/tunnelsim/JsonDocumentBuilder.h"
#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelSim {

namespace {

std::pair< std::size_t, std::size_t > lineAndColumn( const std::string & text, std::size_t byte ) {
   std::size_t line = 1;
   std::size_t column = 1;
   for ( std::size_t i = 0; i + 1 < byte && i < text.size(); ++i ) {
      if ( text[ i ] == '\n' ) {
         ++line;
         column = 1;
      } else {
         ++column;
      }
   }
   return { line, column };
}

} // namespace

Json parseJson( const std::string & text ) {
   Json document;
   JsonDocumentBuilder builder( document );
   try {
      Json::sax_parse( text, &builder );
   } catch ( const nlohmann::json::parse_error & e ) {
      // The library's text is "[json.exception.parse_error.101] parse error at
      // line L, column C: <reason>"; keep the reason, say the place our way.
      std::string reason = e.what();
      if ( auto colon = reason.find( ": " ); colon != std::string::npos ) {
         reason = reason.substr( colon + 2 );
      }
      auto [ line, column ] = lineAndColumn( text, e.byte );
      throw ScenarioError( builder.path(), "not valid JSON (line " + std::to_string( line ) +
                                              ", column " + std::to_string( column ) +
                                              "): " + reason );
   } catch ( const nlohmann::json::exception & e ) {
      // A number too large for any JSON number type.
      std::string reason = e.what();
      if ( auto bracket = reason.find( "] " ); bracket != std::string::npos ) {
         reason = reason.substr( bracket + 2 );
      }
      throw ScenarioError( builder.path(), "not valid JSON: " + reason );
   }
   // The parser takes a NUL byte for the end of the input, so a document
   // followed by one would pass with whatever comes after it unread.
   if ( auto nul = text.find( '\0' ); nul != std::string::npos ) {
      auto [ line, column ] = lineAndColumn( text, nul + 1 );
      throw ScenarioError( builder.path(), "not valid JSON (line " + std::to_string( line ) +
                                              ", column " + std::to_string( column ) +
                                              "): a NUL byte after the document; expected "
                                              "the end of the input" );
   }
   return document;
}

} // namespace TunnelSim
