#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "platform/korvo/IpGenAddr.h"
#include "platform/vel/ChainedHashSet.h"
#include "platform/vel/FlatHashMap.h"
#include "platform/vel/FlatMap.h"
#include "platform/vel/IndexedMap.h"
#include "platform/vel/InlineVector.h"
#include "platform/vel/NodePool.h"

namespace {

// Random inserts and erasures at random places, crossing the inline bound
// both ways, against std::vector; strings make a lost move or a stale slot
// visible.
template< std::size_t N >
void checkInlineVectorAgainstVector( unsigned seed ) {
   std::mt19937 random( seed );
   Vel::InlineVector< std::string, N > small;
   std::vector< std::string > model;
   for ( unsigned op = 0; op < 3000; ++op ) {
      const std::size_t size = model.size();
      if ( size < 6 && random() % 3 != 0 ) {
         const std::size_t at = random() % ( size + 1 );
         const std::string value = "v" + std::to_string( op );
         small.insert( small.begin() + at, value );
         model.insert( model.begin() + at, value );
      } else if ( size > 0 ) {
         const std::size_t at = random() % size;
         small.erase( small.begin() + at );
         model.erase( model.begin() + at );
      }
      if ( random() % 50 == 0 ) {
         small.clear();
         model.clear();
      }
      ASSERT_EQ( std::vector< std::string >( small.begin(), small.end() ), model )
         << "N " << N << " seed " << seed << " op " << op;
      const auto copy = small;
      ASSERT_TRUE( copy == small );
   }
}

TEST( SmallContainers, InlineVectorBehavesAsAVectorOnEitherSideOfItsInlineBound ) {
   for ( unsigned seed = 1; seed <= 3; ++seed ) {
      checkInlineVectorAgainstVector< 0 >( seed );
      checkInlineVectorAgainstVector< 1 >( seed );
      checkInlineVectorAgainstVector< 2 >( seed );
   }
   // Ordering is lexicographic, the shorter prefix first.
   using V = Vel::InlineVector< int, 1 >;
   EXPECT_TRUE( ( V{ 1, 2 } < V{ 1, 3 } ) );
   EXPECT_TRUE( ( V{ 1 } < V{ 1, 0 } ) );
   EXPECT_FALSE( ( V{ 2 } < V{ 1, 9 } ) );
   EXPECT_TRUE( ( V{} == V{} ) );
}

TEST( SmallContainers, FlatMapKeepsKeyOrderLikeAnOrderedMap ) {
   std::mt19937 random( 7 );
   Vel::FlatMap< int, int > flat;
   std::map< int, int > model;
   for ( unsigned op = 0; op < 4000; ++op ) {
      const int key = int( random() % 9 );
      if ( random() % 3 != 0 ) {
         const bool inserted = flat.insert_or_assign( key, int( op ) ).second;
         EXPECT_EQ( inserted, model.insert_or_assign( key, int( op ) ).second );
      } else if ( auto at = flat.find( key ); at != flat.end() ) {
         flat.erase( at );
         model.erase( key );
      } else {
         EXPECT_EQ( model.count( key ), 0u );
      }
      ASSERT_EQ( ( std::map< int, int >( flat.begin(), flat.end() ) ), model );
      ASSERT_TRUE( std::is_sorted( flat.begin(), flat.end() ) );
      const auto above = flat.upper_bound( key );
      const auto modelAbove = model.upper_bound( key );
      ASSERT_EQ( above == flat.end(), modelAbove == model.end() );
      if ( above != flat.end() ) {
         ASSERT_EQ( above->first, modelAbove->first );
      }
   }
}

// Addresses order as their bytes do, the family first.
// A hash that sends most keys to a few homes, so that runs collide, wrap
// past the end of the array and are shifted back on erasure.
struct CrowdingHash {
   std::size_t operator()( unsigned key ) const noexcept { return key % 3; }
};

// Keys run from 1 where the default key marks the free slots.
template< class Hash, bool DefaultKeyIsFree = false >
void checkFlatHashMapAgainstMap( unsigned seed, unsigned keyRange ) {
   std::mt19937 random( seed );
   Vel::FlatHashMap< unsigned, std::string, Hash, std::equal_to< unsigned >, DefaultKeyIsFree >
      flat;
   std::unordered_map< unsigned, std::string > model;
   const unsigned first = DefaultKeyIsFree ? 1 : 0;
   for ( unsigned op = 0; op < 4000; ++op ) {
      const unsigned key = first + random() % keyRange;
      switch ( random() % 4 ) {
      case 0:
      case 1:
         flat.insert_or_assign( key, "v" + std::to_string( op ) );
         model.insert_or_assign( key, "v" + std::to_string( op ) );
         break;
      case 2:
         ASSERT_EQ( flat.erase( key ), model.erase( key ) ) << "seed " << seed << " op " << op;
         break;
      default:
         if ( auto it = flat.find( key ); it != flat.end() ) {
            flat.erase( it );
            model.erase( key );
         }
         break;
      }
      if ( random() % 500 == 0 ) {
         flat.clear();
         model.clear();
      }
      ASSERT_EQ( flat.size(), model.size() ) << "seed " << seed << " op " << op;
      // Every key is found where the model has it, and the walk visits each
      // element once.
      for ( unsigned k = first; k < first + keyRange; ++k ) {
         auto it = flat.find( k );
         auto expected = model.find( k );
         ASSERT_EQ( it != flat.end(), expected != model.end() ) << "key " << k << " op " << op;
         if ( it != flat.end() ) {
            ASSERT_EQ( it->second, expected->second );
         }
      }
      std::unordered_map< unsigned, std::string > walked;
      for ( const auto & [ k, v ] : flat ) {
         ASSERT_TRUE( walked.emplace( k, v ).second ) << "key " << k << " walked twice";
      }
      ASSERT_EQ( walked, model );
   }
}

TEST( SmallContainers, FlatHashMapBehavesAsAHashMapThroughCollisionsAndGrowth ) {
   for ( unsigned seed = 1; seed <= 3; ++seed ) {
      checkFlatHashMapAgainstMap< std::hash< unsigned > >( seed, 200 );
      checkFlatHashMapAgainstMap< CrowdingHash >( seed, 40 );
      checkFlatHashMapAgainstMap< std::hash< unsigned >, true >( seed, 200 );
      checkFlatHashMapAgainstMap< CrowdingHash, true >( seed, 40 );
   }
   Vel::FlatHashMap< unsigned, int > a;
   Vel::FlatHashMap< unsigned, int > b;
   for ( unsigned k = 0; k < 100; ++k ) {
      a[ k ] = int( k );
      b[ 99 - k ] = int( 99 - k );
   }
   EXPECT_TRUE( a == b );
   b[ 7 ] = 8;
   EXPECT_FALSE( a == b );
   EXPECT_FALSE( a.try_emplace( 5, 50 ).second );
   EXPECT_EQ( a[ 5 ], 5 );
}

struct SpreadHash {
   std::uint64_t operator()( unsigned key ) const noexcept { return key; }
};

// The indexed map against a plain ordered map: lookups through the index,
// walks and bounds through the tree, growing past several levels and
// shrinking back to nothing. Under the crowding hash, runs of equal tags wrap
// around the index, so probing past a matching tag and the backward shift
// both get exercised. Ordered reads come at random intervals, so new keys
// pile up before the tree takes them, and some are erased before it does.
template< class Key, class Hash >
void checkIndexedMapAgainstModel( unsigned seed, unsigned keyRange ) {
   std::mt19937 random( seed );
   std::map< Key, std::string > model;
   Vel::IndexedMap< Key, std::string, std::less< Key >, Hash > indexed;
   const auto sameAsModel = [ & ] {
      return std::equal( indexed.begin(), indexed.end(), model.begin(), model.end() ) &&
             std::equal( std::make_reverse_iterator( indexed.end() ),
                         std::make_reverse_iterator( indexed.begin() ), model.rbegin(),
                         model.rend() );
   };
   // Ascending keys first, as a producer writes a table: the splits that
   // keep full nodes behind the last one.
   for ( unsigned key = 0; key < keyRange / 2; key += 2 ) {
      indexed.try_emplace( key, "ascending" );
      model.try_emplace( key, "ascending" );
   }
   ASSERT_TRUE( sameAsModel() );
   const std::string * pinned = nullptr;
   Key pinnedKey = 0;
   for ( unsigned op = 0; op < 20000; ++op ) {
      // Mostly growth in the first half, mostly erasure in the second.
      const bool growing = ( op / 5000 ) % 2 == 0;
      const Key key = unsigned( random() % keyRange );
      switch ( random() % 6 ) {
      case 0:
      case 1:
         if ( !growing ) {
            ASSERT_EQ( indexed.erase( key ), model.erase( key ) );
            break;
         }
         [[fallthrough]];
      case 2: {
         const auto [ element, inserted ] =
            indexed.try_emplace( key, "first " + std::to_string( op ) );
         ASSERT_EQ( inserted, model.try_emplace( key, "first " + std::to_string( op ) ).second );
         ASSERT_EQ( element->first, key );
         break;
      }
      case 3:
         // Through an iterator now and then: a read of the order.
         if ( random() % 16 != 0 ) {
            ASSERT_EQ( indexed.erase( key ), model.erase( key ) );
         } else if ( auto at = indexed.find( key ); at != indexed.end() ) {
            indexed.erase( at );
            model.erase( key );
         }
         break;
      default:
         indexed.insert_or_assign( key, "value " + std::to_string( op ) );
         model.insert_or_assign( key, "value " + std::to_string( op ) );
      }
      // An element stays where it is while others come and go.
      if ( pinned && model.contains( pinnedKey ) ) {
         ASSERT_EQ( pinned, indexed.findValue( pinnedKey ) ) << "op " << op;
      } else if ( !model.empty() ) {
         pinnedKey = model.begin()->first;
         pinned = indexed.findValue( pinnedKey );
      }
      const Key probe = unsigned( random() % keyRange );
      const std::string * found = indexed.findValue( probe );
      ASSERT_EQ( found == nullptr, !model.contains( probe ) ) << "op " << op;
      if ( found ) {
         ASSERT_EQ( *found, model.at( probe ) );
      }
      ASSERT_EQ( indexed.size(), model.size() );
      if ( op == 12000 ) {
         indexed.clear();
         model.clear();
         pinned = nullptr;
      }
      if ( random() % 64 != 0 ) {
         continue;
      }
      const auto lower = indexed.lower_bound( probe );
      const auto upper = indexed.upper_bound( probe );
      ASSERT_EQ( lower == indexed.end(), model.lower_bound( probe ) == model.end() );
      ASSERT_EQ( upper == indexed.end(), model.upper_bound( probe ) == model.end() );
      if ( lower != indexed.end() ) {
         ASSERT_EQ( lower->first, model.lower_bound( probe )->first );
      }
      if ( upper != indexed.end() ) {
         ASSERT_EQ( upper->first, model.upper_bound( probe )->first );
      }
      if ( random() % 8 == 0 ) {
         ASSERT_TRUE( sameAsModel() ) << "op " << op;
      }
   }
   ASSERT_TRUE( sameAsModel() );
}

TEST( SmallContainers, IndexedMapMatchesAnOrderedMap ) {
   checkIndexedMapAgainstModel< unsigned, CrowdingHash >( 7, 400 );
   checkIndexedMapAgainstModel< unsigned, SpreadHash >( 8, 5000 );
}

// A spread of the key's bits over 32, as a tunnel id's hash gives.
struct ThirtyTwoBitHash {
   std::size_t operator()( unsigned key ) const noexcept {
      return std::uint32_t( key * 2654435761u );
   }
};

// The chained set walks its keys in the standard set's order through
// growth, erasures by key and at an iterator (the successor they return
// included), and clears that keep the bucket count.
template< class Hash >
void checkChainedHashSetAgainstStandard( unsigned seed, unsigned keyRange ) {
   std::mt19937 random( seed );
   std::unordered_set< unsigned, Hash > standard;
   Vel::ChainedHashSet< unsigned, Hash > chained;
   for ( unsigned op = 0; op < 20000; ++op ) {
      const unsigned key = unsigned( random() % keyRange );
      switch ( random() % 10 ) {
      case 0:
      case 1:
         ASSERT_EQ( chained.erase( key ), standard.erase( key ) );
         break;
      case 2: {
         const auto at = standard.find( key );
         if ( at != standard.end() ) {
            const auto next = standard.erase( at );
            const auto chainedNext = chained.erase( chained.find( key ) );
            ASSERT_EQ( next == standard.end(), chainedNext == chained.end() ) << "op " << op;
            if ( next != standard.end() ) {
               ASSERT_EQ( *next, *chainedNext ) << "op " << op;
            }
         }
         break;
      }
      default:
         ASSERT_EQ( chained.insert( key ), standard.insert( key ).second );
      }
      if ( op % 5000 == 4999 ) {
         chained.clear();
         standard.clear();
      }
      ASSERT_EQ( chained.size(), standard.size() );
      ASSERT_EQ( chained.bucket_count(), standard.bucket_count() );
      ASSERT_EQ( chained.contains( key ), standard.contains( key ) );
      if ( op % 8 == 0 ) {
         ASSERT_TRUE(
            std::equal( chained.begin(), chained.end(), standard.begin(), standard.end() ) )
            << "op " << op;
      }
   }
}

TEST( SmallContainers, ChainedHashSetWalksAsTheStandardSet ) {
   checkChainedHashSetAgainstStandard< CrowdingHash >( 3, 300 );
   checkChainedHashSetAgainstStandard< ThirtyTwoBitHash >( 4, 3000 );
}

// A copy of a pooled container allocates on its own, so it outlives the pool.
TEST( SmallContainers, PooledCopyStandsAlone ) {
   using Pooled = std::map< unsigned, std::string, std::less< unsigned >,
                            Vel::PoolAllocator< std::pair< const unsigned, std::string > > >;
   std::map< unsigned, std::string > copy;
   {
      Vel::NodePool pool;
      Pooled pooled{ std::less< unsigned >{}, Pooled::allocator_type( &pool ) };
      for ( unsigned key = 0; key < 100; ++key ) {
         pooled.emplace( key, std::to_string( key ) );
      }
      const auto standAlone = pooled;
      EXPECT_EQ( standAlone.get_allocator().pool(), nullptr );
      copy.insert( standAlone.begin(), standAlone.end() );
   }
   EXPECT_EQ( copy.size(), 100u );
   EXPECT_EQ( copy.at( 42 ), "42" );
}

// Released with no block in use, a pool starts over with a small slab.
TEST( SmallContainers, ReleasedPoolStartsOver ) {
   Vel::NodePool pool;
   ASSERT_TRUE( pool.serves( 24 ) );
   std::vector< void * > blocks;
   for ( unsigned i = 0; i < 5000; ++i ) {
      blocks.push_back( pool.allocate() );
   }
   EXPECT_GE( pool.capacity(), 5000u );
   for ( void * block : blocks ) {
      pool.deallocate( block );
   }
   pool.release();
   EXPECT_EQ( pool.capacity(), 0u );
   void * block = pool.allocate();
   EXPECT_NE( block, nullptr );
   EXPECT_EQ( pool.capacity(), 16u );
   pool.deallocate( block );
}

TEST( SmallContainers, AddressesOrderByFamilyThenBytesAsNumbers ) {
   using Korvo::IpGenAddr;
   const IpGenAddr low = IpGenAddr::ipv4( 0x0A0000FF );
   const IpGenAddr high = IpGenAddr::ipv4( 0x0A000100 );
   EXPECT_LT( low, high );
   EXPECT_LT( IpGenAddr(), low );
   std::array< std::uint8_t, 16 > bytes{};
   bytes[ 15 ] = 1;
   const IpGenAddr v6Low = IpGenAddr::ipv6( bytes );
   bytes[ 15 ] = 0;
   bytes[ 7 ] = 1;
   const IpGenAddr v6High = IpGenAddr::ipv6( bytes );
   EXPECT_LT( high, v6Low );
   EXPECT_LT( v6Low, v6High );
   EXPECT_EQ( v6Low, IpGenAddr::parse( "::1" ) );
}

} // namespace
