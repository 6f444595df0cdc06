#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <utility>
#include <vector>

#include "platform/vel/NodePool.h"

namespace Vel {

// The hash an index asks a key for: a few instructions over the key's words.
// The index spreads it itself, and its order shows nowhere.
template< class K >
struct IndexHash {
   std::uint64_t operator()( const K & key ) const noexcept { return key.indexHash(); }
};

// An ordered map, its nodes from a pool of its own, with a hash index of its
// nodes beside the tree. Order, iteration and iterator stability are the
// tree's; finding a key, present or not, costs a probe of a flat array and a
// look at one node instead of a walk down a tree whose every level misses
// the caches at a million keys. Only inserting a new key walks the tree.
template< class K, class V, class Less = std::less< K >, class Hash = IndexHash< K > >
class IndexedMap {
   using Tree = std::map< K, V, Less, PoolAllocator< std::pair< const K, V > > >;

 public:
   using key_type = K;
   using mapped_type = V;
   using value_type = typename Tree::value_type;
   using key_compare = Less;
   using iterator = typename Tree::iterator;
   using const_iterator = typename Tree::const_iterator;

   IndexedMap() : tree_( Less(), typename Tree::allocator_type( &pool_ ) ) {}
   IndexedMap( const IndexedMap & ) = delete;
   IndexedMap & operator=( const IndexedMap & ) = delete;

   std::size_t size() const noexcept { return tree_.size(); }
   bool empty() const noexcept { return tree_.empty(); }
   iterator begin() noexcept { return tree_.begin(); }
   iterator end() noexcept { return tree_.end(); }
   const_iterator begin() const noexcept { return tree_.begin(); }
   const_iterator end() const noexcept { return tree_.end(); }
   iterator lower_bound( const K & key ) { return tree_.lower_bound( key ); }
   const_iterator lower_bound( const K & key ) const { return tree_.lower_bound( key ); }
   iterator upper_bound( const K & key ) { return tree_.upper_bound( key ); }
   const_iterator upper_bound( const K & key ) const { return tree_.upper_bound( key ); }

   iterator find( const K & key ) {
      const std::size_t slot = slotOf( key, tagOf( key ) );
      return slot == npos ? tree_.end() : nodes_[ slot ];
   }
   const_iterator find( const K & key ) const {
      const std::size_t slot = slotOf( key, tagOf( key ) );
      return slot == npos ? tree_.end() : const_iterator( nodes_[ slot ] );
   }
   bool contains( const K & key ) const { return slotOf( key, tagOf( key ) ) != npos; }
   std::size_t count( const K & key ) const { return contains( key ) ? 1 : 0; }

   // The arguments are left untouched when the key is present.
   template< class... Args >
   std::pair< iterator, bool > try_emplace( const K & key, Args &&... args ) {
      const std::uint32_t tag = tagOf( key );
      if ( const std::size_t slot = slotOf( key, tag ); slot != npos ) {
         return { nodes_[ slot ], false };
      }
      // Room first: a failed insertion leaves both tree and index as they were.
      reserve( tree_.size() + 1 );
      const iterator at = tree_.try_emplace( key, std::forward< Args >( args )... ).first;
      place( tag, at );
      return { at, true };
   }
   template< class M >
   std::pair< iterator, bool > insert_or_assign( const K & key, M && value ) {
      auto [ at, inserted ] = try_emplace( key, std::forward< M >( value ) );
      if ( !inserted ) {
         at->second = std::forward< M >( value );
      }
      return { at, inserted };
   }

   iterator erase( const_iterator at ) {
      const std::size_t slot =
         probe( tagOf( at->first ), [ at ]( const_iterator node ) { return node == at; } );
      removeSlot( slot );
      return tree_.erase( at );
   }
   iterator erase( iterator at ) { return erase( const_iterator( at ) ); }
   std::size_t erase( const K & key ) {
      const std::size_t slot = slotOf( key, tagOf( key ) );
      if ( slot == npos ) {
         return 0;
      }
      const iterator at = nodes_[ slot ];
      removeSlot( slot );
      tree_.erase( at );
      return 1;
   }
   void clear() noexcept {
      tree_.clear();
      tags_ = {};
      nodes_ = {};
   }

 private:
   static constexpr std::size_t npos = ~std::size_t( 0 );

   // The top half of the spread hash, never zero, which marks a free slot.
   // A tag's home is the tag scaled to the capacity, so neither growing nor
   // erasing reads a node, and the capacity need not be a power of two.
   static std::uint32_t tagOf( const K & key ) noexcept {
      const std::uint64_t spread = std::uint64_t( Hash()( key ) ) * 0x9E3779B97F4A7C15ull;
      return static_cast< std::uint32_t >( spread >> 32 ) | 1u;
   }
   std::size_t home( std::uint32_t tag ) const noexcept {
      return static_cast< std::size_t >( ( std::uint64_t( tag ) * tags_.size() ) >> 32 );
   }
   std::size_t next( std::size_t slot ) const noexcept {
      return slot + 1 == tags_.size() ? 0 : slot + 1;
   }

   template< class Match >
   std::size_t probe( std::uint32_t tag, Match matches ) const {
      if ( tags_.empty() ) {
         return npos;
      }
      for ( std::size_t slot = home( tag ); tags_[ slot ] != 0; slot = next( slot ) ) {
         if ( tags_[ slot ] == tag && matches( const_iterator( nodes_[ slot ] ) ) ) {
            return slot;
         }
      }
      return npos;
   }
   std::size_t slotOf( const K & key, std::uint32_t tag ) const {
      return probe( tag, [ &key ]( const_iterator node ) { return node->first == key; } );
   }

   // Needs a free slot.
   void place( std::uint32_t tag, iterator node ) noexcept {
      std::size_t slot = home( tag );
      while ( tags_[ slot ] != 0 ) {
         slot = next( slot );
      }
      tags_[ slot ] = tag;
      nodes_[ slot ] = node;
   }

   // Backward shift: each element of the run after the gap moves into it
   // unless its home lies cyclically within (gap, element].
   void removeSlot( std::size_t gap ) noexcept {
      for ( std::size_t slot = next( gap ); tags_[ slot ] != 0; slot = next( slot ) ) {
         const std::size_t want = home( tags_[ slot ] );
         const bool stays =
            gap <= slot ? ( gap < want && want <= slot ) : ( gap < want || want <= slot );
         if ( !stays ) {
            tags_[ gap ] = tags_[ slot ];
            nodes_[ gap ] = nodes_[ slot ];
            gap = slot;
         }
      }
      tags_[ gap ] = 0;
   }

   // At most seven eighths full, and at least seven twelfths once grown:
   // a probe reads tags, sixteen to a cache line, and looks at a node only
   // when a tag matches; growing by half keeps the index near 17 bytes a key.
   void reserve( std::size_t count ) {
      if ( count * 8 <= tags_.size() * 7 ) {
         return;
      }
      const std::size_t capacity = tags_.empty() ? 16 : tags_.size() + tags_.size() / 2;
      std::vector< std::uint32_t > oldTags( capacity, 0 );
      std::vector< iterator > oldNodes( capacity );
      oldTags.swap( tags_ );
      oldNodes.swap( nodes_ );
      for ( std::size_t i = 0; i < oldTags.size(); ++i ) {
         if ( oldTags[ i ] != 0 ) {
            place( oldTags[ i ], oldNodes[ i ] );
         }
      }
   }

   // Before the tree, which gives its nodes back to it.
   NodePool pool_;
   Tree tree_;
   std::vector< std::uint32_t > tags_;
   std::vector< iterator > nodes_;
};

} // namespace Vel
