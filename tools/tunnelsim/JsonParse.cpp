#include "tools/tunnelsim/JsonParse.h"

#include <set>
#include <vector>

#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelSim {

namespace {

// Follows the parser through the document so that a problem can be placed
// by its JSON path.
class PathTracker {
 public:
   bool event( nlohmann::json::parse_event_t event, const Json & parsed ) {
      using Event = nlohmann::json::parse_event_t;
      switch ( event ) {
      case Event::object_start:
      case Event::array_start:
         frames_.push_back( Frame{ event == Event::array_start, {}, false, 0, {} } );
         break;
      case Event::object_end:
      case Event::array_end:
         frames_.pop_back();
         valueRead();
         break;
      case Event::key: {
         Frame & frame = frames_.back();
         frame.key = parsed.get< std::string >();
         frame.keyActive = true;
         if ( !frame.keys.insert( frame.key ).second ) {
            throw ScenarioError( path(), "this key appears twice in its object" );
         }
         break;
      }
      case Event::value:
         valueRead();
         break;
      }
      return true;
   }

   // The path of the value being read: in an array, the element after the
   // ones read; in an object, the value of the last key, or the object
   // itself while the next key is awaited.
   std::string path() const {
      std::string result = "$";
      for ( const Frame & frame : frames_ ) {
         if ( frame.array ) {
            result += "[" + std::to_string( frame.elementsRead ) + "]";
         } else if ( frame.keyActive ) {
            result = memberPath( result, frame.key );
         }
      }
      return result;
   }

 private:
   struct Frame {
      bool array;
      std::string key;
      bool keyActive;
      std::size_t elementsRead;
      std::set< std::string > keys;
   };

   void valueRead() {
      if ( frames_.empty() ) {
         return;
      }
      Frame & frame = frames_.back();
      if ( frame.array ) {
         ++frame.elementsRead;
      } else {
         frame.keyActive = false;
      }
   }

   std::vector< Frame > frames_;
};

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
   PathTracker tracker;
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
