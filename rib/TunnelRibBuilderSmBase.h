#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <unordered_map>
#include <vector>

#include "ingest/TableEntrySm.h"
#include "ingest/TunnelTableEntities.h"
#include "platform/mox/DumpContext.h"
#include "platform/mox/Task.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/vel/NodePool.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "rib/TunnelTableEntryFilter.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/EncapsulatedTableEntry.h"
#include "types/InternalTunnelRib.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelEntryPref.h"
#include "types/TunnelId.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelIdToTepEntrySet.h"
#include "types/TunnelRibBase.h"
#include "types/TunnelRibConfig.h"
#include "types/TunnelRibGrStatus.h"
#include "types/TunnelReviewBacklog.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// The core of a tunnel RIB builder. Per tunnel endpoint it keeps every
// candidate table entry in candidate order and writes the best one, with the
// candidates of equal preference that may share its ECMP set, into the RIB.
// Reactors only queue changed tunnel ids; the builder's backlog task reviews
// them, and its RIB review task refreshes IGP-cost preferences.
class TunnelRibBuilderSmBase : public TableEntrySm {
 public:
   // One node per contributing tunnel, its endpoints held in place. The
   // element is too large for a flat table, whose empty slots would cost
   // more than a node. Its order shows nowhere.
   using TunnelIdToTepSetColl =
      std::unordered_map< TunnelId, TunnelIdToTepEntrySet, TunnelIdWordHash,
                          std::equal_to< TunnelId >,
                          Vel::PoolAllocator< std::pair< const TunnelId, TunnelIdToTepEntrySet > > >;

   static constexpr Mox::TaskPriority taskPriority{ 2 };
   static constexpr const char * taskName = "TunnelRibsm";
   static constexpr const char * tunnelRibReviewTaskName =
      "Tunnel::TunnelTable::TunnelRibBuilderSm";
   static constexpr const char * postCleanupGrTaskName = "TunnelRibBuilderSm GR Cleanup";
   static constexpr double defaultTunnelReviewDelay = 0.01;

   ~TunnelRibBuilderSmBase() override;

   // The inputs and the output, as given at construction.
   const Vel::Ptr< TunnelTableEntryFilter > & tunnelTableEntryFilter() const noexcept {
      return tunnelTableEntryFilter_;
   }
   const Vel::Ptr< TunnelRibBase > & tunnelRib() const noexcept { return tunnelRib_; }
   TunnelRibId tunnelRibId() const noexcept { return tunnelRib_->tunnelRibId(); }
   const Vel::Ptr< ProtocolTunnelRibCollection > & protoTunnelRibColl() const noexcept {
      return protoTunnelRibColl_;
   }
   const Vel::Ptr< Mox::TaskScheduler > & scheduler() const noexcept { return scheduler_; }
   const Vel::PtrConst< TunnelRibConfig > & tunnelRibConfig() const noexcept {
      return tunnelRibConfig_;
   }
   const Vel::Ptr< Gr::TunnelRibGrStatus > & tunnelRibGrStatus() const noexcept {
      return tunnelRibGrStatus_;
   }

   virtual bool isColored() const { return false; }
   // The endpoint under which the RIB selects for a tep the table entry
   // serves: the tep itself in a colored RIB, its prefix alone otherwise.
   ColoredTunnelEndpoint ribTep( const ColoredTunnelEndpoint & tep ) const {
      return isColored() ? tep : ColoredTunnelEndpoint( tep.tep() );
   }
   // The entry's endpoints as this RIB selects for them, in endpoint order.
   ColoredTunnelEndpointList ribTeps( const EncapsulatedTableEntry & entry ) const;

   // --- Tunnel ids reported by the protocol reactors.
   void handleTunnelTableEntry( const TunnelId & tunnelId, TunnelTableIdentifier tunnelTableId,
                                bool isDeletion ) override;
   void handleUnprogrammableEntry( const TunnelId & tunnelId ) override;
   // The filter's preference of the id appeared, changed or went.
   void handlePreference( TunnelId tunnelId );
   // A table's IGP-cost preference mapping changed: review the whole RIB.
   void handleIgpCostPrefMapping( TunnelTableIdentifier table );

