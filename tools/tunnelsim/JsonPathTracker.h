#pragma once

#include <set>
#include <string>
#include <vector>

#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// Follows the parser through a document, event by event, so that a problem
// can be placed by its JSON path; refuses a key written twice in an object.
class JsonPathTracker {
 public:
   // A parser callback: always keeps the value.
   bool event( nlohmann::json::parse_event_t event, const Json & parsed );

   // The path of the value being read: in an array, the element after the
   // ones read; in an object, the value of the last key, or the object
   // itself while the next key is awaited.
   std::string path() const;

 private:
   struct Frame {
      bool array;
      std::string key;
      bool keyActive;
      std::size_t elementsRead;
      std::set< std::string > keys;
   };

   void valueRead();

   std::vector< Frame > frames_;
};

} // namespace TunnelSim
