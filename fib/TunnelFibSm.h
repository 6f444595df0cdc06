#pragma once

#include <cstdint>
#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "fib/ConsolidatedTunnelFibEntry.h"
#include "fib/TunnelFibCalcResult.h"
#include "fib/TunnelFibWriter.h"
#include "ingest/TunnelTableEntities.h"
#include "platform/mox/DumpContext.h"
#include "platform/mox/Task.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "types/MplsTunnelConfig.h"
#include "types/TunnelFib.h"
#include "types/TunnelFibGrStatus.h"
#include "fib/TunnelIdSet.h"
#include "ingest/InputProcessedSm.h"
#include "types/InputProcessedStatus.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelReviewBacklog.h"

namespace Tunnel::TunnelTable {

// Keeps the tunnel FIB in step with the protocol tunnel tables: every table
// change queues its tunnel for review (the RSVP and TI-LFA tables are
// computed at once), the backlog task computes each queued tunnel's vias,
// flattening tunnels over tunnels, and hands the result to the writer.
// Tunnels that have an entry but cannot be programmed are listed in the
// unprogrammable collection that the RIB builders watch.
class TunnelFibSm : public Vel::PtrInterface {
 public:
   // A tunnel to a set of tunnels; sets are dropped when they empty. Every
   // computed tunnel probes them, so they are flat; their order shows nowhere.
   using DependencyMap = TunnelIdHashMap< TunnelIdSet >;

   TunnelFibSm( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                Vel::Ptr< Mox::TaskScheduler > scheduler );
   ~TunnelFibSm() override;

   const Vel::Ptr< TunnelFib::TunnelFib > & tunnelFib() const noexcept { return tunnelFib_; }
   const Vel::Ptr< TunnelIdColl > & unprogrammableTunnelId() const noexcept {
      return unprogrammableTunnelId_;
   }
   const Vel::Ptr< TunnelFibWriter > & tunnelFibWriter() const noexcept { return tunnelFibWriter_; }
   const Vel::Ptr< Mox::Task > & task() const noexcept { return task_; }
   bool initialized() const noexcept { return initialized_; }
   std::uint64_t tunnelFibUpdateCounter() const noexcept { return tunnelFibUpdateCounter_; }
   // How many tunnels were recomputed since construction.
   std::uint64_t tunnelFibComputeCounter() const noexcept { return tunnelFibComputeCounter_; }

   // Backlog.
   bool tunnelForReview( TunnelId id ) const { return tunnelForReview_.contains( id ); }
   std::size_t tunnelForReviews() const noexcept { return tunnelForReview_.size(); }
   void tunnelForReviewIs( TunnelId id, bool review );
   bool tunnelFibEntryMarkedUnprocessed( TunnelId id ) const {
      return tunnelFibEntryMarkedUnprocessed_.count( id ) != 0;
   }
   std::size_t tunnelFibEntryMarkedUnprocesseds() const noexcept {
      return tunnelFibEntryMarkedUnprocessed_.size();
   }
   double tunnelReviewDelay() const noexcept { return tunnelReviewDelay_; }

   // Dependencies: lower tunnel to the upper tunnels over it, upper tunnel to
   // the lower tunnels it rests on directly, and to every tunnel beneath it.
   const DependencyMap & directlyDependentTunnels() const noexcept {
      return directlyDependentTunnels_;
   }
   const DependencyMap & tunnelsDirectlyDependingOn() const noexcept {
      return tunnelsDirectlyDependingOn_;
   }
   const DependencyMap & resolvedByTunnels() const noexcept { return resolvedByTunnels_; }

