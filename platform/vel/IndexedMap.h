#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iterator>
#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/vel/FlatHashMap.h"
#include "platform/vel/NodePool.h"

namespace Vel {

// The hash an index asks a key for: a few instructions over the key's words.
// The index spreads it itself, and its order shows nowhere.
template< class K >
struct IndexHash {
   std::uint64_t operator()( const K & key ) const noexcept { return key.indexHash(); }
};

// What a lookup through a hash index loads, in turn: the slot, then the
// element it names. A caller that knows its next keys asks for each load a
// little before it needs it.
enum class IndexLoad { slot, element };

// An ordered map for tables of a million keys, where a tree of one node per
// key misses the caches at every level. Each element lives in a block of its
// own, from the map's pool, and stays where it is until erased. A hash index
// finds it by key: a probe of a flat array of tags, each beside its element's
// address, then the element. The order is kept by a B+ tree, sixteen to a
// node: its leaves hold element pointers alone (a leaf reads its keys from
// the elements, which hold them anyway), the inner nodes copies of keys.
//
// The tree learns of new keys only when the order is next read: a walk, a
// bound, or find. Until then they wait in a list, and are then sorted and
// put in from left to right, so that a table loaded in any order reads each
// leaf from memory once, not once a key from the top down. Into an empty
// tree they go as full nodes built level by level.
//
// Unlike a node-based map, an insertion or erasure moves its neighbours
// within their leaf, so it invalidates iterators (never element references);
// rewriting an element's value invalidates nothing. Lookups return the
// element, not an iterator.
template< class K, class V, class Less = std::less< K >, class Hash = IndexHash< K > >
class IndexedMap {
 public:
   using key_type = K;
   using mapped_type = V;
   using value_type = std::pair< const K, V >;
   using key_compare = Less;

 private:
   static constexpr unsigned fanout = 16;
   static constexpr unsigned half = fanout / 2;

   struct Element {
      template< class... Args >
      explicit Element( Args &&... args ) : value( std::forward< Args >( args )... ) {}
      value_type value;
      // Its place in pending_, plus one; zero once in the tree.
      std::size_t pendingAt = 0;
   };

   struct Leaf {
      Element * values[ fanout ];
      unsigned count = 0;
      Leaf * prev = nullptr;
      Leaf * next = nullptr;
   };
   // Child i holds keys from keys[ i ] (for i > 0) up to keys[ i + 1 ]; the
   // children are leaves on the lowest inner level, inner nodes above.
   struct Inner {
      K keys[ fanout ];
      void * children[ fanout ];
      unsigned count = 0;
   };

 public:
   template< bool Const >
   class Iterator {
    public:
      using iterator_category = std::bidirectional_iterator_tag;
      using value_type = IndexedMap::value_type;
      using difference_type = std::ptrdiff_t;
      using reference = std::conditional_t< Const, const value_type &, value_type & >;
      using pointer = std::conditional_t< Const, const value_type *, value_type * >;

      Iterator() = default;
      Iterator( const IndexedMap * map, Leaf * leaf, unsigned pos )
            : map_( map ), leaf_( leaf ), pos_( pos ) {}
      operator Iterator< true >() const { return Iterator< true >( map_, leaf_, pos_ ); }

      reference operator*() const { return leaf_->values[ pos_ ]->value; }
      pointer operator->() const { return &leaf_->values[ pos_ ]->value; }
      Iterator & operator++() {
         if ( ++pos_ == leaf_->count ) {
            leaf_ = leaf_->next;
            pos_ = 0;
         }
         return *this;
      }
      Iterator operator++( int ) {
         Iterator before = *this;
         ++*this;
         return before;
      }
      Iterator & operator--() {
         if ( !leaf_ ) {
            leaf_ = map_->last_;
            pos_ = leaf_->count - 1;
         } else if ( pos_ == 0 ) {
            leaf_ = leaf_->prev;
            pos_ = leaf_->count - 1;
         } else {
            --pos_;
         }
         return *this;
      }
      Iterator operator--( int ) {
         Iterator before = *this;
         --*this;
         return before;
      }
      friend bool operator==( const Iterator & a, const Iterator & b ) {
         return a.leaf_ == b.leaf_ && a.pos_ == b.pos_;
      }

