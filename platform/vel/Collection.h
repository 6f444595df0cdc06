#pragma once

#include <functional>
#include <map>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/vel/FlatMap.h"
#include "platform/vel/Reactor.h"

namespace Vel {

// A watchable keyed collection over an ordered or a hash map. Every change
// notifies the key that changed.
template< class K, class V, class Map = std::unordered_map< K, V > >
class Collection {
 public:
   using Key = K;
   using Value = V;
   using const_iterator = typename Map::const_iterator;

   Collection() = default;
   Collection( const Collection & ) = delete;
   Collection & operator=( const Collection & ) = delete;

   bool has( const K & key ) const { return find( key ) != nullptr; }
   const V * find( const K & key ) const { return valueOf( map_, key ); }
   V * find( const K & key ) { return valueOf( map_, key ); }
   // The value of the key, or a default value when the key is absent.
   V get( const K & key ) const {
      const V * v = find( key );
      return v ? *v : V{};
   }

   // Insert or overwrite; always notifies the key. The returned reference
   // survives rehashing by reactors, not a reactor deleting the key.
   V & set( const K & key, V value ) {
      V & stored = map_.insert_or_assign( key, std::move( value ) ).first->second;
      changed_.notify( key );
      return stored;
   }
   // Notifies only when the key was there.
   bool del( const K & key ) {
      if ( map_.erase( key ) == 0 ) {
         return false;
      }
      changed_.notify( key );
      return true;
   }
   void delAll() {
      while ( !map_.empty() ) {
         K key = map_.begin()->first;
         map_.erase( key );
         changed_.notify( key );
      }
   }

   std::size_t size() const noexcept { return map_.size(); }
   bool empty() const noexcept { return map_.empty(); }
   const_iterator begin() const { return map_.begin(); }
   const_iterator end() const { return map_.end(); }
   const Map & map() const noexcept { return map_; }

   // Visits every key present when the walk reaches it; the callback may
   // delete the current element (or any other).
   template< class F >
   void forEachKey( F && f ) const {
      if constexpr ( requires( const Map & m, const K & k ) { m.upper_bound( k ); } ) {
         for ( auto it = map_.begin(); it != map_.end(); ) {
            K key = it->first;
            if constexpr ( requires( const Map & m ) { m.keyChanges(); } ) {
               // A step that changed no key leaves the iterator valid.
               const auto before = map_.keyChanges();
               map_.walkHintIs( it );
               f( key );
               map_.walkHintDel();
               if ( map_.keyChanges() == before ) {
                  ++it;
                  continue;
               }
            } else {
               f( key );
            }
            it = map_.upper_bound( key );
         }
      } else {
         std::vector< K > keys;
         keys.reserve( map_.size() );
         for ( const auto & [ key, value ] : map_ ) {
            keys.push_back( key );
         }
         for ( const K & key : keys ) {
            if ( has( key ) ) {
               f( key );
            }
         }
      }
   }

   [[nodiscard]] Reactor react( std::function< void( const K & ) > callback ) const {
      return changed_.react( std::move( callback ) );
   }

 private:
   // A map that finds values through an index of its own says so.
   template< class M >
   static auto * valueOf( M & map, const K & key ) {
      if constexpr ( requires { map.findValue( key ); } ) {
         return map.findValue( key );
      } else {
         auto it = map.find( key );
         return it == map.end() ? nullptr : &it->second;
      }
   }

   Map map_;
   mutable Signal< const K & > changed_;
};

template< class K, class V, class Less = std::less< K > >
using OrderedCollection = Collection< K, V, std::map< K, V, Less > >;

// An ordered collection for the many small ones of a large table: no node
// per element, and references do not survive a change.
template< class K, class V, std::size_t InlineCount = 2, class Less = std::less< K > >
using SmallOrderedCollection = Collection< K, V, FlatMap< K, V, Less, InlineCount > >;

template< class K, class V, class Hash = std::hash< K > >
using HashCollection = Collection< K, V, std::unordered_map< K, V, Hash > >;

// A set of keys: a collection whose values carry nothing.
struct Present {
   friend bool operator==( Present, Present ) noexcept { return true; }
};

} // namespace Vel