   // Per-table handlers: a tunnel id, or the whole table.
   void handleLdpSrTunnelEntry( const TunnelId & id );
   void handleLdpSrTunnelEntry();
   void handleBgpLuTunnelEntry( const TunnelId & id );
   void handleBgpLuTunnelEntry();
   void handleBgpLuPushTunnelEntry( const TunnelId & id );
   void handleBgpLuPushTunnelEntry();
   void handleStaticTunnelEntry( const TunnelId & id );
   void handleStaticTunnelEntry();
   void handleSrTeSegmentListTunnelEntry( const TunnelId & id );
   void handleSrTeSegmentListTunnelEntry();
   void handleGreIntfTunnelEntry( const TunnelId & id );
   void handleGreIntfTunnelEntry();
   void handleIpsecGreIntfTunnelEntry( const TunnelId & id );
   void handleIpsecGreIntfTunnelEntry();
   void handleIpsecVtiIntfTunnelEntry( const TunnelId & id );
   void handleIpsecVtiIntfTunnelEntry();
   void handleNexthopGroupTunnelEntry( const TunnelId & id );
   void handleNexthopGroupTunnelEntry();
   void handleIsisFlexAlgoTunnelEntry( const TunnelId & id );
   void handleIsisFlexAlgoTunnelEntry();
   void handleRsvpFrrTunnelEntry( const TunnelId & id );
   void handleRsvpFrrTunnelEntry();
   void handleRsvpLerTunnelEntry( const TunnelId & id );
   void handleRsvpLerTunnelEntry();
   void handleRsvpLerSubTunnelEntry( const TunnelId & id );
   void handleRsvpLerSubTunnelEntry();
   void handleTiLfaTunnelEntry( const TunnelId & id );
   void handleTiLfaTunnelEntry();
   void handleTunnelFibEntry( const TunnelId & id );
   void handleEntropyLabelPush();
   // A table was filed in, replaced in or removed from the table entities.
   void handleTunnelTable( const Vel::String & name );

   void updateTunnelFibEntry( const TunnelId & tunnelId );
   bool doUpdateTunnelFibEntry( const ConsolidatedTunnelFibEntry & consFibEntry,
                                bool tunnelTableEntryUsable );
   void addDependentTunnelsForReview( const TunnelId & tunnelId );
   void scheduleTunnelReview();
   void drainTunnelBacklog();
   // Starts the loads the computation of the id will wait on, a step of the
   // lookahead at a time: its protocol entry and FIB entry, their slots first.
   void warmUpReview( TunnelId tunnelId, std::size_t step ) const;
   void removeStaleEntries();

   // Read and kept by the via calculation.
   bool tunnelContributesToTunnelFib( TunnelId tunnelId ) const;
   // Whether the tunnel's protocol table holds an entry for it.
   bool tunnelTableEntryHas( TunnelId tunnelId ) const;
   bool entropyLabelPush() const { return mplsTunnelConfig_->entropyLabelPush()(); }
   // The "TunnelUnflatten" toggle as this machine read it at construction.
   bool unflatten() const noexcept { return unflatten_; }
   // Upper rests directly on lower.
   void directDependencyIs( TunnelId upper, TunnelId lower );
   // Upper resolved a via over lower: lower and all beneath it lie beneath
   // upper.
   void resolvedByTunnelsIs( TunnelId upper, TunnelId lower );
   // The tunnel being computed found this lower tunnel not ready; should it
   // be deferred, the lower tunnel's computation brings it back.
   void lowerTunnelNotReadyIs( TunnelId lower ) { lowerTunnelsNotReady_.push_back( lower ); }

   // What the tunnel's last via calculation reported, for explanations: its
   // flags and whether its update was deferred. Only tunnels whose last
   // calculation raised a flag are kept, so healthy tunnels cost nothing.
   struct LastViaCalculation {
      TunnelFibViaCalcResult flags;
      bool deferred = false;
   };
   LastViaCalculation lastViaCalculation( TunnelId tunnelId ) const;