   // --- Selection.
   void updateTunnelRibEntry( TunnelId tunnelId );
   void doUpdateLocalCollectionsAndTunnelRib( const EncapsulatedTableEntry & entry,
                                              const ColoredTunnelEndpoint & tep, bool add );
   // False tells the caller to stop: the per-type RIB has no entry to remove.
   bool doUpdateProtoTunnelRibColl( const ColoredTunnelEndpoint & tep, TunnelId tunnelId,
                                    TunnelType tunnelType, bool add );
   void doUpdateTunnelRibEntry( const EncapsulatedTableEntry & entry,
                                const ColoredTunnelEndpoint & tep, bool add );
   void doAddTunnelId( const EncapsulatedTableEntry & entry, const ColoredTunnelEndpoint & tep );
   // Removes the id from an ECMP entry; true when the entry listed it.
   bool doDeleteTunnelId( TunnelId tunnelId, const ColoredTunnelEndpoint & tep );
   void doSelectBestAndUpdateTunnelRib( const ColoredTunnelEndpoint & tep );
   TunnelEntryPref getPreference( const TunnelTableEntry & entry ) const;
   // The current protocol entry of the id; empty when its table no longer
   // holds it.
   EncapsulatedTableEntry getEntry( TunnelId tunnelId ) const;

   const Vel::Ptr< InternalTunnelRib > & internalTunnelRib() const noexcept {
      return internalTunnelRib_;
   }
   const TunnelIdToTepSetColl & tunnelIdToTepSet() const noexcept { return tunnelIdToTepSet_; }
   // The teps the id contributes to, or null.
   // Null when the id has no element; the pointer lasts until the element
   // is erased.
   const TunnelIdToTepEntrySet * tunnelIdToTepSet( TunnelId tunnelId ) const;

   // --- Review backlog.
   const TunnelReviewBacklog & tunnelForReview() const noexcept {
      return tunnelForReview_;
   }
   void tunnelForReviewIs( TunnelId tunnelId );
   void tunnelForReviewDel( TunnelId tunnelId ) { tunnelForReview_.erase( tunnelId ); }
   void tunnelForReviewDelAll() { tunnelForReview_.clear(); }
   bool tunnelForReviewHas( TunnelId tunnelId ) const {
      return tunnelForReview_.contains( tunnelId );
   }
   void scheduleTunnelReview();
   void drainTunnelBacklog();
   TunnelId tunnelReviewBookmark() const noexcept { return tunnelReviewBookmark_; }
   double tunnelReviewDelay() const noexcept { return tunnelReviewDelay_; }
   void tunnelReviewDelayIs( double delay ) noexcept { tunnelReviewDelay_ = delay; }

   // --- RIB review.
   void doTunnelRibReview();
   virtual void processTunnelRibReview() = 0;
   void checkAndUpdateIgpCostPref( const ColoredTunnelEndpoint & tep );
   const ColoredTunnelEndpoint & tepBookmark() const noexcept { return tepBookmark_; }
   void tepBookmarkIs( const ColoredTunnelEndpoint & tep ) { tepBookmark_ = tep; }

   const Vel::Ptr< Mox::Task > & task() const noexcept { return task_; }
   const Vel::Ptr< Mox::Task > & tunnelRibReviewTask() const noexcept {
      return tunnelRibReviewTask_;
   }
   bool initialized() const noexcept { return initialized_; }

   // --- Taking over the RIB.
   // Run once the builder is built: drops what the RIB holds from before
   // that nothing supports any more.
   virtual void initTunnelRib() = 0;
   void removeStaleEntries( const Vel::Ptr< TunnelRibBase > & rib );
   // Takes an id that a RIB kept from before at the tep as a candidate there.
   void adoptCandidate( TunnelId tunnelId, const ColoredTunnelEndpoint & tep );
   // Drops from the per-type RIBs every id that nothing supports any more at
   // its tep, and adopts the others.
   void removeStaleProtoTunnelRibEntries();

   // --- Convergence: run after each queued id; only the uncolored builder
   // reports convergence.
   virtual void tunnelRibConvergenceCallback() {}

   // --- Graceful restart, tracked while the RIB has a GR status record; the
   // record also leads to the GR context and the counters snapshot.
   // The input status's backlogsEmpty is set once the tracked tables are
   // quiesced and the backlog is empty; that sets the GR status's
   // tunnelRibSmBacklogEmpty and counts the stage, and with the
   // "MplsL3VpnSso" toggle on, schedules the cleanup task that drops the
   // input-processing machine.
   void initializeInputProcessedSm() override;
   void maybeMarkInputProcessedBacklogEmpty() override;
   void markGrStatusBacklogEmpty() override;
   void maybeUpdateGrCounters();
   void doCleanupPostGr();
   const Vel::Ptr< Mox::Task > & postCleanupGrTask() const noexcept { return postCleanupGrTask_; }

