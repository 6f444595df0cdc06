#include "tools/tunnelsim/JsonParse.h"

#include "tools/tunnelsim/JsonPathTracker.h"
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
   JsonPathTracker tracker;
   try {
      return Json::parse(
         text, [ &tracker ]( int, nlohmann::json::parse_event_t event, Json & parsed ) {
            return tracker.event( event, parsed );
         } );
   } catch ( const nlohmann::json::parse_error & e ) {
      // The library's text is "[json.exception.parse_error.101] parse error at
      // line L, column C: <reason>"; keep the reason, say the place our way.
      std::string reason = e.what();
      if ( auto colon = reason.find( ": " ); colon != std::string::npos ) {
         reason = reason.substr( colon + 2 );
      }
      auto [ line, column ] = lineAndColumn( text, e.byte );
      throw ScenarioError( tracker.path(), "not valid JSON (line " + std::to_string( line ) +
                                              ", column " + std::to_string( column ) +
                                              "): " + reason );
   } catch ( const nlohmann::json::exception & e ) {
      // A number too large for any JSON number type.
      std::string reason = e.what();
      if ( auto bracket = reason.find( "] " ); bracket != std::string::npos ) {
         reason = reason.substr( bracket + 2 );
      }
      throw ScenarioError( tracker.path(), "not valid JSON: " + reason );
   }
}

} // namespace TunnelSim
