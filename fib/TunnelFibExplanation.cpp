#include "fib/TunnelFibExplanation.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>
#include <span>

#include "fib/TunnelTableEntryLookup.h"
#include "platform/korvo/IntfId.h"
#include "types/MplsVia.h"

namespace Tunnel::TunnelTable {

namespace {

using Flags = TunnelFibViaCalcResult;
using Korvo::MplsLabelOperation;

bool isBgpLu( TunnelId id ) {
   return id.tunnelType() == TunnelType::bgpLuPushTunnel ||
          id.tunnelType() == TunnelType::bgpLuTunnel;
}

bool has( const TunnelFibSm::DependencyMap & map, TunnelId key, TunnelId member ) {
   auto found = map.find( key );
   return found != map.end() && found->second.has( member );
}

std::vector< TunnelId > members( const TunnelFibSm::DependencyMap & map, TunnelId key ) {
   auto found = map.find( key );
   if ( found == map.end() ) {
      return {};
   }
   return std::vector< TunnelId >( found->second.begin(), found->second.end() );
}

// The primary vias a table entry hands the via calculation, entry kind by
// entry kind as the calculation reads them; returns how many vias it gives
// that are no label stacks (nexthop groups, interface tunnels).
unsigned addVias( const MplsTunnelTableEntryBase & entry, std::vector< MplsVia > & vias ) {
   for ( const MplsVia & via : entry.mplsVia() ) {
      vias.push_back( via );
   }
   return 0;
}
unsigned addVias( const BgpLuTunnelTableEntry & entry, std::vector< MplsVia > & vias ) {
   for ( const Via & via : entry.via() ) {
      vias.push_back( MplsVia( via, entry.labelOperation() ) );
   }
   return 0;
}
unsigned addVias( const ProtectedTunnelTableEntryBase & entry, std::vector< MplsVia > & vias ) {
   if ( !entry.mplsVia().empty() ) {
      return addVias( static_cast< const MplsTunnelTableEntryBase & >( entry ), vias );
   }
   if ( entry.primaryVia() != MplsVia() ) {
      vias.push_back( entry.primaryVia() );
   }
   return 0;
}
unsigned addVias( const NexthopGroupTunnelTableEntry &, std::vector< MplsVia > & ) { return 1; }
template< class Info >
unsigned addVias( const InterfaceTunnelTableEntry< Info > &, std::vector< MplsVia > & ) {
   return 1;
}

struct TableVias {
   bool present = false;
   unsigned otherVias = 0;
   std::vector< MplsVia > labelled;
};

TableVias tableVias( const TunnelFibSm & sm, TunnelId tunnelId ) {
   TableVias result;
   visitTunnelTableEntry( sm, tunnelId, [ & ]( const auto * entry ) {
      if ( entry ) {
         result.present = true;
         result.otherVias = addVias( *entry, result.labelled );
      }
   } );
   return result;
}

std::optional< TunnelId > lowerTunnelOf( const TunnelFibSm & sm, TunnelId tunnelId,
                                         const Via & via ) {
   if ( !Korvo::DynamicTunnelIntfId::isDynamicTunnelIntfId( via.intfId() ) ) {
      return std::nullopt;
   }
   const TunnelId lower( Korvo::DynamicTunnelIntfId::tunnelId( via.intfId() ) );
   // Unflattened, only BGP-LU over BGP-LU is resolved.
   if ( sm.unflatten() && !( isBgpLu( lower ) && isBgpLu( tunnelId ) ) ) {
      return std::nullopt;
   }
   return lower;
}

// The via calculation's entropy-label rule: false when the pair did not fit.
enum class ViaKind { resolved, plain };
bool addEntropyLabel( const TunnelFibSm & sm, TunnelId tunnelId, ViaKind kind,
                      MplsLabelOperation & labels ) {
   if ( !sm.entropyLabelPush() || !tunnelId.supportsEntropyLabelPush() ) {
      return true;
   }
   if ( ( kind == ViaKind::resolved && labels.hasEntropyLabel() ) || labels.stackSize() == 0 ) {
      return true;
   }
   return labels.entropyLabelAndIndicatorIs( 0 ).success();
}

MplsLabelOperation labelStackOf( const TunnelFibSm & sm, TunnelFib::EncapId encapId ) {
   const auto * record = sm.tunnelFib()->labelStackEncap().find( encapId );
   return record ? record->info() : MplsLabelOperation();
}

// Finds which of the tunnel's table vias, and for a resolved one which lower
// via, gave the programmed via with this stack, and follows the lower via
// down the same way; false when no table via explains it (the entry is
// stale, waiting for its next computation).
bool traceVia( const TunnelFibSm & sm, TunnelId tunnelId, const TunnelFib::TunnelVia & fibVia,
               const MplsLabelOperation & stack, std::vector< ViaChainLink > & chain ) {
   if ( chain.size() > MplsLabelOperation::maxStackSize * 4 ) {
      return false;
   }
   for ( const MplsVia & tableVia : tableVias( sm, tunnelId ).labelled ) {
      const auto lower = lowerTunnelOf( sm, tunnelId, tableVia.via() );
      if ( !lower ) {
         MplsLabelOperation labels = tableVia.labelOperation();
         if ( addEntropyLabel( sm, tunnelId, ViaKind::plain, labels ) &&
              tableVia.via() == fibVia.via() && labels == stack ) {
            chain.push_back( { tunnelId, labels, std::nullopt, TunnelId(), {} } );
            return true;
         }
         continue;
      }
      const TunnelFib::TunnelFibEntry * lowerEntry = sm.tunnelFib()->entryFind( *lower );
      if ( !lowerEntry ) {
         continue;
      }
      for ( const TunnelFib::TunnelVia & lowerVia : lowerEntry->tunnelVia() ) {
         MplsLabelOperation own = tableVia.labelOperation();
         if ( lowerVia.via() != fibVia.via() ||
              !addEntropyLabel( sm, tunnelId, ViaKind::resolved, own ) ) {
            continue;
         }
         const MplsLabelOperation lowerLabels = labelStackOf( sm, lowerVia.encapId() );
         MplsLabelOperation merged = own;
         if ( !merged.smush( lowerLabels ).success() || merged != stack ) {
            continue;
         }
         chain.push_back( { tunnelId, own, lowerVia, *lower, lowerLabels } );
         if ( !traceVia( sm, *lower, lowerVia, lowerLabels, chain ) ) {
            // An interface tunnel or nexthop group: it leaves as it stands.
            chain.push_back( { *lower, lowerLabels, std::nullopt, TunnelId(), {} } );
         }
         return true;
      }
   }
   return false;
}

std::vector< ExplainedVia > explainVias( const TunnelFibSm & sm, TunnelId tunnelId,
                                         std::span< const TunnelFib::TunnelVia > vias, bool trace ) {
   std::vector< ExplainedVia > result;
   for ( const TunnelFib::TunnelVia & via : vias ) {
      ExplainedVia explained{ via, std::nullopt, {} };
      if ( via.encapId().encapType() == TunnelFib::EncapType::mplsLabelStackEncap ) {
         explained.labels = labelStackOf( sm, via.encapId() );
         if ( trace ) {
            traceVia( sm, tunnelId, via, *explained.labels, explained.chain );
         }
      }
      result.push_back( std::move( explained ) );
   }
   return result;
}

// How the lower tunnel stands for the upper one, by the via calculation's
// tests in its order.
LowerTunnelFinding findLowerTunnel( const TunnelFibSm & sm, TunnelId upper, TunnelId lower,
                                    const std::vector< MplsVia > & upperVias ) {
   LowerTunnelFinding finding{ lower, LowerTunnelState::resolved, {} };
   const TunnelFib::TunnelFibEntry * entry = sm.tunnelFib()->entryFind( lower );
   if ( lower == upper || has( sm.resolvedByTunnels(), lower, upper ) ) {
      finding.state = LowerTunnelState::cycle;
   } else if ( sm.tunnelFibEntryMarkedUnprocessed( lower ) && sm.tunnelForReview( lower ) ) {
      finding.state = LowerTunnelState::notReady;
   } else if ( !entry || entry->tunnelVia().empty() ) {
      using State = LowerTunnelState;
      finding.state = !sm.tunnelTableEntryHas( lower )            ? State::missing
                      : !sm.tunnelContributesToTunnelFib( lower ) ? State::notContributing
                      : sm.tunnelForReview( lower )               ? State::notReady
                                                                  : State::unprogrammable;
   } else {
      for ( const MplsVia & via : upperVias ) {
         if ( lowerTunnelOf( sm, upper, via.via() ) != lower ) {
            continue;
         }
         for ( const TunnelFib::TunnelVia & lowerVia : entry->tunnelVia() ) {
            MplsLabelOperation own = via.labelOperation();
            addEntropyLabel( sm, upper, ViaKind::resolved, own );
            const MplsLabelOperation lowerLabels = labelStackOf( sm, lowerVia.encapId() );
            if ( !MplsLabelOperation( own ).smush( lowerLabels ).success() ) {
               finding.stacksTooDeep.emplace_back( unsigned( own.stackSize() ),
                                                   unsigned( lowerLabels.stackSize() ) );
            }
         }
      }
   }
   return finding;
}

TunnelFibState stateOf( const TunnelFibSm & sm, TunnelId tunnelId ) {
   const TunnelFib::TunnelFibEntry * entry = sm.tunnelFib()->entryFind( tunnelId );
   if ( sm.lastViaCalculation( tunnelId ).deferred ) {
      return TunnelFibState::deferred;
   }
   if ( entry ) {
      return TunnelFibState::programmed;
   }
   if ( sm.unprogrammableTunnelId()->entryHas( tunnelId ) ) {
      return TunnelFibState::unprogrammable;
   }
   if ( !sm.tunnelTableEntryHas( tunnelId ) ) {
      return TunnelFibState::missing;
   }
   if ( !sm.tunnelContributesToTunnelFib( tunnelId ) ) {
      return TunnelFibState::notContributing;
   }
   return TunnelFibState::notReady;
}

// The upper tunnel's via calculation found the cycle closing over lower.
bool closesCycle( const TunnelFibSm & sm, TunnelId upper, TunnelId lower ) {
   return sm.lastViaCalculation( upper ).flags.has( Flags::recTunCycle ) &&
          ( lower == upper || has( sm.resolvedByTunnels(), lower, upper ) );
}

} // namespace

TunnelFibExplanation explainTunnel( const TunnelFibSm & sm, TunnelId tunnelId ) {
   TunnelFibExplanation result;
   result.tunnelId = tunnelId;
   const TableVias vias = tableVias( sm, tunnelId );
   result.tableEntryPresent = vias.present;
   result.contributing = vias.present && sm.tunnelContributesToTunnelFib( tunnelId );
   result.pendingReview = sm.tunnelForReview( tunnelId );
   result.markedUnprocessed = sm.tunnelFibEntryMarkedUnprocessed( tunnelId );
   result.state = stateOf( sm, tunnelId );
   result.lastViaCalculation = sm.lastViaCalculation( tunnelId );
   if ( const TunnelFib::TunnelFibEntry * entry = sm.tunnelFib()->entryFind( tunnelId ) ) {
      result.vias = explainVias( sm, tunnelId, entry->tunnelVia(), true );
      // Backup vias are installed as they stand.
      result.backupVias = explainVias( sm, tunnelId, entry->backupTunnelVia(), false );
   }
   if ( result.state == TunnelFibState::unprogrammable ) {
      result.unprogrammableCause = vias.labelled.empty() && vias.otherVias == 0
                                      ? UnprogrammableCause::noTableVia
                                   : !result.lastViaCalculation.flags.none()
                                      ? UnprogrammableCause::lowerTunnels
                                      : UnprogrammableCause::tooManyVias;
   }
   result.restsOn = members( sm.tunnelsDirectlyDependingOn(), tunnelId );
   result.restsOnAll = members( sm.resolvedByTunnels(), tunnelId );
   result.restedOnBy = members( sm.directlyDependentTunnels(), tunnelId );
   for ( TunnelId lower : result.restsOn ) {
      result.lowerTunnels.push_back( findLowerTunnel( sm, tunnelId, lower, vias.labelled ) );
   }
   return result;
}

TunnelGraph tunnelGraph( const TunnelFibSm & sm, std::optional< TunnelId > focus ) {
   std::set< TunnelId > ids;
   std::set< std::pair< TunnelId, TunnelId > > edges;
   for ( const auto & [ id, entry ] : sm.tunnelFib()->entry() ) {
      ids.insert( id );
   }
   for ( const auto & [ id, listed ] : sm.unprogrammableTunnelId()->entry() ) {
      ids.insert( id );
   }
   for ( const auto & [ upper, lowers ] : sm.tunnelsDirectlyDependingOn() ) {
      for ( TunnelId lower : lowers ) {
         ids.insert( upper );
         ids.insert( lower );
         edges.insert( { upper, lower } );
      }
   }

   std::map< TunnelId, std::vector< TunnelId > > down, up;
   for ( const auto & [ upper, lower ] : edges ) {
      down[ upper ].push_back( lower );
      up[ lower ].push_back( upper );
   }
   // Everything reachable from the focus one way, then the other.
   if ( focus ) {
      std::set< TunnelId > kept = { *focus };
      for ( auto * next : { &down, &up } ) {
         std::vector< TunnelId > todo = { *focus };
         while ( !todo.empty() ) {
            const TunnelId id = todo.back();
            todo.pop_back();
            for ( TunnelId other : ( *next )[ id ] ) {
               if ( kept.insert( other ).second ) {
                  todo.push_back( other );
               }
            }
         }
      }
      std::erase_if( ids, [ & ]( TunnelId id ) { return !kept.count( id ); } );
      std::erase_if( edges, [ & ]( const auto & edge ) {
         return !kept.count( edge.first ) || !kept.count( edge.second );
      } );
   }

   // A tunnel is in a cycle when it reaches itself going down.
   auto reaches = [ & ]( TunnelId from, TunnelId to ) {
      std::set< TunnelId > seen;
      std::vector< TunnelId > todo = { from };
      while ( !todo.empty() ) {
         const TunnelId id = todo.back();
         todo.pop_back();
         for ( TunnelId lower : down[ id ] ) {
            if ( lower == to ) {
               return true;
            }
            if ( seen.insert( lower ).second ) {
               todo.push_back( lower );
            }
         }
      }
      return false;
   };
   TunnelGraph graph;
   for ( TunnelId id : ids ) {
      graph.nodes.push_back( { id, stateOf( sm, id ), reaches( id, id ) } );
   }
   for ( const auto & [ upper, lower ] : edges ) {
      const bool inCycle = upper == lower || reaches( lower, upper );
      graph.edges.push_back( { upper, lower, inCycle, closesCycle( sm, upper, lower ) } );
   }
   return graph;
}

} // namespace Tunnel::TunnelTable
