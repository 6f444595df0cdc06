#include "rib/TunnelRibBuilderSmBase.h"

#include <algorithm>

#include "platform/vel/Trace.h"
#include "rib/TunnelRibWalks.h"
#include "types/ColoredTunnelRib.h"
#include "types/IgpCostPref.h"
#include "types/TunnelRib.h"

// The review backlog and its task, the walk that refreshes IGP-cost
// preferences, and the removal of stale entries when the builder takes over.

namespace Tunnel::TunnelTable {

// --- Review backlog.

void TunnelRibBuilderSmBase::tunnelForReviewIs( TunnelId tunnelId ) {
   tunnelForReview_.insert( tunnelId );
   scheduleTunnelReview();
}

void TunnelRibBuilderSmBase::scheduleTunnelReview() {
   scheduler_->scheduleBacklogTask( *task_, tunnelReviewDelay_ );
}

void TunnelRibBuilderSmBase::warmUpReview( TunnelId tunnelId, std::size_t step ) const {
   const TunnelTableEntities * entities = tunnelTableEntities().get();
   if ( !entities ) {
      return;
   }
   if ( step == 0 ) {
      tunnelTableEntryFilter_->preference().map().prefetch( tunnelId );
   }
   EncapsulatedTableEntry::visitTable(
      tunnelId.tunnelType(), *entities, [ & ]( const auto & table, auto ) {
         if ( !table ) {
            return;
         }
         const auto & entries = table->entry().map();
         if ( step < 2 ) {
            entries.prefetch( tunnelId,
                              step == 0 ? Vel::IndexLoad::slot : Vel::IndexLoad::element );
            return;
         }
         const auto * found = entries.findValue( tunnelId );
         if ( !found || found->entry().endpointCount() == 0 ) {
            return;
         }
         // The uncolored endpoint: a colored tunnel's entry in a colored RIB
         // is simply not warmed.
         const ColoredTunnelEndpoint tep =
            ribTep( ColoredTunnelEndpoint( found->entry().endpoint( 0 ) ) );
         const Vel::IndexLoad load = step == 2 ? Vel::IndexLoad::slot : Vel::IndexLoad::element;
         internalTunnelRib_->entry().prefetch( tep, load );
         tunnelRib_->prefetchEntry( tep, load );
         if ( !protoTunnelRibColl_ ) {
            return;
         }
         if ( const auto proto = protoTunnelRibColl_->protocolTunnelRib( tunnelId.tunnelType() ) ) {
            if ( const auto & rib = proto->tunnelRib() ) {
               rib->prefetchEntry( tep, load );
            }
         }
      } );
}

void TunnelRibBuilderSmBase::drainTunnelBacklog() {
   VEL_TRACE( 6, "drainTunnelBacklog", ": ", tunnelForReview_.size(),
              " backlog entries for rib ", tunnelRibId() );
   // Room for every queued id at once, so that a cold start does not rehash
   // the map node by node each time it grows. Its order shows nowhere.
   tunnelIdToTepSet_.reserve( tunnelIdToTepSet_.size() + tunnelForReview_.size() );
   auto current = tunnelForReview_.begin();
   if ( tunnelReviewBookmark_ != TunnelId() ) {
      auto bookmarked = tunnelForReview_.find( tunnelReviewBookmark_ );
      if ( bookmarked != tunnelForReview_.end() ) {
         current = bookmarked;
      }
      tunnelReviewBookmark_ = TunnelId();
   }
   std::size_t reviewed = 0;
   TunnelReviewLookahead lookahead;
   while ( !tunnelForReview_.empty() ) {
      if ( current == tunnelForReview_.end() ) {
         // Ids queued behind the iterator.
         current = tunnelForReview_.begin();
      }
      lookahead.prepare( tunnelForReview_, current,
                         [ this ]( TunnelId id, std::size_t step ) { warmUpReview( id, step ); } );
      const TunnelId tunnelId = *current;
      const std::size_t buckets = tunnelForReview_.bucket_count();
      updateTunnelRibEntry( tunnelId );
      ++reviewed;
      scheduler_->taskWorkCountInc( *task_ );
      if ( buckets == tunnelForReview_.bucket_count() ) {
         current = tunnelForReview_.erase( current );
         lookahead.reviewed( tunnelForReview_ );
      } else {
         // A rehash during the review invalidated the iterator.
         tunnelForReview_.erase( tunnelId );
         current = tunnelForReview_.begin();
      }
      if ( scheduler_->taskShouldYield() ) {
         tunnelReviewBookmark_ = current == tunnelForReview_.end() ? TunnelId() : *current;
         VEL_TRACE( 6, "drainTunnelBacklog", ": Yielding" );
         if ( !tunnelForReview_.empty() ) {
            scheduleTunnelReview();
         }
         return;
      }
   }
   VEL_TRACE( 6, "drainTunnelBacklog", ": Reviewed ", reviewed, " tunnels. ",
              tunnelForReview_.size(), " remain in the backlog for rib ", tunnelRibId() );
}

// --- RIB review.

void TunnelRibBuilderSmBase::doTunnelRibReview() {
   VEL_TRACE( 8, "doTunnelRibReview" );
   if ( initialized_ ) {
      processTunnelRibReview();
   }
}

void TunnelRibBuilderSmBase::checkAndUpdateIgpCostPref( const ColoredTunnelEndpoint & tep ) {
   TunnelRibEntry ribEntry = tunnelRib_->tunnelRibEntry( tep );
   if ( ribEntry.empty() ) {
      return;
   }
   const TunnelId first = ribEntry.tunnelId( 0 );
   VEL_TRACE( 8, "checkAndUpdateIgpCostPref", "() tep: ", tep, " tid: ", first,
              " tableId: ", first.tableType() );
   EncapsulatedTableEntry entry = getEntry( first );
   if ( !entry ) {
      // Gone from its table: the backlog withdraws it.
      return;
   }
   const std::uint32_t pref = getIgpCostPref( first, entry, *tunnelRibConfig_ );
   if ( pref == ribEntry.igpCostPref() ) {
      return;
   }
   VEL_TRACE( 8, "checkAndUpdateIgpCostPref", "() changed tep: ", tep, "from pref: ",
              ribEntry.igpCostPref(), " to pref: ", pref );
   ribEntry.igpCostPrefIs( pref );
   tunnelRib_->tunnelRibEntryIs( ribEntry );
}

void TunnelRibBuilderSmBase::removeStaleEntries( const Vel::Ptr< TunnelRibBase > & rib ) {
   if ( rib->isColored() ) {
      processRemoveStaleEntries( static_cast< ColoredTunnelRib & >( *rib ), *this );
   } else {
      processRemoveStaleEntries( static_cast< TunnelRib & >( *rib ), *this );
   }
   removeStaleProtoTunnelRibEntries();
}

void TunnelRibBuilderSmBase::adoptCandidate( TunnelId tunnelId, const ColoredTunnelEndpoint & tep ) {
   const EncapsulatedTableEntry entry = getEntry( tunnelId );
   if ( !entry || !doesEntryContribute( *tunnelTableEntryFilter_, entry ) ) {
      return;
   }
   tunnelIdToTepSet_.try_emplace( tunnelId ).first->second.tepSetIs().coloredTepIs( tep );
   TunnelTableEntry candidate = entry.entry();
   candidate.tunnelIdIs( tunnelId );
   candidate.prefIs( getPreference( entry.entry() ) );
   internalTunnelRib_->entryIs( tep ).entryIs( candidate, true );
}

void TunnelRibBuilderSmBase::removeStaleProtoTunnelRibEntries() {
   if ( !protoTunnelRibColl_ ) {
      return;
   }
   for ( const auto & [ type, wrapper ] : protoTunnelRibColl_->protocolTunnelRib() ) {
      const Vel::Ptr< TunnelRib > & rib = wrapper->tunnelRib();
      if ( !rib ) {
         continue;
      }
      std::vector< TunnelRibEntry > entries;
      for ( const auto & [ key, ribEntry ] : rib->entry() ) {
         entries.push_back( ribEntry );
      }
      for ( const TunnelRibEntry & ribEntry : entries ) {
         TunnelRibEntry kept = ribEntry;
         while ( !kept.empty() ) {
            kept.tunnelIdDel( kept.tunnelIdCount() - 1 );
         }
         const ColoredTunnelEndpoint tep = ribTep( ribEntry.coloredTep() );
         for ( unsigned i = 0; i < ribEntry.tunnelIdCount(); ++i ) {
            const TunnelId tunnelId = ribEntry.tunnelId( i );
            const EncapsulatedTableEntry entry = getEntry( tunnelId );
            bool supported = entry && doesEntryContribute( *tunnelTableEntryFilter_, entry );
            if ( supported ) {
               const auto teps = ribTeps( entry );
               supported = std::binary_search( teps.begin(), teps.end(), tep );
            }
            VEL_TRACE( 8, " tunnel id ", tunnelId, ", of type ", tunnelId.tunnelType(),
                       supported ? " is not stale." : " is stale." );
            if ( supported ) {
               kept.addTunnelId( tunnelId );
               adoptCandidate( tunnelId, tep );
            }
         }
         if ( kept.empty() ) {
            rib->entryDel( ribEntry.tep() );
         } else if ( kept.tunnelIdCount() != ribEntry.tunnelIdCount() ) {
            rib->entryIs( kept );
         }
      }
   }
}

} // namespace Tunnel::TunnelTable