    private:
      friend class IndexedMap;
      const IndexedMap * map_ = nullptr;
      // Null at the end.
      Leaf * leaf_ = nullptr;
      unsigned pos_ = 0;
   };
   using iterator = Iterator< false >;
   using const_iterator = Iterator< true >;

   IndexedMap() = default;
   IndexedMap( const IndexedMap & ) = delete;
   IndexedMap & operator=( const IndexedMap & ) = delete;
   ~IndexedMap() { clear(); }

   std::size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   // Insertions and erasures so far: a walk that finds it unchanged after a
   // step may go on from its iterator.
   std::uint64_t keyChanges() const noexcept { return keyChanges_; }
   iterator begin() {
      ordered();
      return iterator( this, first_, 0 );
   }
   iterator end() {
      ordered();
      return iterator( this, nullptr, 0 );
   }
   const_iterator begin() const {
      ordered();
      return const_iterator( this, first_, 0 );
   }
   const_iterator end() const {
      ordered();
      return const_iterator( this, nullptr, 0 );
   }

   iterator lower_bound( const K & key ) { return bound< false >( key ); }
   const_iterator lower_bound( const K & key ) const { return bound< false >( key ); }
   iterator upper_bound( const K & key ) { return bound< true >( key ); }
   const_iterator upper_bound( const K & key ) const { return bound< true >( key ); }
   // Through the tree; findValue is the lookup through the index.
   iterator find( const K & key ) {
      const iterator at = lower_bound( key );
      return at != end() && at->first == key ? at : end();
   }
   const_iterator find( const K & key ) const {
      const const_iterator at = lower_bound( key );
      return at != end() && at->first == key ? at : end();
   }

   // The element's value, or null.
   V * findValue( const K & key ) {
      Element * found = lookup( key, tagOf( key ) );
      return found ? &found->value.second : nullptr;
   }
   const V * findValue( const K & key ) const {
      const Element * found = lookup( key, tagOf( key ) );
      return found ? &found->value.second : nullptr;
   }
   bool contains( const K & key ) const { return lookup( key, tagOf( key ) ) != nullptr; }
   // The element a walk of the map stands on, or null: the walk's callback
   // mostly looks up that very key, which then needs no probe of the index.
   void walkHintIs( const_iterator at ) const noexcept {
      walkHint_ = at.leaf_ ? at.leaf_->values[ at.pos_ ] : nullptr;
   }
   void walkHintDel() const noexcept { walkHint_ = nullptr; }
   // Starts loading what a lookup of the key reads: its slot, or, a while
   // later with the slot at hand, the element whose tag it meets. A hint: an
   // absent key costs the load and nothing else.
   void prefetch( const K & key, IndexLoad load ) const noexcept {
      if ( slots_.empty() ) {
         return;
      }
      const std::uint32_t tag = tagOf( key );
      std::size_t slot = home( tag );
      if ( load == IndexLoad::slot ) {
         __builtin_prefetch( &slots_[ slot ] );
         return;
      }
      for ( ; slots_[ slot ].tag != 0; slot = next( slot ) ) {
         if ( slots_[ slot ].tag == tag ) {
            __builtin_prefetch( slots_[ slot ].element() );
            return;
         }
      }
   }
   std::size_t count( const K & key ) const { return contains( key ) ? 1 : 0; }

