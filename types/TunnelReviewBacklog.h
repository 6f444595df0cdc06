#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

#include "platform/vel/ChainedHashSet.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// The tunnel ids awaiting review, each once, in the order of the standard
// hash set under the id's own hash: the hash and the history of insertions
// fix the order of review. An insertion waits in a short queue while its
// bucket and nodes are loaded, and joins the set before anything reads it,
// so that a full pass queueing every id does not wait on each in turn. It
// counts the changes that may move or invalidate what lies ahead of an
// iterator, so that a lookahead knows when to start over.
class TunnelReviewBacklog {
 public:
   using Set = Vel::ChainedHashSet< TunnelId, std::hash< TunnelId > >;
   using const_iterator = Set::const_iterator;

   void insert( TunnelId id ) {
      if ( queued_ == queue_.size() ) {
         settleOne();
      }
      const std::uint32_t hash = Set::hashOf( id );
      queue_[ ( first_ + queued_ ) % queue_.size() ] = { id, hash };
      ++queued_;
      set_.prefetch( hash, 0 );
      for ( unsigned step = 1; step < 3; ++step ) {
         const std::size_t waited = step * stepDistance;
         if ( queued_ > waited ) {
            set_.prefetch( queue_[ ( first_ + queued_ - 1 - waited ) % queue_.size() ].hash, step );
         }
      }
   }
   std::size_t erase( TunnelId id ) {
      settle();
      const std::size_t erased = set_.erase( id );
      changes_ += erased;
      trimIfEmpty();
      return erased;
   }
   const_iterator erase( const_iterator at ) {
      settle();
      ++changes_;
      const const_iterator next = set_.erase( at );
      trimIfEmpty();
      return next;
   }
   void clear() {
      settle();
      changes_ += !set_.empty();
      set_.clear();
      trimIfEmpty();
   }

   bool contains( TunnelId id ) const { return settled().contains( id ); }
   std::size_t size() const { return settled().size(); }
   bool empty() const { return settled().empty(); }
   const_iterator begin() const { return settled().begin(); }
   const_iterator end() const { return set_.end(); }
   const_iterator find( TunnelId id ) const { return settled().find( id ); }
   // Changes when an insertion rehashes the set, which reorders what lies
   // ahead of an iterator.
   std::size_t bucket_count() const { return settled().bucket_count(); }
   std::uint64_t changes() const {
      settle();
      return changes_;
   }

 private:
   struct Queued {
      TunnelId id;
      std::uint32_t hash;
   };
   // The queue's loads: the bucket on arrival, the nodes stepDistance and
   // twice that many insertions later; the id goes in after a full queue.
   static constexpr std::size_t stepDistance = 5;

   // Reading the set is logically const: the queue is part of its value.
   void settle() const {
      while ( queued_ > 0 ) {
         const_cast< TunnelReviewBacklog * >( this )->settleOne();
      }
   }
   const Set & settled() const {
      settle();
      return set_;
   }
   void settleOne() {
      const Queued & next = queue_[ first_ ];
      const std::size_t buckets = set_.bucket_count();
      set_.insert( next.id, next.hash );
      // An insertion leaves every iterator where it was unless it rehashes.
      changes_ += set_.bucket_count() != buckets;
      first_ = ( first_ + 1 ) % queue_.size();
      --queued_;
   }

   // A cold start's nodes go back once they are all reviewed, for the
   // structures the reviews build; a change's few stay for the next. The
   // buckets stay: their count is part of the order of review.
   void trimIfEmpty() {
      if ( set_.empty() && set_.nodeCapacity() > keptNodes ) {
         set_.releaseNodes();
      }
   }
   static constexpr std::size_t keptNodes = 1024;

   Set set_;
   std::array< Queued, 3 * stepDistance + 1 > queue_{};
   std::size_t first_ = 0;
   std::size_t queued_ = 0;
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
