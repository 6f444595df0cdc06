#include "fib/TunnelFibViaCalculation.h"

#include "fib/TunnelFibSm.h"
#include "fib/TunnelTableEntryLookup.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

using Flags = TunnelFibViaCalcResult;

namespace {

bool isBgpLu( TunnelId id ) {
   return id.tunnelType() == TunnelType::bgpLuPushTunnel ||
          id.tunnelType() == TunnelType::bgpLuTunnel;
}

bool entropyLabelApplies( const TunnelFibSm & sm, TunnelId tunnelId ) {
   return sm.entropyLabelPush() && tunnelId.supportsEntropyLabelPush();
}

// The entropy label beneath the tunnel's own labels. On a via resolved over
// a lower tunnel it goes in before the lower tunnel's labels are merged, and
// not where the tunnel's labels carry one already. False when it did not fit.
enum class ViaKind { resolved, plain };
bool addEntropyLabel( const TunnelFibSm & sm, TunnelId tunnelId, ViaKind kind,
                      Korvo::MplsLabelOperation & labelOp ) {
   if ( !entropyLabelApplies( sm, tunnelId ) ) {
      return true;
   }
   if ( kind == ViaKind::resolved && labelOp.hasEntropyLabel() ) {
      VEL_TRACE( 8, "Top-level tunnel ", tunnelId, " already has entropy label, skip adding" );
      return true;
   }
   if ( labelOp.stackSize() == 0 ) {
      VEL_TRACE( 8, "Not setting EL position on empty label stack for tunnel: ", tunnelId );
      return true;
   }
   Korvo::BoundedMplsLabelStackResult result = labelOp.entropyLabelAndIndicatorIs( 0 );
   if ( result.success() ) {
      return true;
   }
   if ( kind == ViaKind::resolved ) {
      VEL_TRACE( 8, "Failed to add ELI + EL for tunnel ", tunnelId, ". Result: ", result );
   } else {
      VEL_TRACE( 8, "Failed to add ELI + EL. Result: ", result );
   }
   return false;
}

// Why a lower tunnel without programmed vias gives none.
Flags classifyLowerTunnelWithoutVias( TunnelFibSm & sm, TunnelId lower ) {
   if ( !sm.tunnelTableEntryHas( lower ) ) {
      VEL_TRACE( 8, "    Next-level tunnel ", lower, " is missing its tunnel table entry" );
      return Flags( Flags::recTunMissing );
   }
   if ( !sm.tunnelContributesToTunnelFib( lower ) ) {
      VEL_TRACE( 8, "    Next-level tunnel ", lower, " is not contributing to tunnel FIB" );
      return Flags( Flags::recTunNonContrib );
   }
   if ( sm.tunnelForReview( lower ) ) {
      VEL_TRACE( 8, "    Next-level tunnel ", lower, " is not ready" );
      sm.lowerTunnelNotReadyIs( lower );
      return Flags( Flags::recTunNotReady );
   }
   VEL_TRACE( 8, "    Next-level tunnel ", lower, " is unprogrammable" );
   return Flags( Flags::recTunUnprogrammable );
}

// The vias of a present, contributing entry, by entry kind.

// Entries with a list of labelled vias.
template< class Entry >
Flags calculateTunnelFibEntryViasFromMplsEntry( TunnelFibSm & sm, ConsolidatedTunnelFibEntry & cons,
                                                const Entry & entry ) {
   Flags viaResult;
   const ViaList< MplsVia > & vias = entry.mplsVia();
   for ( unsigned i = 0; i < vias.size(); ++i ) {
      viaResult |= calculateTunnelFibEntryMplsVia( sm, cons, vias[ ViaIndex( i ) ] );
   }
   return viaResult;
}

// Entries with plain vias that all apply the entry's one label operation.
template< class Entry >
Flags calculateTunnelFibEntryMplsVias( TunnelFibSm & sm, ConsolidatedTunnelFibEntry & cons,
                                       const Entry & entry ) {
   const Korvo::MplsLabelOperation & labelOp = entry.labelOperation();
   if ( labelOp.action() != Korvo::MplsLabelAction::push ) {
      VEL_TRACE( 8, "Non push label operation for tableEntry with op ", labelOp, " !!" );
   }
   Flags viaResult;
   const ViaList< Via > & vias = entry.via();
   for ( unsigned i = 0; i < vias.size(); ++i ) {
      viaResult |= calculateTunnelFibEntryMplsVia( sm, cons, MplsVia( vias[ ViaIndex( i ) ], labelOp ) );
   }
   return viaResult;
}

Flags viasOf( TunnelFibSm & sm, ConsolidatedTunnelFibEntry & cons,
              const MplsTunnelTableEntryBase & entry ) {
   return calculateTunnelFibEntryViasFromMplsEntry( sm, cons, entry );
}

Flags viasOf( TunnelFibSm & sm, ConsolidatedTunnelFibEntry & cons,
              const BgpLuTunnelTableEntry & entry ) {
   return calculateTunnelFibEntryMplsVias( sm, cons, entry );
}

// The RSVP kinds and TI-LFA: one primary via protected by an optional backup
// via, installed as it stands, or a list of primary vias without backup.
Flags viasOf( TunnelFibSm & sm, ConsolidatedTunnelFibEntry & cons,
              const ProtectedTunnelTableEntryBase & entry ) {
   if ( !entry.mplsVia().empty() ) {
      const Flags viaResult = calculateTunnelFibEntryViasFromMplsEntry( sm, cons, entry );
      cons.backupViaInfoDelAll();
      return viaResult;
   }
   Flags viaResult;
   // An entry without any via is one with no vias, not one with an empty via.
   if ( entry.primaryVia() != MplsVia() ) {
      viaResult = calculateTunnelFibEntryMplsVia( sm, cons, entry.primaryVia() );
   }
   cons.backupViaInfoDelAll();
   if ( entry.backupVia() != MplsVia() ) {
      cons.insertBackupLabelStackVia( entry.backupVia().via(), entry.backupVia().labelOperation() );
   }
   return viaResult;
}

Flags viasOf( TunnelFibSm &, ConsolidatedTunnelFibEntry & cons,
              const NexthopGroupTunnelTableEntry & entry ) {
   cons.insertInvalidVia(
      Via( Korvo::IpGenAddr::ipv4( 0 ),
           Korvo::NexthopGroupIntfId::nexthopGroupIdToIntfId( entry.nexthopGroupId() ) ) );
   return Flags();
}

template< class Info >
Flags viasOf( TunnelFibSm &, ConsolidatedTunnelFibEntry & cons,
              const InterfaceTunnelTableEntry< Info > & entry ) {
   if constexpr ( std::is_same_v< Info, GreTunnelInfo > ) {
      cons.insertGreVia( entry.via(), entry.tunnelInfo() );
   } else if constexpr ( std::is_same_v< Info, IpsecGreTunnelInfo > ) {
      cons.insertIpsecGreVia( entry.via(), entry.tunnelInfo() );
   } else {
      cons.insertIpsecVtiVia( entry.via(), entry.tunnelInfo() );
   }
   return Flags();
}

// The machine's contribution rule, read from the entry in hand rather than
// looked up again.
template< class Entry >
bool contributes( const TunnelFibSm & sm, TunnelId tunnelId, const Entry & entry ) {
   if constexpr ( std::is_same_v< Entry, BgpLuTunnelTableEntry > ) {
      if ( tunnelId.tunnelType() == TunnelType::bgpLuTunnel ) {
         return entry.contribution() == BgpLuContribution::contributing;
      }
   }
   return sm.tunnelContributesToTunnelFib( tunnelId );
}

} // namespace

