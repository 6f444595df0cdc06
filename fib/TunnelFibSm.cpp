#include "fib/TunnelFibSm.h"

#include <vector>

#include "fib/TunnelFibViaCalculation.h"
#include "fib/TunnelTableEntryLookup.h"
#include "platform/toggles/FeatureToggles.h"
#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

namespace {

constexpr Mox::TaskPriority taskPriority{ 2 };

// Every key of a table, tolerating changes the handler makes.
template< class Table, class Handler >
void forEachTunnel( const Vel::PtrConst< Table > & table, Handler && handler ) {
   if ( table ) {
      table->entry().forEachKey( handler );
   }
}

} // namespace

TunnelFibSm::TunnelFibSm( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                          Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                          Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                          Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                          Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                          Vel::Ptr< Mox::TaskScheduler > scheduler )
      : tunnelFib_( std::move( tunnelFib ) ),
        unprogrammableTunnelId_( std::move( unprogrammableTunnelId ) ),
        mplsTunnelConfig_( std::move( mplsTunnelConfig ) ),
        tunnelFibGrStatus_( std::move( tunnelFibGrStatus ) ),
        tunnelTableEntities_( std::move( tunnelTableEntities ) ),
        scheduler_( std::move( scheduler ) ),
        unflatten_( Toggles::toggleEnabled( "TunnelUnflatten" ) ) {
   handleInitialized();
}

TunnelFibSm::~TunnelFibSm() {
   // Inert first: nothing may reach a machine being torn down.
   for ( auto & [ name, reactor ] : tableReactors_ ) {
      reactor.zombieIs();
   }
   tablesReactor_.zombieIs();
   fibEntryReactor_.zombieIs();
   entropyLabelPushReactor_.zombieIs();
   taskRunReactor_.zombieIs();
   taskWorkPendingReactor_.zombieIs();
   postGrCleanupTaskReactor_.zombieIs();
   backlogsEmptyReactor_.zombieIs();
   grStatusBacklogEmptyReactor_.zombieIs();
   restartCompleteReactor_.zombieIs();
   ldpControlReactor_.zombieIs();
   ldpTableCompleteReactor_.zombieIs();
   for ( const auto & task : { task_, postGrCleanupTask_ } ) {
      if ( task && scheduler_->taskScheduled( *task ) ) {
         scheduler_->unscheduleTask( *task );
      }
   }
}

void TunnelFibSm::handleInitialized() {
   task_ = Vel::make< Mox::Task >( scheduler_, taskPriority, "TunnelFibSm" );
   taskRunReactor_ = task_->onRun( [ this ] { drainTunnelBacklog(); } );
   taskWorkPendingReactor_ = task_->workPending().react( [ this ] {
      if ( !task_->workPending()() ) {
         maybeMarkInputProcessedBacklogEmpty();
      }
   } );

   bindTables();
   tablesReactor_ = tunnelTableEntities_->tunnelTable().react(
      [ this ]( const Vel::String & name ) { handleTunnelTable( name ); } );
   tunnelFibWriter_ = tunnelFibWriterFactory( tunnelFib_ );
   fibEntryReactor_ =
      tunnelFib_->entry().react( [ this ]( const TunnelId & id ) { handleTunnelFibEntry( id ); } );
   entropyLabelPushReactor_ =
      mplsTunnelConfig_->entropyLabelPush().react( [ this ] { handleEntropyLabelPush(); } );

   removeStaleEntries();
   tunnelFib_->entry().forEachKey( [ this ]( const TunnelId & id ) {
      tunnelFibEntryMarkedUnprocessed_.try_emplace( id );
      VEL_TRACE( 8, "adding non-stale tunnelFib entry for review: tunnelId: ", id );
      tunnelForReviewIs( id, true );
   } );
   // A listing from the previous run is reviewed like an entry, so one that
   // lost its source goes.
   unprogrammableTunnelId_->entry().forEachKey( [ this ]( const TunnelId & id ) {
      if ( visitTunnelTableEntry( *this, id, []( const auto * ) {} ) ) {
         tunnelForReviewIs( id, true );
      } else {
         unprogrammableTunnelId_->entryDel( id );
      }
   } );

   handleBgpLuPushTunnelEntry();
   handleBgpLuTunnelEntry();
   handleLdpSrTunnelEntry();
   handleRsvpFrrTunnelEntry();
   handleRsvpLerSubTunnelEntry();
   handleRsvpLerTunnelEntry();
   handleSrTeSegmentListTunnelEntry();
   handleStaticTunnelEntry();
   handleGreIntfTunnelEntry();
   handleIpsecGreIntfTunnelEntry();
   handleIpsecVtiIntfTunnelEntry();
   handleNexthopGroupTunnelEntry();
   handleTiLfaTunnelEntry();
   handleIsisFlexAlgoTunnelEntry();
   if ( Toggles::toggleEnabled( "MplsL3VpnSso" ) ) {
      initializeGr();
   }
   initialized_ = true;
}

