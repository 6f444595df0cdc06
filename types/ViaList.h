#pragma once

#include <compare>
#include <ostream>
#include <stdexcept>
#include <string>

#include "platform/vel/InlineVector.h"
#include "platform/vel/RangeException.h"

namespace Tunnel::TunnelTable {

// An index into the vias of one protocol table entry: 600 slots.
using ViaIndex = Vel::BoundedIndex< "ViaIndex", unsigned, 0u, 599u >;

constexpr unsigned maxViasPerTableEntry = ViaIndex::max + 1;

// The vias of a protocol table entry, at most 600, in the producer's order.
// Indexing is through ViaIndex, so a walk that steps to index 600 raises the
// ViaIndex range error.
template< class V >
class ViaList {
 public:
   ViaList() = default;
   ViaList( std::initializer_list< V > vias ) {
      for ( const V & v : vias ) {
         add( v );
      }
   }

   unsigned size() const noexcept { return static_cast< unsigned >( vias_.size() ); }
   bool empty() const noexcept { return vias_.empty(); }
   const V & operator[]( ViaIndex i ) const {
      if ( i.value() >= vias_.size() ) {
         throw std::out_of_range( "ViaList index" );
      }
      return vias_[ i.value() ];
   }
   // Appends; the 601st via raises the ViaIndex range error.
   void add( const V & via ) {
      ViaIndex::of( vias_.size() );
      vias_.push_back( via );
   }
   void delAll() noexcept { vias_.clear(); }

   auto begin() const noexcept { return vias_.begin(); }
   auto end() const noexcept { return vias_.end(); }

   std::string stringValue() const {
      std::string s = "[";
      for ( const V & v : vias_ ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

   friend auto operator<=>( const ViaList &, const ViaList & ) = default;
   friend bool operator==( const ViaList &, const ViaList & ) = default;

 private:
   // Nearly every tunnel has one via: copying an entry allocates nothing.
   Vel::InlineVector< V, 1 > vias_;
};

} // namespace Tunnel::TunnelTable
