#pragma once

#include <cstdint>
#include <unordered_map>
#include <unordered_set>

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
#include "types/TunnelIdColl.h"
#include "types/TunnelIdCollByTunnelId.h"

namespace Tunnel::TunnelTable {

// Keeps the tunnel FIB in step with the protocol tunnel tables: every table
// change queues its tunnel for review (the RSVP and TI-LFA tables are
// computed at once), the backlog task computes each queued tunnel's vias,
// flattening tunnels over tunnels, and hands the result to the writer.
// Tunnels that have an entry but cannot be programmed are listed in the
// unprogrammable collection that the RIB builders watch.
class TunnelFibSm : public Vel::PtrInterface {
 public:
   using DependencyMap = std::unordered_map< TunnelId, Vel::Ptr< TunnelIdCollByTunnelId > >;

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
   bool tunnelForReview( TunnelId id ) const { return tunnelForReview_.count( id ) != 0; }
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
   void removeStaleEntries();

   // Read by the via calculation.
   bool tunnelContributesToTunnelFib( TunnelId tunnelId ) const;
   bool entropyLabelPush() const { return mplsTunnelConfig_->entropyLabelPush()(); }

   void dumpState( Mox::DumpContext & ctx, unsigned indent ) const;

 private:
   friend struct TunnelFibViaCalculation;

   void handleInitialized();
   void bindTables();
   void takeDownDependencies( TunnelId tunnelId );
   void removeEmptyDependencies( TunnelId tunnelId );
   TunnelFibCalcResult calculateVias( ConsolidatedTunnelFibEntry & consFibEntry );

   Vel::Ptr< TunnelFib::TunnelFib > tunnelFib_;
   Vel::Ptr< TunnelIdColl > unprogrammableTunnelId_;
   Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig_;
   Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus_;
   Vel::Ptr< TunnelTableEntities > tunnelTableEntities_;
   Vel::Ptr< Mox::TaskScheduler > scheduler_;

   Vel::Ptr< TunnelFibWriter > tunnelFibWriter_;
   Vel::Ptr< Mox::Task > task_;
   bool initialized_ = false;

   std::unordered_set< TunnelId > tunnelForReview_;
   TunnelId tunnelReviewBookmark_;
   bool tunnelReviewBookmarkSet_ = false;
   double tunnelReviewDelay_ = 0.01;
   std::unordered_set< TunnelId > tunnelFibEntryMarkedUnprocessed_;
   DependencyMap directlyDependentTunnels_;
   DependencyMap tunnelsDirectlyDependingOn_;
   DependencyMap resolvedByTunnels_;
   std::uint64_t tunnelFibUpdateCounter_ = 0;
   std::uint64_t tunnelFibComputeCounter_ = 0;

   // One entry reactor per bound table, by table name.
   std::unordered_map< std::string, Vel::Reactor > tableReactors_;
   Vel::Reactor tablesReactor_;
   Vel::Reactor fibEntryReactor_;
   Vel::Reactor entropyLabelPushReactor_;
   Vel::Reactor taskRunReactor_;
};

Vel::Ptr< TunnelFibSm > tunnelFibSmFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                                            Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                                            Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                                            Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                                            Vel::Ptr< Mox::TaskScheduler > scheduler );

} // namespace Tunnel::TunnelTable