// --- Tables.

void TunnelFibSm::bindTables() {
   bindTable( bgpLuPushTable_, &TunnelFibSm::handleBgpLuPushTunnelEntry );
   bindTable( bgpLuTable_, &TunnelFibSm::handleBgpLuTunnelEntry );
   bindTable( ldpTable_, &TunnelFibSm::handleLdpSrTunnelEntry );
   bindTable( srTable_, &TunnelFibSm::handleLdpSrTunnelEntry );
   bindTable( ospfSrTable_, &TunnelFibSm::handleLdpSrTunnelEntry );
   bindTable( staticTable_, &TunnelFibSm::handleStaticTunnelEntry );
   bindTable( srTeSegmentListTable_, &TunnelFibSm::handleSrTeSegmentListTunnelEntry );
   bindTable( rsvpFrrTable_, &TunnelFibSm::handleRsvpFrrTunnelEntry );
   bindTable( rsvpLerTable_, &TunnelFibSm::handleRsvpLerTunnelEntry );
   bindTable( rsvpLerSubTable_, &TunnelFibSm::handleRsvpLerSubTunnelEntry );
   bindTable( tiLfaTable_, &TunnelFibSm::handleTiLfaTunnelEntry );
   bindTable( isisFlexAlgoTable_, &TunnelFibSm::handleIsisFlexAlgoTunnelEntry );
   bindTable( nexthopGroupTable_, &TunnelFibSm::handleNexthopGroupTunnelEntry );
   bindTable( greIntfTable_, &TunnelFibSm::handleGreIntfTunnelEntry );
   bindTable( ipsecGreIntfTable_, &TunnelFibSm::handleIpsecGreIntfTunnelEntry );
   bindTable( ipsecVtiIntfTable_, &TunnelFibSm::handleIpsecVtiIntfTunnelEntry );
}

void TunnelFibSm::handleTunnelTable( const Vel::String & ) {
   // Cheap enough: tables come and go rarely, and only a changed one rebinds.
   bindTables();
}

// Keeps slot on the table of its name and one reactor on its entries. A table
// that arrives after the start is read whole; the tunnels of one that goes
// or is replaced are reviewed, so those that lost their entries leave the
// FIB.
template< class Table >
void TunnelFibSm::bindTable( Vel::PtrConst< Table > & slot,
                             void ( TunnelFibSm::*entryHandler )( const TunnelId & ) ) {
   Vel::PtrConst< Table > table = tunnelTableEntities_->typedTable< Table >();
   if ( table == slot ) {
      return;
   }
   const bool hadTable = bool( slot );
   slot = table;
   Vel::Reactor & reactor = tableReactors_[ Table::tableName ];
   reactor = table ? table->entry().react(
                        [ this, entryHandler ]( const TunnelId & id ) { ( this->*entryHandler )( id ); } )
                   : Vel::Reactor();
   if ( !initialized_ ) {
      return;
   }
   if ( hadTable ) {
      reviewTunnelsOfType( Table::tableType );
      if constexpr ( Table::tableType == TunnelType::rsvpFrrTunnel ) {
         reviewTunnelsOfType( TunnelType::rsvpFrrBackupTunnel );
      }
   }
   forEachTunnel( table, [ this, entryHandler ]( const TunnelId & id ) { ( this->*entryHandler )( id ); } );
   if constexpr ( Table::tableId == TunnelTableIdentifier::ldpTable ) {
      handleLdpEntryControl();
   }
}

void TunnelFibSm::reviewTunnelsOfType( TunnelType type ) {
   std::vector< TunnelId > ids;
   for ( const auto & [ id, entry ] : tunnelFib_->entry() ) {
      if ( id.tunnelType() == type ) {
         ids.push_back( id );
      }
   }
   for ( const auto & [ id, listed ] : unprogrammableTunnelId_->entry() ) {
      if ( id.tunnelType() == type ) {
         ids.push_back( id );
      }
   }
   for ( TunnelId id : ids ) {
      tunnelForReviewIs( id, true );
   }
}