   // The tables, null while not published.
   const Vel::PtrConst< BgpLuTunnelTable > & bgpLuTable() const noexcept { return bgpLuTable_; }
   const Vel::PtrConst< BgpLuPushTunnelTable > & bgpLuPushTable() const noexcept {
      return bgpLuPushTable_;
   }
   const Vel::PtrConst< LdpTunnelTable > & ldpTable() const noexcept { return ldpTable_; }
   const Vel::PtrConst< IsisSrTunnelTable > & srTable() const noexcept { return srTable_; }
   const Vel::PtrConst< OspfSrTunnelTable > & ospfSrTable() const noexcept { return ospfSrTable_; }
   const Vel::PtrConst< StaticTunnelTable > & staticTable() const noexcept { return staticTable_; }
   const Vel::PtrConst< SrTeSegmentListTunnelTable > & srTeSegmentListTable() const noexcept {
      return srTeSegmentListTable_;
   }
   const Vel::PtrConst< RsvpFrrTunnelTable > & rsvpFrrTable() const noexcept {
      return rsvpFrrTable_;
   }
   const Vel::PtrConst< RsvpLerTunnelTable > & rsvpLerTable() const noexcept {
      return rsvpLerTable_;
   }
   const Vel::PtrConst< RsvpLerSubTunnelTable > & rsvpLerSubTable() const noexcept {
      return rsvpLerSubTable_;
   }
   const Vel::PtrConst< TiLfaTunnelTable > & tiLfaTable() const noexcept { return tiLfaTable_; }
   const Vel::PtrConst< IsisFlexAlgoTunnelTable > & isisFlexAlgoTable() const noexcept {
      return isisFlexAlgoTable_;
   }
   const Vel::PtrConst< NexthopGroupTunnelTable > & nexthopGroupTable() const noexcept {
      return nexthopGroupTable_;
   }
   const Vel::PtrConst< GreIntfTunnelTable > & greIntfTable() const noexcept {
      return greIntfTable_;
   }
   const Vel::PtrConst< IpsecGreIntfTunnelTable > & ipsecGreIntfTable() const noexcept {
      return ipsecGreIntfTable_;
   }
   const Vel::PtrConst< IpsecVtiIntfTunnelTable > & ipsecVtiIntfTable() const noexcept {
      return ipsecVtiIntfTable_;
   }

   // Graceful restart, while "MplsL3VpnSso" is on: the LDP table is tracked
   // until its producer declares it complete (or the restart ends); once it
   // is and the backlog is empty, the status says so, the counters count it
   // and the cleanup task drops the input-processed machine.
   const Vel::Ptr< Gr::InputProcessedStatus > & inputProcessedStatus() const noexcept {
      return inputProcessedStatus_;
   }
   const Vel::Ptr< Gr::InputProcessedSm > & inputProcessedSm() const noexcept {
      return inputProcessedSm_;
   }
   void inputProcessedSmDel() { inputProcessedSm_ = nullptr; }
   const Vel::PtrConst< Gr::TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }
   const Vel::Ptr< Mox::Task > & postGrCleanupTask() const noexcept { return postGrCleanupTask_; }
   void handleQuiescedNotification();
   void addTunnelTablesQuiesced( TunnelTableIdentifier tableId );
   void maybeMarkInputProcessedBacklogEmpty();
   void markGrStatusBacklogEmpty();
   void maybeUpdateGrCounters();
   void doCleanupPostGr();

   void dumpState( Mox::DumpContext & ctx, unsigned indent ) const;

 private:
   void initializeGr();
   void handleLdpEntryControl();
   void handleInitialized();
   void bindTables();
   template< class Table >
   void bindTable( Vel::PtrConst< Table > & slot, void ( TunnelFibSm::*entryHandler )( const TunnelId & ) );
   void reviewTunnelsOfType( TunnelType type );
   // Takes down the tunnel's edges; returns what it rested on.
   TunnelIdSet takeDownDependencies( TunnelId tunnelId );
   void removeEmptyDependencies( TunnelId tunnelId );

   Vel::Ptr< TunnelFib::TunnelFib > tunnelFib_;
   Vel::Ptr< TunnelIdColl > unprogrammableTunnelId_;
   Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig_;
   Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus_;
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities_;
   Vel::Ptr< Mox::TaskScheduler > scheduler_;

