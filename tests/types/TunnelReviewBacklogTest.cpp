#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <random>
#include <unordered_set>
#include <utility>
#include <vector>

#include "types/TunnelReviewBacklog.h"

using namespace Tunnel::TunnelTable;

namespace {

TunnelId ldp( unsigned index ) { return TunnelId( TunnelType::ldpTunnel, index ); }

// The ids in the order a drain meets them from current on.
std::vector< TunnelId > ahead( const TunnelReviewBacklog & backlog,
                               TunnelReviewBacklog::const_iterator current ) {
   return std::vector< TunnelId >( current, backlog.end() );
}

// A drained cold start gives its nodes back; the ids queued next come out
// in the order a plain hash set that saw the same inserts gives them.
TEST( TunnelReviewBacklog, KeepsTheOrderOfReviewOnceDrained ) {
   TunnelReviewBacklog backlog;
   std::unordered_set< TunnelId > plain;
   for ( unsigned i = 0; i < 5000; ++i ) {
      backlog.insert( ldp( i ) );
      plain.insert( ldp( i ) );
   }
   for ( auto current = backlog.begin(); current != backlog.end(); ) {
      plain.erase( *current );
      current = backlog.erase( current );
   }
   for ( unsigned i = 0; i < 300; ++i ) {
      backlog.insert( ldp( 7 * i ) );
      plain.insert( ldp( 7 * i ) );
   }
   EXPECT_EQ( std::vector< TunnelId >( backlog.begin(), backlog.end() ),
              std::vector< TunnelId >( plain.begin(), plain.end() ) );
}

// Undisturbed, the drain is told of each id at each distance once, before it
// reaches it.
TEST( TunnelReviewLookahead, WarmsEachIdOnceAtEachDistance ) {
   TunnelReviewBacklog backlog;
   for ( unsigned i = 0; i < 100; ++i ) {
      backlog.insert( ldp( i ) );
   }
   const std::vector< TunnelId > order( backlog.begin(), backlog.end() );
   std::map< std::pair< TunnelId, std::size_t >, std::size_t > warmedAt;
   TunnelReviewLookahead lookahead;
   std::size_t position = 0;
   for ( auto current = backlog.begin(); current != backlog.end(); ++position ) {
      lookahead.prepare( backlog, current, [ & ]( TunnelId id, std::size_t step ) {
         EXPECT_TRUE( warmedAt.emplace( std::pair( id, step ), position ).second )
            << id << " step " << step;
      } );
      current = backlog.erase( current );
      lookahead.reviewed( backlog );
   }
   for ( std::size_t p = 0; p < order.size(); ++p ) {
      for ( std::size_t step = 0; step < TunnelReviewLookahead::distance.size(); ++step ) {
         const auto found = warmedAt.find( std::pair( order[ p ], step ) );
         if ( step > 0 && p < TunnelReviewLookahead::distance[ step ] ) {
            EXPECT_EQ( found, warmedAt.end() ) << "position " << p << " step " << step;
            continue;
         }
         ASSERT_NE( found, warmedAt.end() ) << "position " << p << " step " << step;
         // Those in view at the start are warmed before the first review.
         const std::size_t distance = TunnelReviewLookahead::distance[ step ];
         const std::size_t expected = p < distance ? 0 : p - distance;
         EXPECT_EQ( found->second, expected ) << "position " << p << " step " << step;
      }
   }
}

// Reviews that queue and withdraw ids, rehash the set, and send the drain
// back to the front: every id warmed is one the drain would meet next, at
// most distance[0] ahead plus the ids queued since, so the lookahead never
// reads through a stale iterator.
TEST( TunnelReviewLookahead, FollowsTheBacklogThroughChanges ) {
   std::mt19937 random( 7 );
   TunnelReviewBacklog backlog;
   for ( unsigned i = 0; i < 40; ++i ) {
      backlog.insert( ldp( random() % 400 ) );
   }
   TunnelReviewLookahead lookahead;
   auto current = backlog.begin();
   std::size_t reviews = 0;
   // Ids queued since the last rehash: each may sit between the drain and
   // the ids the lookahead holds.
   std::size_t queued = 0;
   while ( !backlog.empty() && reviews < 5000 ) {
      if ( current == backlog.end() ) {
         current = backlog.begin();
      }
      const std::vector< TunnelId > next = ahead( backlog, current );
      lookahead.prepare( backlog, current, [ & ]( TunnelId id, std::size_t step ) {
         const std::size_t limit = TunnelReviewLookahead::distance[ 0 ] + 1 + queued;
         bool near = false;
         for ( std::size_t i = 0; i < next.size() && i < limit; ++i ) {
            near = near || next[ i ] == id;
         }
         EXPECT_TRUE( near ) << id << " step " << step << " at review " << reviews;
      } );
      const TunnelId reviewed = *current;
      const std::size_t buckets = backlog.bucket_count();
      switch ( random() % 8 ) {
      case 0: {
         const TunnelId id = ldp( random() % 400 );
         queued += !backlog.contains( id );
         backlog.insert( id );
         break;
      }
      case 1:
         // Withdraws an id ahead, perhaps the very next one.
         if ( next.size() > 1 ) {
            backlog.erase( next[ 1 + random() % ( next.size() - 1 ) ] );
         }
         break;
      case 2:
         // A burst that rehashes the set.
         for ( unsigned i = 0; i < 50; ++i ) {
            backlog.insert( ldp( 400 + random() % 4000 ) );
            ++queued;
         }
         break;
      default:
         break;
      }
      ++reviews;
      if ( buckets == backlog.bucket_count() ) {
         current = backlog.erase( current );
         lookahead.reviewed( backlog );
      } else {
         backlog.erase( reviewed );
         current = backlog.begin();
      }
      if ( backlog.bucket_count() != buckets ) {
         queued = 0;
      }
   }
   EXPECT_GT( reviews, 1000u );
}

// A review that queues an id without rehashing the set, as a FIB review
// queues the tunnels over the one it reviews, lets the lookahead run on:
// the warm-ups stay near four per review instead of refilling the ring.
TEST( TunnelReviewLookahead, RunsOnWhenReviewsQueueIds ) {
   TunnelReviewBacklog backlog;
   for ( unsigned i = 0; i < 4000; ++i ) {
      backlog.insert( ldp( i ) );
   }
   for ( unsigned i = 2000; i < 4000; ++i ) {
      backlog.erase( ldp( i ) );
   }
   const std::size_t buckets = backlog.bucket_count();
   TunnelReviewLookahead lookahead;
   std::size_t warmed = 0;
   std::size_t reviews = 0;
   unsigned next = 2000;
   auto current = backlog.begin();
   while ( current != backlog.end() ) {
      lookahead.prepare( backlog, current, [ & ]( TunnelId, std::size_t ) { ++warmed; } );
      if ( next < 3000 ) {
         backlog.insert( ldp( next++ ) );
      }
      ASSERT_EQ( backlog.bucket_count(), buckets );
      current = backlog.erase( current );
      lookahead.reviewed( backlog );
      ++reviews;
   }
   EXPECT_GT( reviews, 1000u );
   EXPECT_LT( warmed, reviews * 5 );
}

} // namespace