// --- Reactors' handlers. The backlog ones only queue the tunnel; the RSVP and
// TI-LFA ones, whose changes protect traffic, compute it at once.

void TunnelFibSm::handleLdpSrTunnelEntry( const TunnelId & id ) { tunnelForReviewIs( id, true ); }
void TunnelFibSm::handleLdpSrTunnelEntry() {
   forEachTunnel( ldpTable_, [ this ]( const TunnelId & id ) { handleLdpSrTunnelEntry( id ); } );
   forEachTunnel( srTable_, [ this ]( const TunnelId & id ) { handleLdpSrTunnelEntry( id ); } );
   forEachTunnel( ospfSrTable_, [ this ]( const TunnelId & id ) { handleLdpSrTunnelEntry( id ); } );
}

#define TUNNEL_FIB_TABLE_HANDLERS( Name, slot, action )                                   \
   void TunnelFibSm::handle##Name##TunnelEntry( const TunnelId & id ) { action; }         \
   void TunnelFibSm::handle##Name##TunnelEntry() {                                        \
      forEachTunnel( slot, [ this ]( const TunnelId & id ) { handle##Name##TunnelEntry( id ); } ); \
   }

TUNNEL_FIB_TABLE_HANDLERS( BgpLu, bgpLuTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( BgpLuPush, bgpLuPushTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( Static, staticTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( SrTeSegmentList, srTeSegmentListTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( GreIntf, greIntfTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( IpsecGreIntf, ipsecGreIntfTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( IpsecVtiIntf, ipsecVtiIntfTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( NexthopGroup, nexthopGroupTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( IsisFlexAlgo, isisFlexAlgoTable_, tunnelForReviewIs( id, true ) )
TUNNEL_FIB_TABLE_HANDLERS( RsvpFrr, rsvpFrrTable_, updateTunnelFibEntry( id ) )
TUNNEL_FIB_TABLE_HANDLERS( RsvpLer, rsvpLerTable_, updateTunnelFibEntry( id ) )
TUNNEL_FIB_TABLE_HANDLERS( RsvpLerSub, rsvpLerSubTable_, updateTunnelFibEntry( id ) )
TUNNEL_FIB_TABLE_HANDLERS( TiLfa, tiLfaTable_, updateTunnelFibEntry( id ) )

#undef TUNNEL_FIB_TABLE_HANDLERS

void TunnelFibSm::handleTunnelFibEntry( const TunnelId & id ) {
   ++tunnelFibUpdateCounter_;
   addDependentTunnelsForReview( id );
}

void TunnelFibSm::handleEntropyLabelPush() {
   VEL_TRACE( 8, " entropyLabelPush: ", entropyLabelPush() );
   handleBgpLuPushTunnelEntry();
   handleBgpLuTunnelEntry();
   handleLdpSrTunnelEntry();
   handleRsvpFrrTunnelEntry();
   handleSrTeSegmentListTunnelEntry();
   handleStaticTunnelEntry();
}

void TunnelFibSm::addDependentTunnelsForReview( const TunnelId & tunnelId ) {
   auto dependants = directlyDependentTunnels_.find( tunnelId );
   if ( dependants == directlyDependentTunnels_.end() ) {
      return;
   }
   // Reviewing cannot change this set: dependencies change only when a tunnel
   // is computed, which queueing does not do.
   for ( TunnelId member : dependants->second ) {
      VEL_TRACE( 8, "addDependentTunnelsForReview", ", adding ", member, " for review" );
      tunnelForReviewIs( member, true );
   }
}

// --- Backlog.

void TunnelFibSm::tunnelForReviewIs( TunnelId id, bool review ) {
   if ( !review ) {
      tunnelForReview_.erase( id );
      return;
   }
   tunnelForReview_.insert( id );
   scheduleTunnelReview();
}

void TunnelFibSm::scheduleTunnelReview() {
   scheduler_->scheduleBacklogTask( *task_, tunnelReviewDelay_ );
}

void TunnelFibSm::warmUpReview( TunnelId tunnelId, std::size_t step ) const {
   if ( step > 1 ) {
      return;
   }
   const Vel::IndexLoad load = step == 0 ? Vel::IndexLoad::slot : Vel::IndexLoad::element;
   visitTunnelTables( *this, tunnelId.tunnelType(), [ & ]( const auto & table ) {
      if ( table ) {
         table->entry().map().prefetch( tunnelId, load );
      }
   } );
   tunnelFib_->entry().map().prefetch( tunnelId, load );
}

void TunnelFibSm::drainTunnelBacklog() {
   VEL_TRACE( 6, tunnelForReview_.size(), " backlog entries" );
   auto current = tunnelForReview_.begin();
   if ( tunnelReviewBookmark_ ) {
      if ( auto bookmarked = tunnelForReview_.find( *tunnelReviewBookmark_ );
           bookmarked != tunnelForReview_.end() ) {
         current = bookmarked;
      }
      tunnelReviewBookmark_.reset();
   }
   TunnelReviewLookahead lookahead;
   while ( !tunnelForReview_.empty() ) {
      if ( current == tunnelForReview_.end() ) {
         // Tunnels queued behind the iterator while it ran.
         current = tunnelForReview_.begin();
      }
      lookahead.prepare( tunnelForReview_, current,
                         [ this ]( TunnelId id, std::size_t step ) { warmUpReview( id, step ); } );
      const TunnelId tunnelId = *current;
      const std::size_t buckets = tunnelForReview_.bucket_count();
      updateTunnelFibEntry( tunnelId );
      if ( buckets == tunnelForReview_.bucket_count() ) {
         current = tunnelForReview_.erase( current );
         lookahead.reviewed( tunnelForReview_ );
      } else {
         // Queueing rehashed the set under the iterator.
         tunnelForReview_.erase( tunnelId );
         current = tunnelForReview_.begin();
      }
      scheduler_->taskWorkCountInc( *task_ );
      if ( !tunnelForReview_.empty() && scheduler_->taskShouldYield() ) {
         VEL_TRACE( 6, ": Yielding" );
         if ( current != tunnelForReview_.end() ) {
            tunnelReviewBookmark_ = *current;
         }
         break;
      }
   }
   scheduler_->taskWorkPendingIs( *task_, !tunnelForReview_.empty() );
   VEL_TRACE( 6, tunnelForReview_.size(), " remain in the backlog." );
   if ( !tunnelForReview_.empty() ) {
      scheduleTunnelReview();
      return;
   }
   VEL_ASSERT( tunnelFibEntryMarkedUnprocessed_.empty(), "!tunnelFibEntryMarkedUnprocesseds()" );
   if ( scheduler_->taskScheduled( *task_ ) ) {
      scheduler_->unscheduleTask( *task_ );
   }
}

// --- One tunnel.

void TunnelFibSm::updateTunnelFibEntry( const TunnelId & tunnelId ) {
   ++tunnelFibComputeCounter_;
   ConsolidatedTunnelFibEntry consFibEntry( tunnelId );
   TunnelIdSet beneathBefore = takeDownDependencies( tunnelId );
   lowerTunnelsNotReady_.clear();
   const TunnelFibCalcResult result = calculateTunnelFibEntryVias( *this, consFibEntry );
   const bool usable = !result.tunnelTableEntryDeleted && result.tunnelContributing;
   const bool deferred = usable && result.viaResult.has( TunnelFibViaCalcResult::recTunNotReady ) &&
                         consFibEntry.viaInfos() == 0;
   if ( !result.viaResult.none() ) {
      lastViaCalcFlags_[ tunnelId ] =
         std::uint8_t( result.viaResult.value() | ( deferred ? deferredBit : 0 ) );
   } else if ( !lastViaCalcFlags_.empty() ) {
      lastViaCalcFlags_.erase( tunnelId );
   }

   if ( deferred ) {
      VEL_TRACE( 8, tunnelId, " update is being deferred." );
      // The old entry stays, and so does what it rests on, until the lower
      // tunnels it waits for are computed and bring it back.
      for ( TunnelId lower : lowerTunnelsNotReady_ ) {
         lowerTunnelAwaited_.try_emplace( lower );
      }
      if ( !beneathBefore.empty() ) {
         resolvedByTunnels_[ tunnelId ] = std::move( beneathBefore );
      }
   } else {
      const bool wasUnprogrammable = unprogrammableTunnelId_->entryHas( tunnelId );
      doUpdateTunnelFibEntry( consFibEntry, usable );
      const bool isUnprogrammable = unprogrammableTunnelId_->entryHas( tunnelId );
      const bool awaited = lowerTunnelAwaited_.erase( tunnelId ) != 0;
      auto beneath = resolvedByTunnels_.find( tunnelId );
      const bool beneathChanged =
         beneath == resolvedByTunnels_.end() ? !beneathBefore.empty() : beneath->second != beneathBefore;
      const bool markedUnprocessed = tunnelFibEntryMarkedUnprocessed_.erase( tunnelId ) != 0;
      if ( markedUnprocessed ||
           wasUnprogrammable != isUnprogrammable || awaited || beneathChanged ) {
         // Tunnels above were deferred for this one, or computed over what it
         // was, or refused for a loop through what it rested on; when its vias
         // changed the FIB reactor has queued them already.
         addDependentTunnelsForReview( tunnelId );
      }
   }
   removeEmptyDependencies( tunnelId );
}

bool TunnelFibSm::doUpdateTunnelFibEntry( const ConsolidatedTunnelFibEntry & consFibEntry,
                                          bool tunnelTableEntryUsable ) {
   const TunnelId tunnelId = consFibEntry.tunnelId();
   VEL_TRACE( 8, "doUpdateTunnelFibEntry", " tunnelId: ", tunnelId, " (", tunnelId.tunnelType(),
              ") tunnelTableEntryUsable: ", tunnelTableEntryUsable );
   if ( !tunnelTableEntryUsable ) {
      tunnelFibWriter_->deleteFibEntry( tunnelId );
      unprogrammableTunnelId_->entryDel( tunnelId );
      return true;
   }
   constexpr std::size_t maxVias = TunnelFib::TunnelViaList::maxSize;
   const std::size_t vias = consFibEntry.viaInfos();
   const std::size_t backupVias = consFibEntry.backupViaInfos();
   if ( vias > maxVias ) {
      VEL_TRACE( 8, "TunnelFibEntry has too many tunnelVias: ", vias, ", (max ", maxVias, ")" );
   }
   if ( backupVias > maxVias ) {
      VEL_TRACE( 8, "TunnelFibEntry has too many backupTunnelVias: ", backupVias, ", (max ",
                 maxVias, ")" );
   }
   if ( vias >= 1 && vias <= maxVias && backupVias <= maxVias ) {
      tunnelFibWriter_->addFibEntry( consFibEntry );
      if ( unprogrammableTunnelId_->entryHas( tunnelId ) ) {
         VEL_TRACE( 8, " TunnelId ", tunnelId, " is now programmable" );
         unprogrammableTunnelId_->entryDel( tunnelId );
      }
      return true;
   }
   tunnelFibWriter_->deleteFibEntry( tunnelId );
   VEL_TRACE( 8, " TunnelId ", tunnelId, " is unprogrammable because ",
              vias == 0 ? "no tunnelVias" : "too many tunnelVias" );
   unprogrammableTunnelId_->entryIs( tunnelId, true );
   return false;
}

void TunnelFibSm::removeStaleEntries() {
   tunnelFib_->entry().forEachKey( [ this ]( const TunnelId & id ) {
      if ( tunnelTableEntryHas( id ) ) {
         VEL_TRACE( 8, " tunnel id ", id, " is not stale." );
      } else {
         tunnelFibWriter_->deleteFibEntry( id );
      }
   } );
}

TunnelFibSm::LastViaCalculation TunnelFibSm::lastViaCalculation( TunnelId tunnelId ) const {
   auto found = lastViaCalcFlags_.find( tunnelId );
   if ( found == lastViaCalcFlags_.end() ) {
      return {};
   }
   return { TunnelFibViaCalcResult( std::uint8_t( found->second & ~deferredBit ) ),
            ( found->second & deferredBit ) != 0 };
}

// --- Contribution and dependencies.

bool TunnelFibSm::tunnelContributesToTunnelFib( TunnelId tunnelId ) const {
   switch ( tunnelId.tunnelType() ) {
   case TunnelType::bgpLuPushTunnel:
   case TunnelType::ldpTunnel:
   case TunnelType::staticTunnel:
   case TunnelType::srTunnel:
   case TunnelType::srTeSegmentListTunnel:
   case TunnelType::staticInterfaceTunnel:
   case TunnelType::rsvpFrrBackupTunnel:
   case TunnelType::nexthopGroupTunnel:
   case TunnelType::tiLfaTunnel:
   case TunnelType::ospfSrTunnel:
   case TunnelType::rsvpLerTunnel:
   case TunnelType::rsvpFrrTunnel:
   case TunnelType::rsvpLerSubTunnel:
   case TunnelType::isisFlexAlgoTunnel:
      return true;
   case TunnelType::bgpLuTunnel: {
      const BgpLuTunnelTableEntry * entry = findTunnelTableEntry( bgpLuTable_, tunnelId );
      return entry && entry->contribution() == BgpLuContribution::contributing;
   }
   default:
      return false;
   }
}

bool TunnelFibSm::tunnelTableEntryHas( TunnelId tunnelId ) const {
   bool found = false;
   visitTunnelTableEntry( *this, tunnelId,
                          [ &found ]( const auto * entry ) { found = entry != nullptr; } );
   return found;
}

void TunnelFibSm::directDependencyIs( TunnelId upper, TunnelId lower ) {
   directlyDependentTunnels_[ lower ].insert( upper );
   tunnelsDirectlyDependingOn_[ upper ].insert( lower );
}

void TunnelFibSm::resolvedByTunnelsIs( TunnelId upper, TunnelId lower ) {
   TunnelIdSet & beneath = resolvedByTunnels_[ upper ];
   beneath.insert( lower );
   if ( auto lowerBeneath = resolvedByTunnels_.find( lower );
        lowerBeneath != resolvedByTunnels_.end() ) {
      for ( TunnelId id : lowerBeneath->second ) {
         beneath.insert( id );
      }
   }
}

TunnelIdSet TunnelFibSm::takeDownDependencies( TunnelId tunnelId ) {
   if ( auto lowers = tunnelsDirectlyDependingOn_.find( tunnelId );
        lowers != tunnelsDirectlyDependingOn_.end() ) {
      for ( TunnelId lower : lowers->second ) {
         auto uppers = directlyDependentTunnels_.find( lower );
         if ( uppers != directlyDependentTunnels_.end() ) {
            uppers->second.erase( tunnelId );
            if ( uppers->second.empty() ) {
               directlyDependentTunnels_.erase( uppers );
            }
         }
      }
      lowers->second.clear();
   }
   TunnelIdSet beneathBefore;
   if ( auto beneath = resolvedByTunnels_.find( tunnelId ); beneath != resolvedByTunnels_.end() ) {
      beneathBefore = std::move( beneath->second );
      beneath->second.clear();
   }
   return beneathBefore;
}

void TunnelFibSm::removeEmptyDependencies( TunnelId tunnelId ) {
   for ( DependencyMap * map :
         { &directlyDependentTunnels_, &tunnelsDirectlyDependingOn_, &resolvedByTunnels_ } ) {
      if ( auto it = map->find( tunnelId ); it != map->end() && it->second.empty() ) {
         map->erase( it );
      }
   }
}

// --- Dump.

void TunnelFibSm::dumpState( Mox::DumpContext & ctx, unsigned indent ) const {
   // A field width of 0 still prints the fill blank.
   if ( indent > 0 ) {
      ctx.printf( "%*cTunnelFibSm\n", int( indent ), ' ' );
   } else {
      ctx.printf( "TunnelFibSm\n" );
   }
   ctx.printf( "%*c  TunnelFibUpdateCounter=%lu\n", int( indent ), ' ',
               static_cast< unsigned long >( tunnelFibUpdateCounter_ ) );
   tunnelFibWriter_->dumpState( ctx, indent + 2 );
}

Vel::Ptr< TunnelFibSm > tunnelFibSmFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib,
                                            Vel::Ptr< TunnelIdColl > unprogrammableTunnelId,
                                            Vel::PtrConst< MplsTunnelConfig > mplsTunnelConfig,
                                            Vel::Ptr< Gr::TunnelFibGrStatus > tunnelFibGrStatus,
                                            Vel::Ptr< TunnelTableEntities > tunnelTableEntities,
                                            Vel::Ptr< Mox::TaskScheduler > scheduler ) {
   return Vel::make< TunnelFibSm >( std::move( tunnelFib ), std::move( unprogrammableTunnelId ),
                                    std::move( mplsTunnelConfig ), std::move( tunnelFibGrStatus ),
                                    std::move( tunnelTableEntities ), std::move( scheduler ) );
}

} // namespace Tunnel::TunnelTable
