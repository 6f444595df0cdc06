#include <gtest/gtest.h>

#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "types/MplsVia.h"
#include "types/TunnelTableEntry.h"
#include "types/ViaList.h"

using namespace Tunnel::TunnelTable;

namespace {

MplsVia randomVia( std::mt19937 & random ) {
   // Few distinct values, so that lists often share a head or are equal; a
   // long label stack now and then, so that some vias hold a heap block.
   const Via hop( Korvo::IpGenAddr::ipv4( 0x0A000000u + random() % 3 ),
                  Korvo::IntfId::ordinary( random() % 2 ? "Ethernet1" : "Ethernet2" ) );
   Korvo::MplsLabelOperation op( Korvo::MplsLabelAction::push, { Korvo::MplsLabel( 16 + random() % 2 ) } );
   for ( unsigned extra = random() % 6 == 0 ? 4 : 0; extra > 0; --extra ) {
      EXPECT_TRUE( op.labelPush( 100 + extra ).success() );
   }
   return MplsVia( hop, op );
}

// A via list against a plain vector: one via in place, more on the heap, and
// back to none; copies, moves, equality and order along the way.
TEST( ViaList, BehavesLikeAPlainVectorOfVias ) {
   std::mt19937 random( 11 );
   std::vector< std::pair< ViaList< MplsVia >, std::vector< MplsVia > > > lists;
   for ( int round = 0; round < 400; ++round ) {
      ViaList< MplsVia > list;
      std::vector< MplsVia > model;
      if ( round % 2 && !lists.empty() ) {
         // Start from an earlier list: the copy must not share its vias.
         list = lists[ random() % lists.size() ].first;
         model = std::vector< MplsVia >( list.begin(), list.end() );
      }
      for ( unsigned add = random() % 4; add > 0; --add ) {
         const MplsVia via = randomVia( random );
         list.add( via );
         model.push_back( via );
      }
      if ( random() % 10 == 0 ) {
         list.delAll();
         model.clear();
      }
      ViaList< MplsVia > moved( std::move( list ) );
      EXPECT_TRUE( list.empty() );
      list = std::move( moved );
      ASSERT_EQ( list.size(), model.size() );
      ASSERT_TRUE( std::equal( list.begin(), list.end(), model.begin(), model.end() ) );
      for ( unsigned i = 0; i < model.size(); ++i ) {
         ASSERT_EQ( list[ ViaIndex( i ) ], model[ i ] );
      }
      EXPECT_THROW( list[ ViaIndex( list.size() ) ], std::out_of_range );
      lists.emplace_back( list, model );
   }
   for ( std::size_t i = 0; i < lists.size(); ++i ) {
      const auto & [ a, modelA ] = lists[ i ];
      ASSERT_TRUE( std::equal( a.begin(), a.end(), modelA.begin(), modelA.end() ) ) << i;
      const auto & [ b, modelB ] = lists[ ( i * 7 + 3 ) % lists.size() ];
      EXPECT_EQ( a == b, modelA == modelB );
      EXPECT_EQ( a < b, modelA < modelB );
      EXPECT_EQ( b < a, modelB < modelA );
   }
}

// The candidate order and equality of table entries against a tuple with the
// endpoint list as a plain vector, at zero to three endpoints.
TEST( TunnelTableEntry, OrdersLikeATupleWithTheEndpointList ) {
   std::mt19937 random( 5 );
   struct Model {
      TunnelEntryPref pref;
      TunnelEntryPref defaultPref;
      TunnelId tunnelId;
      std::vector< Korvo::IpGenPrefix > endpoints;
      std::uint64_t instance;
      auto key() const { return std::tie( pref, defaultPref, tunnelId, endpoints, instance ); }
   };
   std::vector< std::pair< TunnelTableEntry, Model > > entries;
   for ( int round = 0; round < 300; ++round ) {
      const TunnelType type = random() % 2 ? TunnelType::ldpTunnel : TunnelType::srTunnel;
      Model m{ TunnelEntryPref( 50 + random() % 2 ), getDefaultPrefForType( type ),
               TunnelId( type, 1 + random() % 2 ), {}, random() % 2 };
      TunnelTableEntry entry( m.tunnelId, m.pref );
      entry.instanceIs( m.instance );
      for ( unsigned count = random() % 4; count > 0; --count ) {
         const Korvo::IpGenPrefix tep( Korvo::IpGenAddr::ipv4( 0x0A000000u + random() % 2 ), 32 );
         entry.endpointAdd( tep );
         m.endpoints.push_back( tep );
      }
      // A copy keeps its own endpoints when the source changes.
      TunnelTableEntry copy = entry;
      entry.endpointAdd( Korvo::IpGenPrefix() );
      entry = copy;
      copy.endpointDelAll();
      ASSERT_EQ( entry.endpointCount(), m.endpoints.size() );
      for ( unsigned i = 0; i < m.endpoints.size(); ++i ) {
         ASSERT_EQ( entry.endpoint( i ), m.endpoints[ i ] );
      }
      entries.emplace_back( entry, m );
   }
   for ( std::size_t i = 0; i < entries.size(); ++i ) {
      const auto & [ a, modelA ] = entries[ i ];
      const auto & [ b, modelB ] = entries[ ( i * 13 + 1 ) % entries.size() ];
      EXPECT_EQ( a == b, modelA.key() == modelB.key() ) << a << " " << b;
      EXPECT_EQ( a < b, modelA.key() < modelB.key() ) << a << " " << b;
   }
}

} // namespace