   // The element, and whether it is new; the arguments are left untouched
   // when the key is present. A failed insertion changes nothing.
   template< class... Args >
   std::pair< value_type *, bool > try_emplace( const K & key, Args &&... args ) {
      const std::uint32_t tag = tagOf( key );
      if ( Element * found = lookup( key, tag ) ) {
         return { &found->value, false };
      }
      reserveIndex( size_ + 1 );
      if ( pending_.size() == pending_.capacity() ) {
         pending_.reserve( pending_.size() + pending_.size() / 2 + 16 );
      }
      Element * element = makeElement( key, std::forward< Args >( args )... );
      place( tag, element );
      pending_.push_back( element );
      element->pendingAt = pending_.size();
      ++size_;
      ++keyChanges_;
      return { &element->value, true };
   }
   template< class M >
   std::pair< value_type *, bool > insert_or_assign( const K & key, M && value ) {
      auto [ element, inserted ] = try_emplace( key, std::forward< M >( value ) );
      if ( !inserted ) {
         element->second = std::forward< M >( value );
      }
      return { element, inserted };
   }

   std::size_t erase( const K & key ) {
      const std::uint32_t tag = tagOf( key );
      const std::size_t slot = slotOf( key, tag );
      if ( slot == npos ) {
         return 0;
      }
      Element * element = slots_[ slot ].element();
      if ( element == walkHint_ ) {
         walkHint_ = nullptr;
      }
      removeSlot( slot );
      if ( element->pendingAt ) {
         dropPending( *element );
      } else {
         unlink( *element );
      }
      dropElement( element );
      --size_;
      ++keyChanges_;
      return 1;
   }
   void erase( const_iterator at ) {
      const K key = at->first;
      erase( key );
   }

   void clear() noexcept {
      walkHint_ = nullptr;
      for ( Element * element : pending_ ) {
         dropElement( element );
      }
      pending_ = {};
      for ( Leaf * leaf = first_; leaf; leaf = leaf->next ) {
         for ( unsigned i = 0; i < leaf->count; ++i ) {
            dropElement( leaf->values[ i ] );
         }
      }
      if ( root_ ) {
         freeTree( root_, height_ );
      }
      root_ = nullptr;
      first_ = last_ = nullptr;
      height_ = 0;
      size_ = 0;
      ++keyChanges_;
      slots_ = {};
   }

 private:
   using Allocator = PoolAllocator< Element >;
   using Traits = std::allocator_traits< Allocator >;

   template< class... Args >
   Element * makeElement( const K & key, Args &&... args ) {
      Allocator allocator( &pool_ );
      Element * element = Traits::allocate( allocator, 1 );
      try {
         Traits::construct( allocator, element, std::piecewise_construct,
                            std::forward_as_tuple( key ),
                            std::forward_as_tuple( std::forward< Args >( args )... ) );
      } catch ( ... ) {
         Traits::deallocate( allocator, element, 1 );
         throw;
      }
      return element;
   }
   void dropElement( Element * element ) noexcept {
      Allocator allocator( &pool_ );
      Traits::destroy( allocator, element );
      Traits::deallocate( allocator, element, 1 );
   }

   // --- The B+ tree.

   struct Step {
      Inner * node;
      unsigned child;
   };
   // Where an insertion goes (null in an empty tree, the path to it in
   // path_) and the nodes it may need, made before anything changes.
   struct Spare {
      Leaf * target = nullptr;
      std::unique_ptr< Leaf > leaf;
      std::vector< std::unique_ptr< Inner > > inners;
   };

   static unsigned childFor( const Inner & inner, const K & key ) {
      return unsigned( std::upper_bound( inner.keys + 1, inner.keys + inner.count, key, Less() ) -
                       inner.keys ) - 1;
   }
   // The leaf whose range holds key, the path to it noted in path_.
   Leaf * descend( const K & key, bool notePath ) const {
      void * node = root_;
      for ( unsigned level = 0; level < height_; ++level ) {
         Inner * inner = static_cast< Inner * >( node );
         const unsigned child = childFor( *inner, key );
         if ( notePath ) {
            path_[ level ] = { inner, child };
         }
         node = inner->children[ child ];
      }
      return static_cast< Leaf * >( node );
   }

