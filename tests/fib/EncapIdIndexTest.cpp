#include <gtest/gtest.h>

#include <map>
#include <random>

#include "fib/EncapIdIndex.h"
#include "tests/fib/FibValues.h"

using namespace FibValues;

namespace {

using Tunnel::TunnelFib::LabelStackEncap;

// Random publications, reassignments and withdrawals against a plain map from
// value to id, over few enough values that runs grow, wrap and shift back.
TEST( EncapIdIndex, FindsWhatAPlainMapFinds ) {
   for ( std::uint32_t seed = 1; seed <= 10; ++seed ) {
      std::mt19937 rng( seed );
      auto fib = Tunnel::TunnelFib::tunnelFibFactory();
      Tunnel::TunnelTable::EncapIdIndex< LabelStackEncap > index( fib->labelStackEncap() );
      std::map< std::uint32_t, EncapId > model;
      std::uint32_t nextIndex = 0;
      const std::uint32_t values = 4 + seed * 10;
      for ( int step = 0; step < 1500; ++step ) {
         const std::uint32_t label = rng() % values;
         auto known = model.find( label );
         if ( known == model.end() || rng() % 4 == 0 ) {
            // A new id for the value, published before it is indexed; the
            // id it replaces stays published, as an adopted duplicate does.
            const EncapId id = encapId( EncapType::mplsLabelStackEncap, nextIndex++ );
            fib->labelStackEncapIs( LabelStackEncap( id, push( { label } ) ) );
            index.insertOrAssign( push( { label } ), id );
            model[ label ] = id;
         } else {
            const EncapId id = known->second;
            // Another id of the same value leaves the mapping alone.
            index.eraseIfMappedTo( push( { label } ), encapId( EncapType::mplsLabelStackEncap,
                                                               nextIndex + 1 ) );
            index.eraseIfMappedTo( push( { label } ), id );
            fib->labelStackEncapDel( id );
            model.erase( known );
         }
         ASSERT_EQ( index.size(), model.size() );
         for ( std::uint32_t v = 0; v < values; ++v ) {
            auto expected = model.find( v );
            ASSERT_EQ( index.find( push( { v } ) ),
                       expected == model.end() ? EncapId() : expected->second )
               << "seed " << seed << " step " << step << " label " << v;
         }
      }
   }
}

} // namespace