   virtual void dumpState( Mox::DumpContext & ctx, unsigned indent ) const;

 protected:
   TunnelRibBuilderSmBase( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                           Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                           Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter,
                           Vel::Ptr< TunnelRibBase > tunnelRib,
                           Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                           Vel::Ptr< Mox::TaskScheduler > scheduler,
                           Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                           Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus );

   // Run by the most derived constructor, so that every virtual step reaches
   // the builder being built.
   void handleInitialized();
   void verifyProtoTunnelRibColl();
   // Throws unless the type has a wrapper with a RIB in the collection.
   void assertProtoTunnelRib( TunnelType tunnelType ) const;

   void taskIs( Mox::TaskPriority priority, const char * name );
   void taskDel();
   void tunnelRibReviewTaskIs( Mox::TaskPriority priority, const char * name );
   void tunnelRibReviewTaskDel();
   void postCleanupGrTaskIs( Mox::TaskPriority priority, const char * name );
   void postCleanupGrTaskDel();
   void internalTunnelRibIs() { internalTunnelRib_ = Vel::make< InternalTunnelRib >(); }

   const char * dumpName() const;

 private:
   enum class Replacement { keep, replace };

   // Starts the loads the review of the id will wait on, a step of the
   // lookahead at a time: the lookups the id names, the protocol entry, then
   // the RIB entries of its first endpoint.
   void warmUpReview( TunnelId tunnelId, std::size_t step ) const;

   // Adds the entry's id to ribEntry (the endpoint's RIB entry as it stands)
   // with the entry's metrics and pref, and writes it.
   void addTunnelIdTo( TunnelRibEntry ribEntry, const EncapsulatedTableEntry & entry,
                       TunnelEntryPref pref );
   Replacement shouldReplaceTunnelRibEntries( TunnelId existingId, TunnelEntryPref existingPref,
                                              TunnelId newId, TunnelEntryPref newPref ) const;
   void removeCandidates( const ColoredTunnelEndpoint & tep, TunnelId tunnelId,
                          const TunnelEntryPref * keepPref );
   // The same within the endpoint's candidates, which stay even when empty.
   void removeCandidates( TunnelTableOrderedEntry & ordered, TunnelId tunnelId,
                          const TunnelEntryPref * keepPref );
   void handleConfigEntry( TunnelTableIdentifier table );
   void refreshCandidatePreference( TunnelId tunnelId );

   Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilter_;
   Vel::Ptr< TunnelRibBase > tunnelRib_;
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl_;
   Vel::Ptr< Mox::TaskScheduler > scheduler_;
   Vel::PtrConst< TunnelRibConfig > tunnelRibConfig_;
   Vel::Ptr< Gr::TunnelRibGrStatus > tunnelRibGrStatus_;

   // Each pool before the container that gives its nodes back to it.
   Vel::NodePool tunnelIdToTepSetPool_;
   TunnelIdToTepSetColl tunnelIdToTepSet_{ 0, TunnelIdWordHash(), std::equal_to< TunnelId >(),
                                           TunnelIdToTepSetColl::allocator_type(
                                              &tunnelIdToTepSetPool_ ) };
   Vel::Ptr< InternalTunnelRib > internalTunnelRib_;

   TunnelReviewBacklog tunnelForReview_;
   TunnelId tunnelReviewBookmark_;
   ColoredTunnelEndpoint tepBookmark_;
   double tunnelReviewDelay_ = defaultTunnelReviewDelay;
   Vel::Ptr< Mox::Task > task_;
   Vel::Reactor taskRunReactor_;
   Vel::Reactor taskWorkPendingReactor_;
   Vel::Ptr< Mox::Task > tunnelRibReviewTask_;
   Vel::Reactor tunnelRibReviewTaskReactor_;
   Vel::Ptr< Mox::Task > postCleanupGrTask_;
   Vel::Reactor postCleanupGrTaskReactor_;
   Vel::Reactor grStatusBacklogEmptyReactor_;
   Vel::Reactor tablesQuiescedReactor_;
   bool initialized_ = false;

   Vel::Reactor preferenceReactor_;
   Vel::Reactor configReactor_;
   struct ConfigEntryReactors {
      Vel::Ptr< TunnelRibProtoEntry > entry;
      Vel::Reactor igpCostPrefMapping;
      Vel::Reactor igpCostPref;
   };
   std::map< TunnelTableIdentifier, ConfigEntryReactors > configEntryReactors_;
};

} // namespace Tunnel::TunnelTable
