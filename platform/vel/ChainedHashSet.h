#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <unordered_set>
#include <utility>
#include <vector>

#ifndef __GLIBCXX__
#error "ChainedHashSet keeps the iteration order of the GNU standard library's hash set"
#endif

namespace Vel {

// A hash set that walks its keys in exactly the order std::unordered_set
// walks them, given the same 32-bit hash and the same history of
// insertions, erasures and clears: one list of all nodes, grouped by
// bucket; an insertion at the front of its bucket, or at the front of the
// list when the bucket is empty; prime bucket counts from the standard's own
// growth policy; a rehash that relinks the list in its own way. Where the
// order of a walk is part of a program's behaviour, this set keeps it while
// its nodes sit in one array and link by 32-bit indices: 16 bytes a node for
// an 8-byte key, and 4 a bucket. And a caller that knows its next keys can
// start loading their buckets ahead of time, which the standard set cannot
// be asked to do.
//
// Unlike the standard set, an iterator stays valid through a rehash (only
// the order it walks changes), and through any erasure but its own.
template< class K, class Hash >
class ChainedHashSet {
   static constexpr std::uint32_t lastBit = std::uint32_t( 1 ) << 31;
   static constexpr std::uint32_t npos = lastBit - 1;
   // Node 0 stands before the first node of the list.
   static constexpr std::uint32_t beforeBegin = 0;

   struct Node {
      // The next node's index, and in the top bit whether this node ends its
      // bucket's group, so that a search of the group stops without reading
      // the node after it.
      std::uint32_t link;
      std::uint32_t hash;
      K key;

      std::uint32_t next() const noexcept { return link & npos; }
      bool last() const noexcept { return link & lastBit; }
      void nextIs( std::uint32_t next ) noexcept { link = ( link & lastBit ) | next; }
      void lastIs( bool last ) noexcept { link = ( link & npos ) | ( last ? lastBit : 0 ); }
   };

 public:
   class const_iterator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using value_type = K;
      using difference_type = std::ptrdiff_t;
      using reference = const K &;
      using pointer = const K *;

      const_iterator() = default;
      const_iterator( const ChainedHashSet * set, std::uint32_t node )
            : set_( set ), node_( node ) {}
      reference operator*() const { return set_->nodes_[ node_ ].key; }
      pointer operator->() const { return &set_->nodes_[ node_ ].key; }
      const_iterator & operator++() {
         node_ = set_->nodes_[ node_ ].next();
         return *this;
      }
      const_iterator operator++( int ) {
         const const_iterator before = *this;
         ++*this;
         return before;
      }
      friend bool operator==( const const_iterator & a, const const_iterator & b ) {
         return a.node_ == b.node_;
      }

    private:
      friend class ChainedHashSet;
      const ChainedHashSet * set_ = nullptr;
      std::uint32_t node_ = npos;
   };

   ChainedHashSet() {
      // As the standard set made with no buckets asked for: one bucket.
      buckets_.assign( policy_._M_next_bkt( 0 ), npos );
      clearNodes();
   }

   std::size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   std::size_t bucket_count() const noexcept { return buckets_.size(); }
   const_iterator begin() const noexcept { return { this, nodes_[ beforeBegin ].next() }; }
   const_iterator end() const noexcept { return { this, npos }; }

   const_iterator find( const K & key ) const {
      const std::uint32_t hash = hashOf( key );
      const std::uint32_t before = beforeNode( bucketOf( hash ), key, hash );
      return { this, before == npos ? npos : nodes_[ before ].next() };
   }
   bool contains( const K & key ) const { return find( key ) != end(); }

   // Whether the key is new.
   bool insert( const K & key ) { return insert( key, hashOf( key ) ); }
   // The same, with the key's hash at hand.
   bool insert( const K & key, std::uint32_t hash ) {
      if ( beforeNode( bucketOf( hash ), key, hash ) != npos ) {
         return false;
      }
      const std::uint32_t node = newNode( key, hash );
      const auto [ grow, buckets ] = policy_._M_need_rehash( buckets_.size(), size_, 1 );
      if ( grow ) {
         rehash( buckets );
      }
      linkAtBucketFront( bucketOf( hash ), node );
      ++size_;
      return true;
   }

   std::size_t erase( const K & key ) {
      const std::uint32_t hash = hashOf( key );
      const std::size_t bucket = bucketOf( hash );
      const std::uint32_t before = beforeNode( bucket, key, hash );
      if ( before == npos ) {
         return 0;
      }
      unlink( bucket, before );
      return 1;
   }
   // The position after the erased key.
   const_iterator erase( const_iterator at ) {
      const std::size_t bucket = bucketOf( nodes_[ at.node_ ].hash );
      std::uint32_t before = buckets_[ bucket ];
      while ( nodes_[ before ].next() != at.node_ ) {
         before = nodes_[ before ].next();
      }
      return { this, unlink( bucket, before ) };
   }
   // Keeps the bucket count, as the standard set does.
   void clear() {
      buckets_.assign( buckets_.size(), npos );
      clearNodes();
      size_ = 0;
   }
   // Gives the nodes' memory back; only for an empty set.
   void releaseNodes() {
      std::vector< Node >().swap( nodes_ );
      clearNodes();
   }
   std::size_t nodeCapacity() const noexcept { return nodes_.capacity(); }

