#pragma once

#include <cstddef>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tools/tunnelsim/JsonValue.h"

namespace TunnelSim {

// Builds a document from the parser's events (a SAX handler), in time linear
// in the text. It knows at every moment which value is being read, and spells
// out its JSON path only when a problem has to be placed. Refuses a key
// written twice in an object, and nesting deeper than any scenario needs.
class JsonDocumentBuilder {
 public:
   // Objects and lists nest at most this deep.
   static constexpr std::size_t maxDepth = 32;

   explicit JsonDocumentBuilder( Json & document ) : document_( document ) {}

   bool null() { return value( nullptr ); }
   bool boolean( bool b ) { return value( b ); }
   bool number_integer( Json::number_integer_t n ) { return value( n ); }
   bool number_unsigned( Json::number_unsigned_t n ) { return value( n ); }
   bool number_float( Json::number_float_t n, const std::string & ) { return value( n ); }
   bool string( std::string & s ) { return value( std::move( s ) ); }
   bool binary( Json::binary_t & b ) { return value( std::move( b ) ); }
   bool start_object( std::size_t ) { return open( Json::object() ); }
   bool start_array( std::size_t ) { return open( Json::array() ); }
   bool end_object() { return close(); }
   bool end_array() { return close(); }
   bool key( std::string & key );
   // The parser's own error, passed on as it is.
   template< class Exception >
   bool parse_error( std::size_t, const std::string &, const Exception & error ) {
      throw error;
   }

   // The path of the value being read: in a list, the element after the ones
   // read; in an object, the value of the last key, or the object itself
   // while the next key is awaited.
   std::string path() const;

 private:
   struct Frame {
      Json * container;
      // The keys of a large object, so that a repeated one is found at once.
      std::unordered_set< std::string > keys;
   };

   // Where the next value goes: the document, a new element, or the value of
   // the key just read.
   Json & slot();
   template< class Value >
   bool value( Value && v ) {
      slot() = Json( std::forward< Value >( v ) );
      keyPending_ = false;
      return true;
   }
   bool open( Json empty );
   bool close();

   Json & document_;
   std::vector< Frame > frames_;
   // The innermost object has read a key and awaits its value.
   bool keyPending_ = false;
};

} // namespace TunnelSim
