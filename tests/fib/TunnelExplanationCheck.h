#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <vector>

#include "fib/TunnelFibExplanation.h"
#include "fib/TunnelFibSm.h"
#include "UnderSanitizer.h"

// Checks the explanation of a tunnel against the FIB once the machine is
// idle: its state is where the FIB has it; each label-stack via is rebuilt
// from its chain, level by level, from the lower tunnels' programmed vias;
// its last via calculation raised trouble with lower tunnels exactly when a
// lower tunnel is in trouble now; the graph's arrows are the dependencies.

namespace FibTest {

using namespace Tunnel::TunnelTable;

// Explanations are checked at every drain, or at every eighth under the
// sanitizers, where each costs as much as the drain's other checks together.
constexpr unsigned explanationCheckStride = underSanitizer ? 8 : 1;

inline std::vector< Korvo::MplsLabel > labelsOf( const Korvo::MplsLabelOperation & op ) {
   std::vector< Korvo::MplsLabel > labels;
   for ( std::size_t i = 0; i < op.stackSize(); ++i ) {
      labels.push_back( op.label( i ) );
   }
   return labels;
}

inline void checkTunnelExplanation( const TunnelFibSm & sm, TunnelId id ) {
   SCOPED_TRACE( "explaining " + id.stringValue() );
   using Flags = TunnelFibViaCalcResult;
   const TunnelFibExplanation explained = explainTunnel( sm, id );
   const auto * entry = sm.tunnelFib()->entryFind( id );
   ASSERT_EQ( explained.state == TunnelFibState::programmed, entry != nullptr );
   ASSERT_EQ( explained.state == TunnelFibState::unprogrammable,
              sm.unprogrammableTunnelId()->entryHas( id ) );
   ASSERT_EQ( explained.vias.size(), entry ? entry->tunnelVia().size() : 0u );

   for ( const ExplainedVia & via : explained.vias ) {
      if ( !via.labels ) {
         continue;
      }
      ASSERT_FALSE( via.chain.empty() ) << via.via << " has no chain";
      ASSERT_EQ( via.chain.front().tunnelId, id );
      // Outermost first: the bottom level's labels, then each level above.
      std::vector< Korvo::MplsLabel > rebuilt;
      for ( auto link = via.chain.rbegin(); link != via.chain.rend(); ++link ) {
         const auto own = labelsOf( link->labels );
         rebuilt.insert( rebuilt.end(), own.begin(), own.end() );
      }
      ASSERT_EQ( rebuilt, labelsOf( *via.labels ) ) << via.via;
      for ( std::size_t i = 0; i + 1 < via.chain.size(); ++i ) {
         const ViaChainLink & link = via.chain[ i ];
         ASSERT_TRUE( link.over );
         ASSERT_EQ( link.overTunnel, via.chain[ i + 1 ].tunnelId );
         ASSERT_EQ( link.over->via(), via.via.via() ) << "every level leaves by the same hop";
         // The level below is programmed with that via.
         const auto * lower = sm.tunnelFib()->entryFind( link.overTunnel );
         ASSERT_NE( lower, nullptr ) << link.overTunnel;
         bool found = false;
         for ( const auto & lowerVia : lower->tunnelVia() ) {
            found |= lowerVia == *link.over;
         }
         ASSERT_TRUE( found ) << link.overTunnel << " has no via " << *link.over;
      }
      ASSERT_FALSE( via.chain.back().over );
      if ( via.chain.size() > 1 ) {
         const auto & rests = explained.restsOn;
         ASSERT_NE( std::find( rests.begin(), rests.end(), via.chain[ 1 ].tunnelId ), rests.end() );
      }
   }

   // The flags and the lower tunnels tell the same story.
   const Flags flags = explained.lastViaCalculation.flags;
   std::set< std::uint8_t > told;
   for ( const LowerTunnelFinding & finding : explained.lowerTunnels ) {
      switch ( finding.state ) {
      case LowerTunnelState::resolved:
         if ( !finding.stacksTooDeep.empty() ) {
            told.insert( Flags::recTunFlattenError );
         }
         continue;
      case LowerTunnelState::cycle:
         told.insert( Flags::recTunCycle );
         break;
      case LowerTunnelState::notReady:
         told.insert( Flags::recTunNotReady );
         break;
      case LowerTunnelState::missing:
         told.insert( Flags::recTunMissing );
         break;
      case LowerTunnelState::notContributing:
         told.insert( Flags::recTunNonContrib );
         break;
      case LowerTunnelState::unprogrammable:
         told.insert( Flags::recTunUnprogrammable );
         break;
      }
   }
   // A lower tunnel whose trouble changes kind without a change of its FIB
   // entry (no table entry, then one that does not contribute) brings no
   // recomputation, so a flag may name the trouble it had; but a lower tunnel
   // in trouble always left a flag, and a flag always has one behind it.
   const std::uint8_t lowerTrouble = Flags::recTunNotReady | Flags::recTunUnprogrammable |
                                     Flags::recTunMissing | Flags::recTunNonContrib |
                                     Flags::recTunCycle;
   const bool troubleTold = std::any_of( told.begin(), told.end(), [ & ]( std::uint8_t flag ) {
      return ( flag & lowerTrouble ) != 0;
   } );
   ASSERT_EQ( ( flags.value() & lowerTrouble ) != 0, troubleTold ) << flags;
   if ( told.count( Flags::recTunFlattenError ) ) {
      ASSERT_TRUE( flags.has( Flags::recTunFlattenError ) );
   }
}

inline void checkTunnelGraph( const TunnelFibSm & sm ) {
   const TunnelGraph graph = tunnelGraph( sm );
   std::set< std::pair< TunnelId, TunnelId > > edges, dependencies;
   for ( const TunnelGraph::Edge & edge : graph.edges ) {
      edges.insert( { edge.upper, edge.lower } );
      if ( edge.closesCycle ) {
         ASSERT_TRUE( edge.inCycle ) << edge.upper << " -> " << edge.lower;
         ASSERT_TRUE(
            sm.lastViaCalculation( edge.upper ).flags.has( TunnelFibViaCalcResult::recTunCycle ) );
      }
   }
   for ( const auto & [ upper, lowers ] : sm.tunnelsDirectlyDependingOn() ) {
      for ( TunnelId lower : lowers ) {
         dependencies.insert( { upper, lower } );
      }
   }
   ASSERT_EQ( edges, dependencies );
   std::set< TunnelId > nodes;
   for ( const TunnelGraph::Node & node : graph.nodes ) {
      nodes.insert( node.tunnelId );
   }
   for ( const auto & [ id, entry ] : sm.tunnelFib()->entry() ) {
      ASSERT_TRUE( nodes.count( id ) ) << id;
   }
   for ( const auto & [ id, listed ] : sm.unprogrammableTunnelId()->entry() ) {
      ASSERT_TRUE( nodes.count( id ) ) << id;
   }
}

} // namespace FibTest
