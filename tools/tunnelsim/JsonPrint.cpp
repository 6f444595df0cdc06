#include "tools/tunnelsim/JsonPrint.h"

namespace TunnelSim {

namespace {

bool flat( const Json & json ) {
   if ( !json.is_structured() ) {
      return true;
   }
   for ( const auto & element : json ) {
      if ( element.is_object() || ( element.is_array() && !flat( element ) ) ) {
         return false;
      }
   }
   return true;
}

void print( const Json & json, int indent, std::string & out ) {
   if ( !json.is_structured() || json.empty() ) {
      out += json.dump();
      return;
   }
   bool object = json.is_object();
   bool oneLine = flat( json );
   std::string inner( indent + 2, ' ' );
   out += object ? "{" : "[";
   bool first = true;
   for ( const auto & item : json.items() ) {
      out += first ? ( oneLine ? "" : "\n" + inner ) : ( oneLine ? ", " : ",\n" + inner );
      first = false;
      if ( object ) {
         out += Json( item.key() ).dump() + ": ";
      }
      print( item.value(), indent + 2, out );
   }
   out += oneLine ? "" : "\n" + std::string( indent, ' ' );
   out += object ? "}" : "]";
}

} // namespace

std::string prettyJson( const Json & json ) {
   std::string out;
   print( json, 0, out );
   return out;
}

} // namespace TunnelSim