   static std::uint32_t hashOf( const K & key ) { return std::uint32_t( Hash()( key ) ); }
   // Starts loading what an insertion of the key reads, a step at a time,
   // each a while after the one before: its bucket (0), then the node before
   // the bucket's group (1), then the group's first node (2). Hints only:
   // the bucket count may change before the key goes in.
   void prefetch( std::uint32_t hash, unsigned step ) const noexcept {
      const std::uint32_t & bucket = buckets_[ bucketOf( hash ) ];
      if ( step == 0 ) {
         __builtin_prefetch( &bucket );
      } else if ( bucket != npos ) {
         __builtin_prefetch( &nodes_[ step == 1 ? bucket : nodes_[ bucket ].next() ] );
      }
   }

 private:
   std::size_t bucketOf( std::uint32_t hash ) const noexcept { return hash % buckets_.size(); }

   void clearNodes() {
      nodes_.clear();
      nodes_.push_back( Node{ npos, 0, K() } );
      free_ = npos;
   }
   std::uint32_t newNode( const K & key, std::uint32_t hash ) {
      if ( free_ != npos ) {
         const std::uint32_t node = std::exchange( free_, nodes_[ free_ ].next() );
         nodes_[ node ] = Node{ npos, hash, key };
         return node;
      }
      nodes_.push_back( Node{ npos, hash, key } );
      return std::uint32_t( nodes_.size() - 1 );
   }

   // The node before the key's node, or npos when the key is absent.
   std::uint32_t beforeNode( std::size_t bucket, const K & key, std::uint32_t hash ) const {
      std::uint32_t before = buckets_[ bucket ];
      if ( before == npos ) {
         return npos;
      }
      for ( std::uint32_t node = nodes_[ before ].next();; node = nodes_[ node ].next() ) {
         if ( nodes_[ node ].hash == hash && nodes_[ node ].key == key ) {
            return before;
         }
         if ( nodes_[ node ].last() ) {
            return npos;
         }
         before = node;
      }
   }

   void linkAtBucketFront( std::size_t bucket, std::uint32_t node ) {
      const std::uint32_t before = buckets_[ bucket ];
      if ( before != npos ) {
         nodes_[ node ].link = nodes_[ before ].next();
         nodes_[ before ].nextIs( node );
         return;
      }
      // A new group goes to the front of the list; the group that led it
      // now follows the new node.
      const std::uint32_t first = nodes_[ beforeBegin ].next();
      nodes_[ node ].link = first | lastBit;
      nodes_[ beforeBegin ].nextIs( node );
      if ( first != npos ) {
         buckets_[ bucketOf( nodes_[ first ].hash ) ] = node;
      }
      buckets_[ bucket ] = beforeBegin;
   }

   // Takes out the node after before, in the bucket; its successor.
   std::uint32_t unlink( std::size_t bucket, std::uint32_t before ) {
      const std::uint32_t node = nodes_[ before ].next();
      const std::uint32_t next = nodes_[ node ].next();
      const bool last = nodes_[ node ].last();
      // The group after this one names the node before it.
      const std::size_t nextBucket = last && next != npos ? bucketOf( nodes_[ next ].hash ) : 0;
      if ( before == buckets_[ bucket ] ) {
         if ( last ) {
            // The bucket empties; the group after it now follows before.
            if ( next != npos ) {
               buckets_[ nextBucket ] = buckets_[ bucket ];
            }
            buckets_[ bucket ] = npos;
         }
      } else if ( last ) {
         nodes_[ before ].lastIs( true );
         if ( next != npos ) {
            buckets_[ nextBucket ] = before;
         }
      }
      nodes_[ before ].nextIs( next );
      nodes_[ node ].link = free_;
      free_ = node;
      --size_;
      return next;
   }

   // The standard set's relinking: each node in list order goes to the front
   // of its new bucket's group, or, first of its group, to the front of the
   // list. The walk runs a few nodes ahead of the relinking, so that each
   // node's new bucket is loading while the nodes before it are relinked;
   // relinking touches only nodes already relinked, never those ahead.
   void rehash( std::size_t count ) {
      std::vector< std::uint32_t > buckets( count, npos );
      struct Walked {
         std::uint32_t node;
         std::size_t bucket;
      };
      std::array< Walked, 8 > ahead;
      std::size_t first = 0;
      std::size_t walked = 0;
      std::uint32_t walk = nodes_[ beforeBegin ].next();
      const auto step = [ & ] {
         const std::size_t bucket = nodes_[ walk ].hash % count;
         __builtin_prefetch( &buckets[ bucket ] );
         ahead[ ( first + walked++ ) % ahead.size() ] = { walk, bucket };
         walk = nodes_[ walk ].next();
      };
      while ( walk != npos && walked < ahead.size() ) {
         step();
      }
      nodes_[ beforeBegin ].link = npos;
      std::size_t frontBucket = 0;
      while ( walked > 0 ) {
         const auto [ node, bucket ] = ahead[ first ];
         first = ( first + 1 ) % ahead.size();
         --walked;
         if ( walk != npos ) {
            step();
         }
         if ( buckets[ bucket ] == npos ) {
            const std::uint32_t front = nodes_[ beforeBegin ].next();
            nodes_[ node ].link = front | lastBit;
            nodes_[ beforeBegin ].link = node;
            buckets[ bucket ] = beforeBegin;
            if ( front != npos ) {
               buckets[ frontBucket ] = node;
            }
            frontBucket = bucket;
         } else {
            nodes_[ node ].link = nodes_[ buckets[ bucket ] ].next();
            nodes_[ buckets[ bucket ] ].nextIs( node );
         }
      }
      buckets_.swap( buckets );
   }

   std::__detail::_Prime_rehash_policy policy_;
   std::vector< std::uint32_t > buckets_;
   std::vector< Node > nodes_;
   // Erased nodes, linked through next.
   std::uint32_t free_ = npos;
   std::size_t size_ = 0;
};

} // namespace Vel
