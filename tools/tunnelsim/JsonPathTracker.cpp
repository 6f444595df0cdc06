#include "tools/tunnelsim/JsonPathTracker.h"

#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelSim {

bool JsonPathTracker::event( nlohmann::json::parse_event_t event, const Json & parsed ) {
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

std::string JsonPathTracker::path() const {
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

void JsonPathTracker::valueRead() {
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

} // namespace TunnelSim