   template< bool Upper >
   Iterator< false > bound( const K & key ) const {
      ordered();
      if ( !root_ ) {
         return Iterator< false >( this, nullptr, 0 );
      }
      Leaf * leaf = descend( key, false );
      const unsigned pos = Upper ? upperBound( *leaf, key ) : lowerBound( *leaf, key );
      if ( pos == leaf->count ) {
         return Iterator< false >( this, leaf->next, 0 );
      }
      return Iterator< false >( this, leaf, pos );
   }

   Spare spareNodesFor( const K & key ) {
      Spare spare;
      if ( !root_ ) {
         spare.leaf = std::make_unique< Leaf >();
         return spare;
      }
      spare.target = descend( key, true );
      if ( spare.target->count < fanout ) {
         return spare;
      }
      spare.leaf = std::make_unique< Leaf >();
      unsigned level = height_;
      while ( level > 0 && path_[ level - 1 ].node->count == fanout ) {
         spare.inners.push_back( std::make_unique< Inner >() );
         --level;
      }
      if ( level == 0 ) {
         spare.inners.push_back( std::make_unique< Inner >() );
         path_.resize( height_ + 1 );
      }
      return spare;
   }

   // Puts the new element in order, where spare says.
   void link( const K & key, Element * element, Spare & spare ) noexcept {
      if ( !spare.target ) {
         Leaf * leaf = spare.leaf.release();
         leaf->values[ 0 ] = element;
         leaf->count = 1;
         root_ = first_ = last_ = leaf;
         return;
      }
      Leaf * leaf = spare.target;
      const unsigned pos = lowerBound( *leaf, key );
      if ( leaf->count < fanout ) {
         insertAt( *leaf, pos, key, element );
         return;
      }
      // Keys that come in ascending order, as a producer often writes them,
      // leave full nodes behind them rather than half-full ones.
      const bool appending = leaf == last_ && pos == fanout;
      Leaf * right = spare.leaf.release();
      right->prev = leaf;
      right->next = leaf->next;
      ( leaf->next ? leaf->next->prev : last_ ) = right;
      leaf->next = right;
      if ( appending ) {
         insertAt( *right, 0, key, element );
      } else {
         moveUpperHalf( *leaf, *right );
         if ( pos <= half ) {
            insertAt( *leaf, pos, key, element );
         } else {
            insertAt( *right, pos - half, key, element );
         }
      }
      K separator = keyAt( *right, 0 );
      void * newChild = right;
      auto spareInner = spare.inners.begin();
      for ( unsigned level = height_; level > 0; --level ) {
         Inner & inner = *path_[ level - 1 ].node;
         const unsigned at = path_[ level - 1 ].child + 1;
         if ( inner.count < fanout ) {
            insertAt( inner, at, separator, newChild );
            return;
         }
         Inner * rightInner = ( spareInner++ )->release();
         if ( appending ) {
            insertAt( *rightInner, 0, separator, newChild );
         } else {
            moveUpperHalf( inner, *rightInner );
            if ( at <= half ) {
               insertAt( inner, at, separator, newChild );
            } else {
               insertAt( *rightInner, at - half, separator, newChild );
            }
         }
         separator = rightInner->keys[ 0 ];
         newChild = rightInner;
      }
      Inner * root = ( spareInner++ )->release();
      root->children[ 0 ] = root_;
      root->children[ 1 ] = newChild;
      root->keys[ 1 ] = separator;
      root->count = 2;
      root_ = root;
      ++height_;
   }

   // Takes the element out of its leaf, and the leaf out of the tree once
   // empty.
   void unlink( const Element & element ) noexcept {
      Leaf * leaf = descend( element.value.first, true );
      const unsigned pos =
         unsigned( std::find( leaf->values, leaf->values + leaf->count, &element ) - leaf->values );
      removeAt( *leaf, pos );
      if ( leaf->count > 0 ) {
         return;
      }
      ( leaf->prev ? leaf->prev->next : first_ ) = leaf->next;
      ( leaf->next ? leaf->next->prev : last_ ) = leaf->prev;
      delete leaf;
      unsigned level = height_;
      for ( ; level > 0; --level ) {
         Inner * inner = path_[ level - 1 ].node;
         removeAt( *inner, path_[ level - 1 ].child );
         if ( inner->count > 0 ) {
            break;
         }
         delete inner;
      }
      if ( level == 0 ) {
         root_ = nullptr;
         height_ = 0;
         path_.clear();
         return;
      }
      // A root left with one child gives way to it.
      while ( height_ > 0 && static_cast< Inner * >( root_ )->count == 1 ) {
         Inner * old = static_cast< Inner * >( root_ );
         root_ = old->children[ 0 ];
         delete old;
         --height_;
      }
   }

