#include "tools/tunnelsim/JsonPrint.h"

namespace TunnelSim {

namespace {

// Text that is not UTF-8 is printed with replacement characters rather than
// refused: output must never fail.
std::string dumped( const Json & json ) {
   return json.dump( -1, ' ', false, Json::error_handler_t::replace );
}

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
      out += dumped( json );
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
         out += dumped( Json( item.key() ) ) + ": ";
      }
      print( item.value(), indent + 2, out );
   }
   if ( !oneLine ) {
      out += '\n';
      out.append( static_cast< std::size_t >( indent ), ' ' );
   }
   out += object ? "}" : "]";
}

} // namespace

std::string prettyJson( const Json & json ) {
   std::string out;
   print( json, 0, out );
   return out;
}

} // namespace TunnelSim
