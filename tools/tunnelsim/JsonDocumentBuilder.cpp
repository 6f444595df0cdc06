#include "tools/tunnelsim/JsonDocumentBuilder.h"

#include <algorithm>

#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelSim {

namespace {

// Objects of up to this many members are searched for a repeated key; larger
// ones keep a set of their keys.
constexpr std::size_t keysSearchedInPlace = 16;

} // namespace

Json & JsonDocumentBuilder::slot() {
   if ( frames_.empty() ) {
      return document_;
   }
   Json & container = *frames_.back().container;
   if ( container.is_array() ) {
      container.push_back( nullptr );
      return container.back();
   }
   return container.get_ref< Json::object_t & >().back().second;
}

bool JsonDocumentBuilder::open( Json empty ) {
   if ( frames_.size() >= maxDepth ) {
      throw ScenarioError( path(), "expected at most " + std::to_string( maxDepth ) +
                                      " levels of nested objects and lists" );
   }
   Json & container = slot();
   container = std::move( empty );
   frames_.push_back( Frame{ &container, {} } );
   keyPending_ = false;
   return true;
}

bool JsonDocumentBuilder::close() {
   frames_.pop_back();
   keyPending_ = false;
   return true;
}

bool JsonDocumentBuilder::key( std::string & key ) {
   Frame & frame = frames_.back();
   auto & members = frame.container->get_ref< Json::object_t & >();
   bool repeated;
   if ( members.size() < keysSearchedInPlace ) {
      repeated = std::any_of( members.begin(), members.end(),
                              [ & ]( const auto & member ) { return member.first == key; } );
   } else {
      if ( frame.keys.empty() ) {
         for ( const auto & member : members ) {
            frame.keys.insert( member.first );
         }
      }
      repeated = !frame.keys.insert( key ).second;
   }
   if ( repeated ) {
      throw ScenarioError( memberPath( path(), key ), "this key appears twice in its object" );
   }
   // Appended as it is: the ordered object's own insert looks for the key
   // among all members first, which makes a wide object quadratic to read.
   members.emplace_back( std::move( key ), nullptr );
   keyPending_ = true;
   return true;
}

std::string JsonDocumentBuilder::path() const {
   std::string result = "$";
   for ( std::size_t i = 0; i < frames_.size(); ++i ) {
      const Json & container = *frames_[ i ].container;
      // An outer container's last element is the one being read.
      bool innermost = i + 1 == frames_.size();
      if ( container.is_array() ) {
         result += '[';
         result += std::to_string( container.size() - ( innermost ? 0 : 1 ) );
         result += ']';
      } else if ( !innermost || keyPending_ ) {
         result = memberPath( result, container.get_ref< const Json::object_t & >().back().first );
      }
   }
   return result;
}

} // namespace TunnelSim