   static const K & keyAt( const Leaf & leaf, unsigned pos ) noexcept {
      return leaf.values[ pos ]->value.first;
   }
   // Searches within a leaf read the elements' keys.
   static unsigned lowerBound( const Leaf & leaf, const K & key ) {
      const auto before = [ & ]( const Element * e ) { return Less()( e->value.first, key ); };
      return unsigned( std::partition_point( leaf.values, leaf.values + leaf.count, before ) -
                       leaf.values );
   }
   static unsigned upperBound( const Leaf & leaf, const K & key ) {
      const auto notAfter = [ & ]( const Element * e ) { return !Less()( key, e->value.first ); };
      return unsigned( std::partition_point( leaf.values, leaf.values + leaf.count, notAfter ) -
                       leaf.values );
   }

   // Inner nodes move their keys beside their children; leaves have none.
   template< class Node, class Item >
   static void insertAt( Node & node, unsigned pos, const K & key, Item item ) noexcept {
      for ( unsigned i = node.count; i > pos; --i ) {
         if constexpr ( std::is_same_v< Node, Inner > ) {
            node.keys[ i ] = node.keys[ i - 1 ];
         }
         items( node )[ i ] = items( node )[ i - 1 ];
      }
      if constexpr ( std::is_same_v< Node, Inner > ) {
         node.keys[ pos ] = key;
      }
      items( node )[ pos ] = item;
      ++node.count;
   }
   template< class Node >
   static void removeAt( Node & node, unsigned pos ) noexcept {
      for ( unsigned i = pos + 1; i < node.count; ++i ) {
         if constexpr ( std::is_same_v< Node, Inner > ) {
            node.keys[ i - 1 ] = node.keys[ i ];
         }
         items( node )[ i - 1 ] = items( node )[ i ];
      }
      --node.count;
   }
   template< class Node >
   static void moveUpperHalf( Node & from, Node & to ) noexcept {
      for ( unsigned i = half; i < fanout; ++i ) {
         if constexpr ( std::is_same_v< Node, Inner > ) {
            to.keys[ i - half ] = from.keys[ i ];
         }
         items( to )[ i - half ] = items( from )[ i ];
      }
      from.count = half;
      to.count = fanout - half;
   }
   static Element ** items( Leaf & leaf ) noexcept { return leaf.values; }
   static void ** items( Inner & inner ) noexcept { return inner.children; }

   static void freeTree( void * node, unsigned height ) noexcept {
      if ( height == 0 ) {
         delete static_cast< Leaf * >( node );
         return;
      }
      Inner * inner = static_cast< Inner * >( node );
      for ( unsigned i = 0; i < inner->count; ++i ) {
         freeTree( inner->children[ i ], height - 1 );
      }
      delete inner;
   }

   // --- Keys waiting for the tree.

   // Reading the order is logically const: the tree is a cache of it.
   void ordered() const {
      if ( !pending_.empty() ) {
         const_cast< IndexedMap * >( this )->orderPending();
      }
   }

