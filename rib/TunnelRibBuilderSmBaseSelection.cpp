#include "rib/TunnelRibBuilderSmBase.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <vector>

#include "platform/vel/Assert.h"
#include "platform/vel/RangeException.h"
#include "platform/vel/Trace.h"
#include "rib/EntryFilterUpdate.h"
#include "types/CopyMetrics.h"
#include "types/TunnelIdCollIndex.h"

// Selection of the best tunnels per endpoint: the candidates the builder
// keeps for each tep, and the RIB entries written from them.

namespace Tunnel::TunnelTable {

namespace {

// An entry holds a bounded number of ids; the bare index text names no
// endpoint, and a person needs to know which one overflowed.
void addTunnelIdNamingTep( TunnelRibEntry & ribEntry, TunnelId tunnelId,
                           const ColoredTunnelEndpoint & tep, const TunnelRibConfig & rib,
                           bool perTypeRib ) {
   try {
      ribEntry.addTunnelId( tunnelId );
   } catch ( const Vel::RangeException & e ) {
      std::ostringstream text;
      text << "tunnel RIB " << rib.name() << ", endpoint " << tep;
      if ( perTypeRib ) {
         text << ", " << tunnelId.tunnelType() << " tunnels";
      }
      text << ": " << tunnelId
           << " would be tunnel " << maxTunnelIdsPerRibEntry + 1
           << " of one entry, which holds at most " << maxTunnelIdsPerRibEntry << " ("
           << e.what() << ")";
      throw Vel::RangeException( text.str() );
   }
}

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

ColoredTunnelEndpointList tepsOf( const ColoredTunnelEndpointSet * set ) {
   ColoredTunnelEndpointList teps;
   if ( set ) {
      teps.reserve( set->size() );
      for ( const auto & [ tep, present ] : set->coloredTep() ) {
         teps.push_back( tep );
      }
   }
   return teps;
}

} // namespace

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

// --- Selection.

EncapsulatedTableEntry TunnelRibBuilderSmBase::getEntry( TunnelId tunnelId ) const {
   return EncapsulatedTableEntry::getEntry( tunnelId, tunnelTableEntities() );
}

ColoredTunnelEndpointList
TunnelRibBuilderSmBase::ribTeps( const EncapsulatedTableEntry & entry ) const {
   ColoredTunnelEndpointList teps = entry.tunnelEndpoints();
   if ( !isColored() ) {
      // Colors of one prefix meet in one entry of a RIB keyed by prefix.
      for ( auto & tep : teps ) {
         tep = ribTep( tep );
      }
      auto last = std::unique( teps.begin(), teps.end() );
      while ( teps.end() != last ) {
         teps.pop_back();
      }
   }
   return teps;
}

const TunnelIdToTepEntrySet *
TunnelRibBuilderSmBase::tunnelIdToTepSet( TunnelId tunnelId ) const {
   auto it = tunnelIdToTepSet_.find( tunnelId );
   return it == tunnelIdToTepSet_.end() ? nullptr : &it->second;
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
   const ColoredTunnelEndpointList oldTeps = tepsOf( known ? known->tepSet() : nullptr );
   const ColoredTunnelEndpointList newTeps =
      contributes ? ribTeps( entry ) : ColoredTunnelEndpointList();
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
   ColoredTunnelEndpointList gone;
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
      tunnelIdToTepSet_.try_emplace( tunnelId ).first->second.tepSetIs().coloredTepIs( tep );
      if ( !doUpdateProtoTunnelRibColl( tep, tunnelId, tunnelId.tunnelType(), true ) ) {
         return;
      }
      const TunnelEntryPref pref = getPreference( entry.entry() );
      TunnelTableOrderedEntry & candidates = internalTunnelRib_->entryIs( tep );
      removeCandidates( candidates, tunnelId, &pref );
      // The candidate competes with the preference the filter gives it, not
      // with the one its protocol published.
      TunnelTableEntry candidate = entry.entry();
      candidate.tunnelIdIs( tunnelId );
      candidate.prefIs( pref );
      candidates.entryIs( candidate, true );
      doUpdateTunnelRibEntry( entry, tep, true );
      return;
   }

   if ( auto known = tunnelIdToTepSet_.find( tunnelId ); known != tunnelIdToTepSet_.end() ) {
      ColoredTunnelEndpointSet * teps = known->second.tepSet();
      if ( teps ) {
         teps->coloredTepDel( tep );
      }
      if ( !teps || teps->empty() ) {
         tunnelIdToTepSet_.erase( known );
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
   if ( auto ordered = internalTunnelRib_->entry( tep ) ) {
      removeCandidates( *ordered, tunnelId, keepPref );
      if ( !keepPref && ordered->empty() ) {
         internalTunnelRib_->entryDel( tep );
      }
   }
}

void TunnelRibBuilderSmBase::removeCandidates( TunnelTableOrderedEntry & ordered,
                                               TunnelId tunnelId,
                                               const TunnelEntryPref * keepPref ) {
   std::vector< TunnelTableEntry > doomed;
   for ( const auto & [ candidate, present ] : ordered ) {
      if ( candidate.tunnelId() == tunnelId &&
           ( !keepPref || candidate.pref() != *keepPref ) ) {
         doomed.push_back( candidate );
      }
   }
   for ( const auto & candidate : doomed ) {
      ordered.entryDel( candidate );
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
      addTunnelIdNamingTep( ribEntry, tunnelId, tep, *tunnelRibConfig_, true );
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
   // The entry as read above is what an addition starts from: no second
   // lookup of the endpoint.
   if ( existing.empty() ) {
      VEL_TRACE( 8, "Adding Tunnel RIB entry tep: ", tep, " id: ", tunnelId );
      addTunnelIdTo( existing, entry, getPreference( entry.entry() ) );
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
      addTunnelIdTo( existing, entry, newPref );
      return;
   }
   if ( shouldReplaceTunnelRibEntries( existingId, existingPref, tunnelId, newPref ) ==
        Replacement::replace ) {
      VEL_TRACE( 8, "New ID is: ", tunnelId );
      tunnelRib_->tunnelRibEntryDel( tep );
      addTunnelIdTo( TunnelRibEntry( tep ), entry, newPref );
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
   addTunnelIdTo( tunnelRib_->tunnelRibEntry( tep ), entry, getPreference( entry.entry() ) );
}

void TunnelRibBuilderSmBase::addTunnelIdTo( TunnelRibEntry ribEntry,
                                            const EncapsulatedTableEntry & entry,
                                            TunnelEntryPref pref ) {
   const TunnelId tunnelId = entry.tunnelId();
   VEL_TRACE( 8, " tid ", tunnelId );
   copyMetrics( tunnelId, ribEntry, entry, *tunnelRibConfig_ );
   ribEntry.prefIs( pref );
   addTunnelIdNamingTep( ribEntry, tunnelId, ribEntry.coloredTep(), *tunnelRibConfig_, false );
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

} // namespace Tunnel::TunnelTable
