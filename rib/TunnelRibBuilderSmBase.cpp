#include "rib/TunnelRibBuilderSmBase.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>
#include <vector>

#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"
#include "rib/EntryFilterUpdate.h"
#include "rib/TunnelRibWalks.h"
#include "types/ColoredTunnelRib.h"
#include "types/CopyMetrics.h"
#include "types/IgpCostPref.h"
#include "types/TunnelRib.h"

namespace Tunnel::TunnelTable {

namespace {

// The types whose tunnels compete with a preference from the entry filter:
// those of the tables the preference mapper serves.
bool preferenceCapable( TunnelType type ) {
   switch ( type ) {
    case TunnelType::bgpLuTunnel:
    case TunnelType::ldpTunnel:
    case TunnelType::staticTunnel:
    case TunnelType::srTunnel:
    case TunnelType::nexthopGroupTunnel:
    case TunnelType::ospfSrTunnel:
    case TunnelType::srTePolicyTunnel:
    case TunnelType::rsvpLerTunnel:
    case TunnelType::isisFlexAlgoTunnel:
      return true;
    default:
      return false;
   }
}

constexpr TunnelEntryPref unknownTypePref = 255;

std::vector< ColoredTunnelEndpoint > tepsOf( const Vel::Ptr< ColoredTunnelEndpointSet > & set ) {
   std::vector< ColoredTunnelEndpoint > teps;
   if ( set ) {
      teps.reserve( set->size() );
      for ( const auto & [ tep, present ] : set->coloredTep() ) {
         teps.push_back( tep );
      }
   }
   return teps;
}

} // namespace

TunnelRibBuilderSmBase::TunnelRibBuilderSmBase(
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl,
   Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter, Vel::Ptr< TunnelRibBase > tunnelRib,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::Ptr< Mox::TaskScheduler > scheduler, Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus )
      : TableEntrySm( std::move( tunnelTableEntities ), std::move( tunnelIdColl ) ),
        tunnelTableEntryFilter_( std::move( tunnelTableEntryFilter ) ),
        tunnelRib_( std::move( tunnelRib ) ), protoTunnelRibColl_( std::move( protoTunnelRibColl ) ),
        scheduler_( std::move( scheduler ) ), tunnelRibConfig_( std::move( tunnelRibConfig ) ),
        tunnelRibGrStatus_( std::move( tunnelRibGrStatus ) ) {
   preferenceReactor_ = tunnelTableEntryFilter_->preference().react(
      [ this ]( const TunnelId & tunnelId ) { handlePreference( tunnelId ); } );
   configReactor_ = tunnelRibConfig_->entry().react(
      [ this ]( const TunnelTableIdentifier & table ) { handleConfigEntry( table ); } );
   for ( const auto & [ table, entry ] : tunnelRibConfig_->entry() ) {
      handleConfigEntry( table );
   }
}

TunnelRibBuilderSmBase::~TunnelRibBuilderSmBase() {
   preferenceReactor_.zombieIs();
   configReactor_.zombieIs();
   for ( auto & [ table, reactors ] : configEntryReactors_ ) {
      reactors.igpCostPrefMapping.zombieIs();
      reactors.igpCostPref.zombieIs();
   }
   tunnelRibReviewTaskDel();
   taskDel();
}

void TunnelRibBuilderSmBase::handleConfigEntry( TunnelTableIdentifier table ) {
   auto entry = tunnelRibConfig_->entry( table );
   if ( !entry ) {
      configEntryReactors_.erase( table );
      return;
   }
   ConfigEntryReactors & reactors = configEntryReactors_[ table ];
   if ( reactors.entry == entry ) {
      return;
   }
   reactors.entry = entry;
   reactors.igpCostPrefMapping =
      entry->igpCostPrefMapping().react( [ this, table ] { handleIgpCostPrefMapping( table ); } );
   // The mapped value matters as much as the mapping itself.
   reactors.igpCostPref =
      entry->igpCostPref().react( [ this, table ] { handleIgpCostPrefMapping( table ); } );
}

void TunnelRibBuilderSmBase::handleInitialized() {
   VEL_TRACE( 8 );
   taskIs( taskPriority, taskName );
   internalTunnelRibIs();
   verifyProtoTunnelRibColl();
   initializeInputProcessedSm();
   handleTunnelTableEntity();
   tunnelRibReviewTaskIs( taskPriority, tunnelRibReviewTaskName );
   tunnelReviewBookmark_ = TunnelId();
   tepBookmark_ = ColoredTunnelEndpoint();
   initialized_ = true;
}

void TunnelRibBuilderSmBase::verifyProtoTunnelRibColl() {
   VEL_TRACE( 8 );
   if ( !protoTunnelRibColl_ ) {
      return;
   }
   for ( const auto & [ type, wrapper ] : protoTunnelRibColl_->protocolTunnelRib() ) {
      assertProtoTunnelRib( type );
   }
}

void TunnelRibBuilderSmBase::assertProtoTunnelRib( TunnelType tunnelType ) const {
   auto wrapper = protoTunnelRibColl_->protocolTunnelRib( tunnelType );
   if ( !wrapper ) {
      throw std::logic_error( "protocolTunnelRib missing for tunnelType " +
                              stringValue( tunnelType ) );
   }
   if ( !wrapper->tunnelRib() ) {
      throw std::logic_error( "protocolTunnelRib::tunnelRib missing for tunnelType " +
                              stringValue( tunnelType ) );
   }
}

void TunnelRibBuilderSmBase::initializeInputProcessedSm() {
   // Restart tracking of the RIB hooks in here; without it there is nothing
   // to set up.
}

// --- Tasks.

void TunnelRibBuilderSmBase::taskIs( Mox::TaskPriority priority, const char * name ) {
   task_ = Vel::make< Mox::Task >( scheduler_, priority, name );
   taskRunReactor_ = task_->onRun( [ this ] { drainTunnelBacklog(); } );
   taskWorkPendingReactor_ = task_->workPending().react( [ this ] {
      if ( !task_->workPending()() ) {
         maybeMarkInputProcessedBacklogEmpty();
      }
   } );
}

void TunnelRibBuilderSmBase::taskDel() {
   if ( !task_ ) {
      return;
   }
   taskRunReactor_.zombieIs();
   taskWorkPendingReactor_.zombieIs();
   scheduler_->unscheduleTask( *task_ );
   task_.reset();
}

void TunnelRibBuilderSmBase::tunnelRibReviewTaskIs( Mox::TaskPriority priority,
                                                    const char * name ) {
   tunnelRibReviewTask_ = Vel::make< Mox::Task >( scheduler_, priority, name );
   tunnelRibReviewTaskReactor_ = tunnelRibReviewTask_->onRun( [ this ] { doTunnelRibReview(); } );
}

void TunnelRibBuilderSmBase::tunnelRibReviewTaskDel() {
   if ( !tunnelRibReviewTask_ ) {
      return;
   }
   tunnelRibReviewTaskReactor_.zombieIs();
   scheduler_->unscheduleTask( *tunnelRibReviewTask_ );
   tunnelRibReviewTask_.reset();
}

// --- Reports.

void TunnelRibBuilderSmBase::handleTunnelTableEntry( const TunnelId & tunnelId,
                                                     TunnelTableIdentifier, bool isDeletion ) {
   VEL_TRACE( 8, "handleTunnelTableEntry", " tunnel ID ", tunnelId, ", isDeletion ", isDeletion,
              " for rib id ", tunnelRibId() );
   tunnelForReviewIs( tunnelId );
   tunnelRibConvergenceCallback();
}

void TunnelRibBuilderSmBase::handleUnprogrammableEntry( const TunnelId & tunnelId ) {
   VEL_TRACE( 8, " tunnel ID ", tunnelId );
   handleTunnelTableEntry( tunnelId, TunnelTableIdentifier::invalidTable, false );
}

void TunnelRibBuilderSmBase::handlePreference( TunnelId tunnelId ) {
   const bool held = tunnelTableEntryFilter_->preferenceHas( tunnelId );
   if ( held ) {
      refreshCandidatePreference( tunnelId );
   }
   // The flag is true while the filter holds the id; it only reaches the
   // trace, and the review finds out the rest.
   handleTunnelTableEntry( tunnelId, TunnelTableIdentifier::invalidTable, held );
}

// The id's candidates take its new preference at once, though the RIB waits
// for the id's review: a selection made for another id before then must
// rank the id as it now competes. Otherwise a table whose preference changes
// as a whole could hand an endpoint to one of its tunnels on a preference
// the tunnel no longer has, which that tunnel's own review then keeps.
void TunnelRibBuilderSmBase::refreshCandidatePreference( TunnelId tunnelId ) {
   const auto teps = tunnelIdToTepSet( tunnelId );
   if ( !teps || !teps->tepSet() || !preferenceCapable( tunnelId.tunnelType() ) ) {
      return;
   }
   const TunnelEntryPref pref =
      static_cast< std::uint8_t >( tunnelTableEntryFilter_->preference( tunnelId ) );
   for ( const auto & [ tep, present ] : teps->tepSet()->coloredTep() ) {
      auto ordered = internalTunnelRib_->entry( tep );
      if ( !ordered ) {
         continue;
      }
      std::vector< TunnelTableEntry > stale;
      for ( const auto & [ candidate, held ] : *ordered ) {
         if ( candidate.tunnelId() == tunnelId && candidate.pref() != pref ) {
            stale.push_back( candidate );
         }
      }
      for ( TunnelTableEntry candidate : stale ) {
         ordered->entryDel( candidate );
         candidate.prefIs( pref );
         ordered->entryIs( candidate, true );
      }
   }
}

void TunnelRibBuilderSmBase::handleIgpCostPrefMapping( TunnelTableIdentifier table ) {
   VEL_TRACE( 8, " tableId: ", table );
   tepBookmark_ = ColoredTunnelEndpoint();
   if ( tunnelRibReviewTask_ ) {
      scheduler_->scheduleTask( *tunnelRibReviewTask_ );
   }
}

// --- Review backlog.

void TunnelRibBuilderSmBase::tunnelForReviewIs( TunnelId tunnelId ) {
   tunnelForReview_.insert( tunnelId );
   scheduleTunnelReview();
}

void TunnelRibBuilderSmBase::scheduleTunnelReview() {
   if ( scheduler_->taskScheduled( *task_ ) ) {
      return;
   }
   if ( scheduler_->taskWorkPending( *task_ ) ) {
      scheduler_->scheduleTaskLowestDelay( *task_, tunnelReviewDelay_ );
   } else {
      scheduler_->scheduleTask( *task_ );
   }
}

void TunnelRibBuilderSmBase::drainTunnelBacklog() {
   VEL_TRACE( 6, "drainTunnelBacklog", ": ", tunnelForReview_.size(),
              " backlog entries for rib ", tunnelRibId() );
   auto current = tunnelForReview_.begin();
   if ( tunnelReviewBookmark_ != TunnelId() ) {
      auto bookmarked = tunnelForReview_.find( tunnelReviewBookmark_ );
      if ( bookmarked != tunnelForReview_.end() ) {
         current = bookmarked;
      }
      tunnelReviewBookmark_ = TunnelId();
   }
   std::size_t reviewed = 0;
   while ( !tunnelForReview_.empty() ) {
      if ( current == tunnelForReview_.end() ) {
         // Ids queued behind the iterator.
         current = tunnelForReview_.begin();
      }
      const TunnelId tunnelId = *current;
      const std::size_t buckets = tunnelForReview_.bucket_count();
      updateTunnelRibEntry( tunnelId );
      ++reviewed;
      scheduler_->taskWorkCountInc( *task_ );
      if ( buckets == tunnelForReview_.bucket_count() ) {
         current = tunnelForReview_.erase( current );
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
}

// --- Selection.

EncapsulatedTableEntry TunnelRibBuilderSmBase::getEntry( TunnelId tunnelId ) const {
   return EncapsulatedTableEntry::getEntry( tunnelId, tunnelTableEntities() );
}

std::vector< ColoredTunnelEndpoint >
TunnelRibBuilderSmBase::ribTeps( const EncapsulatedTableEntry & entry ) const {
   std::vector< ColoredTunnelEndpoint > teps = tepsOf( entry.tunnelEndpointSet() );
   if ( !isColored() ) {
      // Colors of one prefix meet in one entry of a RIB keyed by prefix.
      for ( auto & tep : teps ) {
         tep = ribTep( tep );
      }
      teps.erase( std::unique( teps.begin(), teps.end() ), teps.end() );
   }
   return teps;
}

Vel::Ptr< TunnelIdToTepEntrySet >
TunnelRibBuilderSmBase::tunnelIdToTepSet( TunnelId tunnelId ) const {
   auto it = tunnelIdToTepSet_.find( tunnelId );
   return it == tunnelIdToTepSet_.end() ? nullptr : it->second;
}

void TunnelRibBuilderSmBase::updateTunnelRibEntry( TunnelId tunnelId ) {
   VEL_TRACE( 8, " tunnel ID ", tunnelId, ". Handling tunnel rib with", " id ", tunnelRibId() );
   const TunnelType type = tunnelId.tunnelType();
   if ( !contributeToTunnelRib( type ) ) {
      VEL_TRACE( 8, " ", type, " doesn't contribute to tunnel rib" );
      return;
   }
   const EncapsulatedTableEntry entry = getEntry( tunnelId );
   bool contributes = entry && doesEntryContribute( *tunnelTableEntryFilter_, entry );
   if ( unprogrammableTunnelId() && unprogrammableTunnelId()->entryHas( tunnelId ) ) {
      VEL_TRACE( 8, " ", tunnelId, " is unprogrammable" );
      contributes = false;
   }
   // Both lists come out of ordered sets, so they are sorted already.
   const auto known = tunnelIdToTepSet( tunnelId );
   const std::vector< ColoredTunnelEndpoint > oldTeps = tepsOf( known ? known->tepSet() : nullptr );
   const std::vector< ColoredTunnelEndpoint > newTeps =
      contributes ? ribTeps( entry ) : std::vector< ColoredTunnelEndpoint >();
   if ( oldTeps.empty() && newTeps.empty() ) {
      VEL_TRACE( 8, " tunnel of type ", type, " and id ", tunnelId.index(),
                 " has no valid teps associated with it." );
      return;
   }
   if ( !contributes ) {
      for ( const auto & tep : oldTeps ) {
         doUpdateLocalCollectionsAndTunnelRib( entry, tep, false );
      }
      return;
   }
   std::vector< ColoredTunnelEndpoint > gone;
   std::set_difference( oldTeps.begin(), oldTeps.end(), newTeps.begin(), newTeps.end(),
                        std::back_inserter( gone ) );
   for ( const auto & tep : gone ) {
      doUpdateLocalCollectionsAndTunnelRib( entry, tep, false );
   }
   // Re-adding a tep already held is how changed metrics and preferences
   // reach the RIB.
   for ( const auto & tep : newTeps ) {
      doUpdateLocalCollectionsAndTunnelRib( entry, tep, true );
   }
}

void TunnelRibBuilderSmBase::doUpdateLocalCollectionsAndTunnelRib(
   const EncapsulatedTableEntry & entry, const ColoredTunnelEndpoint & tep, bool add ) {
   const TunnelId tunnelId = entry.tunnelId();
   VEL_TRACE( 8, " for tunnel id ", tunnelId, ", tep ", tep, ", add: ", add );
   if ( add ) {
      auto known = tunnelIdToTepSet( tunnelId );
      if ( known && known->tepSet() && known->tepSet()->coloredTepHas( tep ) ) {
         const TunnelRibEntry ribEntry = tunnelRib_->tunnelRibEntry( tep );
         if ( ribEntry.hasTunnelId( tunnelId ) ) {
            const TunnelEntryPref newPref = getPreference( entry.entry() );
            if ( ribEntry.pref() != newPref ) {
               VEL_TRACE( 8, "Contributing tunnel rib entry of tep: ", tep,
                          " changed entryPref from: ", ribEntry.pref(), " to: ", newPref );
               doUpdateLocalCollectionsAndTunnelRib( entry, tep, false );
            }
         }
      }
      auto & element = tunnelIdToTepSet_[ tunnelId ];
      if ( !element ) {
         element = Vel::make< TunnelIdToTepEntrySet >( tunnelId );
      }
      element->tepSetIs()->coloredTepIs( tep );
      if ( !doUpdateProtoTunnelRibColl( tep, tunnelId, tunnelId.tunnelType(), true ) ) {
         return;
      }
      const TunnelEntryPref pref = getPreference( entry.entry() );
      internalTunnelRib_->entryIs( tep );
      removeCandidates( tep, tunnelId, &pref );
      // The candidate competes with the preference the filter gives it, not
      // with the one its protocol published.
      TunnelTableEntry candidate = entry.entry();
      candidate.tunnelIdIs( tunnelId );
      candidate.prefIs( pref );
      internalTunnelRib_->entry( tep )->entryIs( candidate, true );
      doUpdateTunnelRibEntry( entry, tep, true );
      return;
   }

   if ( auto known = tunnelIdToTepSet( tunnelId ) ) {
      if ( known->tepSet() ) {
         known->tepSet()->coloredTepDel( tep );
      }
      if ( !known->tepSet() || known->tepSet()->empty() ) {
         tunnelIdToTepSet_.erase( tunnelId );
      }
   }
   if ( !doUpdateProtoTunnelRibColl( tep, tunnelId, tunnelId.tunnelType(), false ) ) {
      return;
   }
   if ( !internalTunnelRib_->entryHas( tep ) ) {
      VEL_TRACE( 8, "Internal tunnel rib does not have an entry for tep ", tep );
      return;
   }
   removeCandidates( tep, tunnelId, nullptr );
   doUpdateTunnelRibEntry( entry, tep, false );
}

// Removes the candidates of the id at the tep, all of them or only those
// whose preference differs from keepPref, and the tep's element once it has
// no candidate left.
void TunnelRibBuilderSmBase::removeCandidates( const ColoredTunnelEndpoint & tep,
                                               TunnelId tunnelId,
                                               const TunnelEntryPref * keepPref ) {
   auto ordered = internalTunnelRib_->entry( tep );
   if ( !ordered ) {
      return;
   }
   std::vector< TunnelTableEntry > doomed;
   for ( const auto & [ candidate, present ] : *ordered ) {
      if ( candidate.tunnelId() == tunnelId &&
           ( !keepPref || candidate.pref() != *keepPref ) ) {
         doomed.push_back( candidate );
      }
   }
   for ( const auto & candidate : doomed ) {
      ordered->entryDel( candidate );
   }
   if ( !keepPref && ordered->empty() ) {
      internalTunnelRib_->entryDel( tep );
   }
}

bool TunnelRibBuilderSmBase::doUpdateProtoTunnelRibColl( const ColoredTunnelEndpoint & tep,
                                                         TunnelId tunnelId,
                                                         TunnelType tunnelType, bool add ) {
   if ( !protoTunnelRibColl_ ) {
      return true;
   }
   assertProtoTunnelRib( tunnelType );
   const auto & rib = protoTunnelRibColl_->protocolTunnelRib( tunnelType )->tunnelRib();
   TunnelRibEntry ribEntry = rib->tunnelRibEntry( tep );
   if ( add ) {
      ribEntry.addTunnelId( tunnelId );
      rib->tunnelRibEntryIs( ribEntry );
      VEL_TRACE( 8, tunnelType, ": adding protocol-specific TEP / tunnel ID ",
                 "mapping, tunnel ID ", tunnelId, ", TEP ", tep );
      return true;
   }
   if ( ribEntry.empty() ) {
      VEL_TRACE( 8, "No entry for tep ", tep, " in ", tunnelType, "'s table tunnel rib" );
      return false;
   }
   ribEntry.delTunnelId( tunnelId );
   if ( ribEntry.empty() ) {
      rib->tunnelRibEntryDel( tep );
   } else {
      rib->tunnelRibEntryIs( ribEntry );
   }
   VEL_TRACE( 8, tunnelType, ": deleting protocol-specific TEP / tunnel ID ",
              "mapping, tunnel ID ", tunnelId, ", TEP ", tep );
   return true;
}

void TunnelRibBuilderSmBase::doUpdateTunnelRibEntry( const EncapsulatedTableEntry & entry,
                                                     const ColoredTunnelEndpoint & tep,
                                                     bool add ) {
   VEL_TRACE( 8, "tep: ", tep, ", add: ", add );
   const TunnelRibEntry existing = tunnelRib_->tunnelRibEntry( tep );
   const TunnelId tunnelId = entry.tunnelId();
   if ( !add ) {
      if ( existing.empty() ) {
         VEL_TRACE( 8, "Tunnel Rib entry tep: ", tep, " is already gone." );
         return;
      }
      const bool found = existing.hasTunnelId( tunnelId );
      VEL_TRACE( 8, "Deleting Tunnel RIB entry tep: ", tep, " id: ", tunnelId,
                 " present: ", found );
      if ( !found ) {
         return;
      }
      if ( existing.tunnelIdCount() == 1 ) {
         tunnelRib_->tunnelRibEntryDel( tep );
         doSelectBestAndUpdateTunnelRib( tep );
      } else {
         doDeleteTunnelId( tunnelId, tep );
      }
      return;
   }
   if ( existing.empty() ) {
      VEL_TRACE( 8, "Adding Tunnel RIB entry tep: ", tep, " id: ", tunnelId );
      doAddTunnelId( entry, tep );
      return;
   }
   VEL_TRACE( 8, "Updating Table entry is contributing for tep: ", tep, " has ",
              existing.tunnelIdCount(), " contributing tunnels" );
   const TunnelId existingId = existing.tunnelId( 0 );
   const TunnelEntryPref existingPref = existing.pref();
   const TunnelEntryPref newPref = getPreference( entry.entry() );
   VEL_TRACE( 8, "Existing tunnel ", existingId, " ", existingId.tunnelType(), "(", existingPref,
              ")" );
   if ( tunnelTypesCanFormEcmp( existingId.tunnelType(), tunnelId.tunnelType() ) &&
        newPref == existingPref ) {
      VEL_TRACE( 8, "Adding new ID for existing Tunnel RIB entry: ", tunnelId );
      doAddTunnelId( entry, tep );
      return;
   }
   if ( shouldReplaceTunnelRibEntries( existingId, existingPref, tunnelId, newPref ) ==
        Replacement::replace ) {
      VEL_TRACE( 8, "New ID is: ", tunnelId );
      tunnelRib_->tunnelRibEntryDel( tep );
      doAddTunnelId( entry, tep );
   }
}

// Between tunnels that cannot share an ECMP set: the smaller preference wins,
// and on a tie the type with the smaller default preference. A tie of the
// defaults too cannot be decided.
TunnelRibBuilderSmBase::Replacement TunnelRibBuilderSmBase::shouldReplaceTunnelRibEntries(
   TunnelId existingId, TunnelEntryPref existingPref, TunnelId newId,
   TunnelEntryPref newPref ) const {
   const TunnelType existingType = existingId.tunnelType();
   const TunnelType newType = newId.tunnelType();
   if ( newPref == existingPref ) {
      VEL_TRACE( 8, "Existing tunnel table entry with tid ", existingId,
                 " and new tunnel table entry with tid ", newId,
                 " have the same preference value of ", existingPref );
      existingPref = getDefaultPrefForType( existingType );
      newPref = getDefaultPrefForType( newType );
      VEL_ASSERT( existingPref != newPref, "Two tunnels have the same default static pref" );
      VEL_TRACE( 8, "Existing ", existingType, " tunnel table entry",
                 " has a default static preference of ", existingPref );
      VEL_TRACE( 8, "New ", newType, " tunnel table entry", " has a default static preference of ",
                 newPref );
   }
   if ( newPref >= existingPref ) {
      VEL_TRACE( 8, "Existing tunnel entry contributed by table: ", existingType, " (",
                 existingPref, ")", " is preferred more than ", newType, " (", newPref, ") " );
      return Replacement::keep;
   }
   VEL_TRACE( 8, "Deleting existing entry contributed by table: ", existingType, "(",
              existingPref, ") as the entry from table: ", newType, "(", newPref,
              ") is more preferred." );
   return Replacement::replace;
}

void TunnelRibBuilderSmBase::doAddTunnelId( const EncapsulatedTableEntry & entry,
                                            const ColoredTunnelEndpoint & tep ) {
   const TunnelId tunnelId = entry.tunnelId();
   VEL_TRACE( 8, " tid ", tunnelId );
   TunnelRibEntry ribEntry = tunnelRib_->tunnelRibEntry( tep );
   copyMetrics( tunnelId, ribEntry, entry, *tunnelRibConfig_ );
   ribEntry.prefIs( getPreference( entry.entry() ) );
   ribEntry.addTunnelId( tunnelId );
   tunnelRib_->tunnelRibEntryIs( ribEntry );
}

bool TunnelRibBuilderSmBase::doDeleteTunnelId( TunnelId tunnelId,
                                               const ColoredTunnelEndpoint & tep ) {
   VEL_TRACE( 8, "tunnelId: ", tunnelId, ", tep: ", tep );
   TunnelRibEntry ribEntry = tunnelRib_->tunnelRibEntry( tep );
   const bool listed = ribEntry.hasTunnelId( tunnelId );
   ribEntry.delTunnelId( tunnelId );
   // The metrics follow the first remaining id that still has an entry.
   for ( unsigned i = 0; i < ribEntry.tunnelIdCount(); ++i ) {
      const TunnelId remaining = ribEntry.tunnelId( i );
      const TunnelType tunnelType = remaining.tunnelType();
      VEL_ASSERT( tunnelTypesCanFormEcmp( tunnelId.tunnelType(), tunnelType ),
                  "tunnelTypesCanFormEcmp( tid.tunnelType(), tunnelType )" );
      const EncapsulatedTableEntry remainingEntry = getEntry( remaining );
      if ( remainingEntry && bgpLuEntryContributes( remainingEntry ) ) {
         copyMetrics( remaining, ribEntry, remainingEntry, *tunnelRibConfig_ );
         break;
      }
   }
   tunnelRib_->tunnelRibEntryIs( ribEntry );
   return listed;
}

void TunnelRibBuilderSmBase::doSelectBestAndUpdateTunnelRib( const ColoredTunnelEndpoint & tep ) {
   VEL_TRACE( 8 );
   const auto ordered = internalTunnelRib_->entry( tep );
   if ( !ordered ) {
      VEL_TRACE( 8, "No table entry is contributing for tep: ", tep );
      return;
   }
   // Adding ids writes the RIB only, so the candidate walk stays valid.
   auto candidate = ordered->begin();
   EncapsulatedTableEntry best;
   for ( ; candidate != ordered->end(); ++candidate ) {
      EncapsulatedTableEntry current = getEntry( candidate->first.tunnelId() );
      if ( current && doesEntryContribute( *tunnelTableEntryFilter_, current ) ) {
         best = current;
         break;
      }
   }
   if ( candidate == ordered->end() ) {
      VEL_TRACE( 8, "No remaining table entries are present to contribute for tep: ", tep );
      return;
   }
   const TunnelTableEntry bestCandidate = candidate->first;
   const TunnelType bestType = bestCandidate.tunnelId().tunnelType();
   VEL_TRACE( 8, "Tunnel ID ", bestCandidate.tunnelId(), " (", bestType,
              ") table entry is contributing for tep: ", tep );
   doAddTunnelId( best, tep );
   // Later candidates join on presence alone; whether they still contribute
   // is left to their own review.
   for ( ++candidate; candidate != ordered->end(); ++candidate ) {
      const TunnelTableEntry & other = candidate->first;
      if ( !tunnelTypesCanFormEcmp( other.tunnelId().tunnelType(), bestType ) ||
           other.pref() != bestCandidate.pref() ) {
         continue;
      }
      VEL_TRACE( 8, "   TunnelID: ", other.tunnelId() );
      const EncapsulatedTableEntry otherEntry = getEntry( other.tunnelId() );
      if ( otherEntry ) {
         doAddTunnelId( otherEntry, tep );
      }
   }
}

TunnelEntryPref TunnelRibBuilderSmBase::getPreference( const TunnelTableEntry & entry ) const {
   VEL_TRACE( 8 );
   const TunnelId id = entry.tunnelId();
   if ( !preferenceCapable( id.tunnelType() ) ) {
      VEL_TRACE( 8, " Something wrong going on. Unknown Tunnel Type ", id.tunnelType() );
      return unknownTypePref;
   }
   const std::uint32_t * held = tunnelTableEntryFilter_->preference().find( id );
   VEL_ASSERT( held, "tunnelTableEntryFilter()->preferenceHas( id )" );
   const TunnelEntryPref pref = static_cast< std::uint8_t >( *held );
   VEL_TRACE( 8, " Preference returned: ", pref );
   return pref;
}

// --- Dump.

const char * TunnelRibBuilderSmBase::dumpName() const {
   return isColored() ? "ColoredTunnelRibBuilderSm" : "TunnelRibBuilderSm";
}

void TunnelRibBuilderSmBase::dumpState( Mox::DumpContext & ctx, unsigned indent ) const {
   ctx.printf( "%*c%s tunnelRibId %u tunnelForReview %zu\n", static_cast< int >( indent ), ' ',
               dumpName(), tunnelRibId().value(), tunnelForReview_.size() );
}

} // namespace Tunnel::TunnelTable