   // Sorted before they go in, so that the tree is walked once from left to
   // right. The keys are copied out in the order the elements were made,
   // mostly the order of their blocks, so that neither the sort nor the tree
   // reads an element out of turn.
   void orderPending() {
      std::vector< std::pair< K, Element * > > sorted;
      sorted.reserve( pending_.size() );
      for ( Element * element : pending_ ) {
         sorted.emplace_back( element->value.first, element );
         element->pendingAt = 0;
      }
      std::sort( sorted.begin(), sorted.end(),
                 []( const auto & a, const auto & b ) { return Less()( a.first, b.first ); } );
      if ( !root_ ) {
         try {
            build( sorted );
         } catch ( ... ) {
            for ( std::size_t i = 0; i < pending_.size(); ++i ) {
               pending_[ i ]->pendingAt = i + 1;
            }
            throw;
         }
      } else {
         std::size_t done = 0;
         try {
            for ( ; done < sorted.size(); ++done ) {
               Spare spare = spareNodesFor( sorted[ done ].first );
               link( sorted[ done ].first, sorted[ done ].second, spare );
            }
         } catch ( ... ) {
            // Those not in the tree wait on; pending_ has room for them all.
            pending_.clear();
            for ( std::size_t i = done; i < sorted.size(); ++i ) {
               pending_.push_back( sorted[ i ].second );
               sorted[ i ].second->pendingAt = pending_.size();
            }
            throw;
         }
      }
      // A cold start's list goes back; a change's few stay for the next.
      if ( pending_.capacity() > 1024 ) {
         std::vector< Element * >().swap( pending_ );
      } else {
         pending_.clear();
      }
   }

   // Fills an empty tree with the sorted elements: full leaves from left to
   // right, then each inner level over the one below. Every node is made
   // before any is linked, so that a failure leaves the tree empty.
   void build( const std::vector< std::pair< K, Element * > > & sorted ) {
      std::vector< std::unique_ptr< Leaf > > leaves( ( sorted.size() + fanout - 1 ) / fanout );
      for ( auto & leaf : leaves ) {
         leaf = std::make_unique< Leaf >();
      }
      std::vector< std::vector< std::unique_ptr< Inner > > > levels;
      for ( std::size_t below = leaves.size(); below > 1; below = levels.back().size() ) {
         levels.emplace_back( ( below + fanout - 1 ) / fanout );
         for ( auto & inner : levels.back() ) {
            inner = std::make_unique< Inner >();
         }
      }
      path_.resize( levels.size() );

      Leaf * previous = nullptr;
      for ( std::size_t i = 0; i < leaves.size(); ++i ) {
         Leaf & leaf = *leaves[ i ];
         const std::size_t from = i * fanout;
         leaf.count = unsigned( std::min< std::size_t >( fanout, sorted.size() - from ) );
         for ( unsigned k = 0; k < leaf.count; ++k ) {
            leaf.values[ k ] = sorted[ from + k ].second;
         }
         leaf.prev = previous;
         ( previous ? previous->next : first_ ) = &leaf;
         previous = &leaf;
      }
      last_ = previous;
      // The elements under one node of the level below.
      std::size_t childSpan = fanout;
      for ( std::size_t level = 0; level < levels.size(); ++level ) {
         const std::size_t children = level == 0 ? leaves.size() : levels[ level - 1 ].size();
         for ( std::size_t i = 0; i < levels[ level ].size(); ++i ) {
            Inner & inner = *levels[ level ][ i ];
            inner.count = unsigned( std::min< std::size_t >( fanout, children - i * fanout ) );
            for ( unsigned c = 0; c < inner.count; ++c ) {
               const std::size_t child = i * fanout + c;
               inner.children[ c ] = level == 0 ? static_cast< void * >( leaves[ child ].get() )
                                                : levels[ level - 1 ][ child ].get();
               inner.keys[ c ] = sorted[ child * childSpan ].first;
            }
         }
         childSpan *= fanout;
      }
      root_ = levels.empty() ? static_cast< void * >( leaves.front().get() )
                             : levels.back().front().get();
      height_ = unsigned( levels.size() );
      for ( auto & leaf : leaves ) {
         leaf.release();
      }
      for ( auto & level : levels ) {
         for ( auto & inner : level ) {
            inner.release();
         }
      }
   }

   void dropPending( Element & element ) noexcept {
      Element * last = pending_.back();
      pending_[ element.pendingAt - 1 ] = last;
      last->pendingAt = element.pendingAt;
      pending_.pop_back();
   }

