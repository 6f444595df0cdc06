#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <utility>

#include "platform/vel/InlineVector.h"

namespace Vel {

// An ordered map over a sorted inline vector: for the many small maps of a
// large table (a tunnel's endpoints, an endpoint's candidates), where a
// node per element would cost an allocation each. Iterators and references
// do not survive an insertion or an erasure.
template< class K, class V, class Less = std::less< K >, std::size_t N = 2 >
class FlatMap {
 public:
   using key_type = K;
   using mapped_type = V;
   using value_type = std::pair< K, V >;
   using Storage = InlineVector< value_type, N >;
   using iterator = typename Storage::iterator;
   using const_iterator = typename Storage::const_iterator;

   std::size_t size() const noexcept { return items_.size(); }
   bool empty() const noexcept { return items_.empty(); }
   iterator begin() noexcept { return items_.begin(); }
   iterator end() noexcept { return items_.end(); }
   const_iterator begin() const noexcept { return items_.begin(); }
   const_iterator end() const noexcept { return items_.end(); }

   const_iterator lower_bound( const K & key ) const {
      return std::lower_bound( items_.begin(), items_.end(), key, keyLess );
   }
   iterator lower_bound( const K & key ) {
      return std::lower_bound( items_.begin(), items_.end(), key, keyLess );
   }
   const_iterator upper_bound( const K & key ) const {
      return std::upper_bound( items_.begin(), items_.end(), key, lessKey );
   }
   const_iterator find( const K & key ) const {
      const auto at = lower_bound( key );
      return at != end() && !Less()( key, at->first ) ? at : end();
   }
   iterator find( const K & key ) {
      const auto at = lower_bound( key );
      return at != end() && !Less()( key, at->first ) ? at : end();
   }

   std::pair< iterator, bool > insert_or_assign( const K & key, V value ) {
      const auto at = lower_bound( key );
      if ( at != end() && !Less()( key, at->first ) ) {
         at->second = std::move( value );
         return { at, false };
      }
      return { items_.insert( at, value_type( key, std::move( value ) ) ), true };
   }
   iterator erase( const_iterator at ) { return items_.erase( at ); }
   std::size_t erase( const K & key ) {
      const auto at = find( key );
      if ( at == end() ) {
         return 0;
      }
      items_.erase( at );
      return 1;
   }
   void clear() noexcept { items_.clear(); }

   friend bool operator==( const FlatMap & a, const FlatMap & b ) { return a.items_ == b.items_; }

 private:
   static bool keyLess( const value_type & item, const K & key ) { return Less()( item.first, key ); }
   static bool lessKey( const K & key, const value_type & item ) { return Less()( key, item.first ); }

   Storage items_;
};

} // namespace Vel