TunnelFibCalcResult calculateTunnelFibEntryVias( TunnelFibSm & sm,
                                                 ConsolidatedTunnelFibEntry & consFibEntry ) {
   TunnelFibCalcResult result;
   const bool supported =
      visitTunnelTableEntry( sm, consFibEntry.tunnelId(), [ & ]( const auto * entry ) {
         if ( !entry ) {
            result = { Flags(), true, false };
         } else if ( !contributes( sm, consFibEntry.tunnelId(), *entry ) ) {
            result = { Flags(), false, false };
         } else {
            result = { viasOf( sm, consFibEntry, *entry ), false, true };
         }
      } );
   VEL_ASSERT( supported, "Unsupported tunnel type" );
   return result;
}

TunnelFibViaCalcResult calculateTunnelFibEntryMplsVia( TunnelFibSm & sm,
                                                       ConsolidatedTunnelFibEntry & consFibEntry,
                                                       const MplsVia & mplsVia ) {
   const TunnelId tunnelId = consFibEntry.tunnelId();
   const Via & via = mplsVia.via();
   bool resolve = Korvo::DynamicTunnelIntfId::isDynamicTunnelIntfId( via.intfId() );
   TunnelId lower;
   if ( resolve ) {
      lower = TunnelId( Korvo::DynamicTunnelIntfId::tunnelId( via.intfId() ) );
      // Unflattened, only BGP-LU over BGP-LU is still resolved; every other
      // via keeps pointing at its tunnel interface.
      resolve = !sm.unflatten() || ( isBgpLu( lower ) && isBgpLu( tunnelId ) );
   }

   if ( !resolve ) {
      Korvo::MplsLabelOperation labelOp = mplsVia.labelOperation();
      if ( !addEntropyLabel( sm, tunnelId, ViaKind::plain, labelOp ) ) {
         return Flags( Flags::recTunFlattenError );
      }
      consFibEntry.insertLabelStackVia( via, labelOp );
      return Flags();
   }

   // The edge is kept whatever happens below, so this tunnel is computed
   // again when the lower one changes.
   sm.directDependencyIs( tunnelId, lower );
   const auto & resolvedBy = sm.resolvedByTunnels();
   auto beneathLower = resolvedBy.find( lower );
   const bool cycle = lower == tunnelId ||
                      ( beneathLower != resolvedBy.end() && beneathLower->second.has( tunnelId ) );
   // Over itself a tunnel is never ready, being under review: that is a
   // cycle, not a wait.
   if ( !cycle && sm.tunnelFibEntryMarkedUnprocessed( lower ) && sm.tunnelForReview( lower ) ) {
      VEL_TRACE( 8, "      Skipping vias for tunnel ", lower, " (marked unprocessed)" );
      sm.lowerTunnelNotReadyIs( lower );
      return Flags( Flags::recTunNotReady );
   }
   if ( cycle ) {
      VEL_TRACE( 8, "    Cycle detected while trying to create MplsVia for tunnelId ", tunnelId,
                 " via tunnelId ", lower );
      return Flags( Flags::recTunCycle );
   }
   const TunnelFib::TunnelFibEntry * lowerEntry = sm.tunnelFib()->entryFind( lower );
   if ( !lowerEntry || lowerEntry->tunnelVia().empty() ) {
      return classifyLowerTunnelWithoutVias( sm, lower );
   }

   Flags result;
   bool added = false;
   for ( const TunnelFib::TunnelVia & lowerVia : lowerEntry->tunnelVia() ) {
      Korvo::MplsLabelOperation labelOp = mplsVia.labelOperation();
      if ( !addEntropyLabel( sm, tunnelId, ViaKind::resolved, labelOp ) ) {
         return Flags( Flags::recTunFlattenError );
      }
      const TunnelFib::LabelStackEncap * lowerStack =
         sm.tunnelFib()->labelStackEncap().find( lowerVia.encapId() );
      const Korvo::MplsLabelOperation lowerLabelOp =
         lowerStack ? lowerStack->info() : Korvo::MplsLabelOperation();
      const Korvo::MplsLabelOperation ownLabelOp = labelOp;
      Korvo::SmushResult merged = labelOp.smush( lowerLabelOp );
      if ( merged.success() ) {
         consFibEntry.insertLabelStackVia( lowerVia.via(), labelOp );
         added = true;
      } else {
         VEL_TRACE( 8, "      Ignored flattened TunnelVia for tunnel ", tunnelId,
                    " via (label stack too large: ", ownLabelOp, " + ", lowerLabelOp,
                    "), Label stack result: ", merged );
         result = Flags( Flags::recTunFlattenError );
      }
   }
   if ( added ) {
      sm.resolvedByTunnelsIs( tunnelId, lower );
   }
   return result;
}

} // namespace Tunnel::TunnelTable