   // --- The hash index.

   static constexpr std::size_t npos = ~std::size_t( 0 );

   // A tag and its element's address in twelve bytes: a probe that meets its
   // tag has the address on the same cache line.
   struct Slot {
      std::uint32_t tag = 0;
      unsigned char address[ sizeof( Element * ) ];

      Element * element() const noexcept {
         Element * element;
         std::memcpy( &element, address, sizeof element );
         return element;
      }
      void elementIs( Element * element ) noexcept {
         std::memcpy( address, &element, sizeof element );
      }
   };

   // The top half of the spread hash, never zero, which marks a free slot.
   // A tag's home is the tag scaled to the capacity, so neither growing nor
   // erasing reads an element, and the capacity need not be a power of two.
   static std::uint32_t tagOf( const K & key ) noexcept {
      const std::uint64_t spread = std::uint64_t( Hash()( key ) ) * 0x9E3779B97F4A7C15ull;
      return static_cast< std::uint32_t >( spread >> 32 ) | 1u;
   }
   std::size_t home( std::uint32_t tag ) const noexcept {
      return static_cast< std::size_t >( ( std::uint64_t( tag ) * slots_.size() ) >> 32 );
   }
   std::size_t next( std::size_t slot ) const noexcept {
      return slot + 1 == slots_.size() ? 0 : slot + 1;
   }

   std::size_t slotOf( const K & key, std::uint32_t tag ) const {
      if ( slots_.empty() ) {
         return npos;
      }
      for ( std::size_t slot = home( tag ); slots_[ slot ].tag != 0; slot = next( slot ) ) {
         if ( slots_[ slot ].tag == tag && slots_[ slot ].element()->value.first == key ) {
            return slot;
         }
      }
      return npos;
   }
   Element * lookup( const K & key, std::uint32_t tag ) const {
      if ( walkHint_ && walkHint_->value.first == key ) {
         return walkHint_;
      }
      const std::size_t slot = slotOf( key, tag );
      return slot == npos ? nullptr : slots_[ slot ].element();
   }

   // Needs a free slot.
   void place( std::uint32_t tag, Element * element ) noexcept {
      std::size_t slot = home( tag );
      while ( slots_[ slot ].tag != 0 ) {
         slot = next( slot );
      }
      slots_[ slot ].tag = tag;
      slots_[ slot ].elementIs( element );
   }

   void removeSlot( std::size_t gap ) noexcept {
      for ( std::size_t slot = next( gap ); slots_[ slot ].tag != 0; slot = next( slot ) ) {
         if ( !staysBehindGap( gap, slot, home( slots_[ slot ].tag ) ) ) {
            slots_[ gap ] = slots_[ slot ];
            gap = slot;
         }
      }
      slots_[ gap ].tag = 0;
   }

   // At most seven eighths full, and at least seven twelfths once grown:
   // growing by half keeps the index near 17 bytes a key.
   void reserveIndex( std::size_t count ) {
      if ( count * 8 <= slots_.size() * 7 ) {
         return;
      }
      const std::size_t capacity = slots_.empty() ? 16 : slots_.size() + slots_.size() / 2;
      std::vector< Slot > old( capacity );
      old.swap( slots_ );
      for ( const Slot & slot : old ) {
         if ( slot.tag != 0 ) {
            place( slot.tag, slot.element() );
         }
      }
   }

   // Before the elements, which go back to it.
   NodePool pool_;
   void * root_ = nullptr;
   // Inner levels above the leaves.
   unsigned height_ = 0;
   Leaf * first_ = nullptr;
   Leaf * last_ = nullptr;
   std::size_t size_ = 0;
   std::uint64_t keyChanges_ = 0;
   // The way down to the leaf an insertion or erasure works on.
   mutable std::vector< Step > path_;
   std::vector< Slot > slots_;
   // Elements the tree does not hold yet, in the order they came.
   std::vector< Element * > pending_;
   mutable Element * walkHint_ = nullptr;
};

} // namespace Vel