   Vel::PtrConst< BgpLuTunnelTable > bgpLuTable_;
   Vel::PtrConst< BgpLuPushTunnelTable > bgpLuPushTable_;
   Vel::PtrConst< LdpTunnelTable > ldpTable_;
   Vel::PtrConst< IsisSrTunnelTable > srTable_;
   Vel::PtrConst< OspfSrTunnelTable > ospfSrTable_;
   Vel::PtrConst< StaticTunnelTable > staticTable_;
   Vel::PtrConst< SrTeSegmentListTunnelTable > srTeSegmentListTable_;
   Vel::PtrConst< RsvpFrrTunnelTable > rsvpFrrTable_;
   Vel::PtrConst< RsvpLerTunnelTable > rsvpLerTable_;
   Vel::PtrConst< RsvpLerSubTunnelTable > rsvpLerSubTable_;
   Vel::PtrConst< TiLfaTunnelTable > tiLfaTable_;
   Vel::PtrConst< IsisFlexAlgoTunnelTable > isisFlexAlgoTable_;
   Vel::PtrConst< NexthopGroupTunnelTable > nexthopGroupTable_;
   Vel::PtrConst< GreIntfTunnelTable > greIntfTable_;
   Vel::PtrConst< IpsecGreIntfTunnelTable > ipsecGreIntfTable_;
   Vel::PtrConst< IpsecVtiIntfTunnelTable > ipsecVtiIntfTable_;

   Vel::Ptr< TunnelFibWriter > tunnelFibWriter_;
   Vel::Ptr< Mox::Task > task_;
   bool initialized_ = false;
   const bool unflatten_;

   TunnelReviewBacklog tunnelForReview_;
   std::optional< TunnelId > tunnelReviewBookmark_;
   double tunnelReviewDelay_ = 0.01;
   TunnelIdHashMap< Vel::Present > tunnelFibEntryMarkedUnprocessed_;
   DependencyMap directlyDependentTunnels_;
   DependencyMap tunnelsDirectlyDependingOn_;
   DependencyMap resolvedByTunnels_;
   // Lower tunnels that a deferred tunnel waits for, and those the tunnel
   // being computed found not ready.
   TunnelIdHashMap< Vel::Present > lowerTunnelAwaited_;
   std::vector< TunnelId > lowerTunnelsNotReady_;
   // Per tunnel with flags: the flags, with deferredBit when deferred.
   static constexpr std::uint8_t deferredBit = 0x80;
   TunnelIdHashMap< std::uint8_t > lastViaCalcFlags_;
   std::uint64_t tunnelFibUpdateCounter_ = 0;
   std::uint64_t tunnelFibComputeCounter_ = 0;

   // One entry reactor per bound table, by table name.
   std::unordered_map< std::string_view, Vel::Reactor > tableReactors_;
   Vel::Reactor tablesReactor_;
   Vel::Reactor fibEntryReactor_;
   Vel::Reactor entropyLabelPushReactor_;
   Vel::Reactor taskRunReactor_;
   Vel::Reactor taskWorkPendingReactor_;

   Vel::Ptr< Mox::Task > postGrCleanupTask_;
   Vel::Ptr< Gr::InputProcessedStatus > inputProcessedStatus_;
   Vel::Ptr< Gr::InputProcessedSm > inputProcessedSm_;
   Vel::PtrConst< Gr::TunnelGrContext > tunnelGrContext_;
   Vel::PtrConst< Mirra::CollectionControl > ldpEntryControl_;
   Vel::Reactor postGrCleanupTaskReactor_;
   Vel::Reactor backlogsEmptyReactor_;
   Vel::Reactor grStatusBacklogEmptyReactor_;
   Vel::Reactor restartCompleteReactor_;
   Vel::Reactor ldpControlReactor_;
   Vel::Reactor ldpTableCompleteReactor_;
};

Vel::Ptr< TunnelFibSm > tunnelFibSmFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                                            Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                                            Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                                            Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                                            Vel::Ptr< Mox::TaskScheduler > scheduler );

} // namespace Tunnel::TunnelTable
