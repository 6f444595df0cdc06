#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <unordered_set>

#include "platform/vel/NodePool.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// The tunnel ids awaiting review, each once, in the hash set's own order:
// the hash and the order of insertion fix the order of review. It counts the
// changes that may move or invalidate what lies ahead of an iterator, so
// that a lookahead knows when to start over.
class TunnelReviewBacklog {
 public:
   using Set = std::unordered_set< TunnelId, std::hash< TunnelId >, std::equal_to< TunnelId >,
                                   Vel::PoolAllocator< TunnelId > >;
   using const_iterator = Set::const_iterator;

   // Whether the id is new.
   bool insert( TunnelId id ) {
      const std::size_t buckets = set_.bucket_count();
      const bool added = set_.insert( id ).second;
      // An insertion leaves every iterator valid unless it rehashes.
      changes_ += set_.bucket_count() != buckets;
      return added;
   }
   std::size_t erase( TunnelId id ) {
      const std::size_t erased = set_.erase( id );
      changes_ += erased;
      trimIfEmpty();
      return erased;
   }
   const_iterator erase( const_iterator at ) {
      ++changes_;
      const const_iterator next = set_.erase( at );
      trimIfEmpty();
      return next;
   }
   void clear() {
      changes_ += !set_.empty();
      set_.clear();
      trimIfEmpty();
   }

   bool contains( TunnelId id ) const { return set_.count( id ) != 0; }
   std::size_t size() const noexcept { return set_.size(); }
   bool empty() const noexcept { return set_.empty(); }
   const_iterator begin() const noexcept { return set_.begin(); }
   const_iterator end() const noexcept { return set_.end(); }
   const_iterator find( TunnelId id ) const { return set_.find( id ); }
   // Changes when an insertion rehashes the set, which invalidates iterators.
   std::size_t bucket_count() const noexcept { return set_.bucket_count(); }
   std::uint64_t changes() const noexcept { return changes_; }

 private:
   // A cold start's nodes go back once they are all reviewed, for the
   // structures the reviews build; a change's few stay for the next. The
   // buckets stay: their count is part of the order of review.
   void trimIfEmpty() noexcept {
      if ( set_.empty() && pool_.capacity() > keptNodes ) {
         pool_.release();
      }
   }
   static constexpr std::size_t keptNodes = 1024;

   // Before the set, which gives its nodes back to it.
   Vel::NodePool pool_;
   Set set_{ 0, std::hash< TunnelId >(), std::equal_to< TunnelId >(),
             Vel::PoolAllocator< TunnelId >( &pool_ ) };
   std::uint64_t changes_ = 0;
};

// Runs ahead of a drain of a backlog and hands the ids the drain will review
// next to the drain's warm-up, each at four distances: 15, 8, 4 and 2 reviews
// ahead, as its steps 0 to 3. At scale a review waits on one cache miss after
// another, each load naming the next; warmed a step at a time, the loads of
// the reviews ahead overlap the work of the current one. An erasure other
// than the drain's own, or a rehash, restarts the lookahead where the drain
// stands, since its iterator may no longer be valid. An id queued without a
// rehash lets it run on: should the id land among those it holds, the drain
// meets an id it did not expect, and the lookahead starts over there.
class TunnelReviewLookahead {
 public:
   static constexpr std::array< std::size_t, 4 > distance{ 15, 8, 4, 2 };

   // Before the review of the id at current, a valid position.
   template< class Warm >
   void prepare( const TunnelReviewBacklog & backlog, TunnelReviewBacklog::const_iterator current,
                 Warm && warm ) {
      if ( backlog.changes() != changes_ || head_ == tail_ || ring_[ head_ % depth ] != *current ) {
         ahead_ = current;
         head_ = tail_ = 0;
         changes_ = backlog.changes();
      }
      while ( tail_ < head_ + depth && ahead_ != backlog.end() ) {
         const TunnelId id = *ahead_;
         ring_[ tail_ % depth ] = id;
         ++tail_;
         if ( ++ahead_ != backlog.end() ) {
            // The node the next call reads.
            __builtin_prefetch( &*ahead_ );
         }
         warm( id, std::size_t( 0 ) );
      }
      for ( std::size_t step = 1; step < distance.size(); ++step ) {
         if ( head_ + distance[ step ] < tail_ ) {
            warm( ring_[ ( head_ + distance[ step ] ) % depth ], step );
         }
      }
   }

   // After the drain erased the id it reviewed and moved on.
   void reviewed( const TunnelReviewBacklog & backlog ) noexcept {
      if ( backlog.changes() == changes_ + 1 && head_ < tail_ ) {
         ++head_;
         changes_ = backlog.changes();
      } else {
         changes_ = ~std::uint64_t( 0 );
      }
   }

 private:
   static constexpr std::size_t depth = distance[ 0 ] + 1;

   // The ids from the drain's position (head_) to the lookahead's (tail_),
   // positions counted from the last restart.
   std::array< TunnelId, depth > ring_{};
   std::size_t head_ = 0;
   std::size_t tail_ = 0;
   TunnelReviewBacklog::const_iterator ahead_;
   // The backlog's count of changes for which ahead_ is known valid.
   std::uint64_t changes_ = ~std::uint64_t( 0 );
};

} // namespace Tunnel::TunnelTable
