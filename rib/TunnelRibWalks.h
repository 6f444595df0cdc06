#pragma once

#include <algorithm>
#include <vector>

#include "platform/mirra/Collection.h"
#include "platform/vel/Trace.h"
#include "rib/EntryFilterUpdate.h"
#include "rib/TunnelRibBuilderSmBase.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelRibEntry.h"

// The two walks over a builder's RIB, one instance per RIB kind: a RIB keyed
// by endpoint prefix (TunnelRib) or by colored endpoint (ColoredTunnelRib).

namespace Tunnel::TunnelTable {

inline ColoredTunnelEndpoint tepBookmarkOf( const Korvo::IpGenPrefix & key ) {
   return ColoredTunnelEndpoint( key );
}
inline ColoredTunnelEndpoint tepBookmarkOf( const ColoredTunnelEndpoint & key ) { return key; }

// Refreshes the IGP-cost preference of every RIB entry, from key on when the
// builder holds a tep bookmark, yielding between entries when the scheduler
// says so.
template< class Rib >
void processTunnelRibTReview( const Rib & rib, const typename Rib::Table::Key & key,
                              TunnelRibBuilderSmBase & builder ) {
   VEL_TRACE( 8 );
   const auto & entries = rib.entry().map();
   auto current = entries.begin();
   if ( builder.tepBookmark() != ColoredTunnelEndpoint() ) {
      VEL_TRACE( 8, "TunnelRibReview, found existing bookmark for rib id: ",
                 builder.tunnelRibId() );
      current = entries.lower_bound( key );
   }
   // Rewriting an entry moves nothing, so the walk stays valid. The entry is
   // read through a lookup, which reports a corrupted map and reads as absent.
   while ( current != entries.end() ) {
      builder.checkAndUpdateIgpCostPref( current->second.coloredTep() );
      ++current;
      if ( current == entries.end() ) {
         break;
      }
      if ( builder.scheduler()->taskShouldYield() ) {
         builder.tepBookmarkIs( tepBookmarkOf( current->first ) );
         VEL_TRACE( 8, "TunnelRibReview yielding rib id: ", builder.tunnelRibId(),
                    ", set bookmark tep: ", builder.tepBookmark() );
         builder.scheduler()->scheduleTask( *builder.tunnelRibReviewTask() );
         return;
      }
   }
   builder.tepBookmarkIs( ColoredTunnelEndpoint() );
   VEL_TRACE( 8, "TunnelRibReview complete for rib id: ", builder.tunnelRibId() );
}

// Whether the RIB entry may keep the id: the id's entry is present, serves
// the entry's tep, contributes, and competes with the entry's preference.
inline bool tunnelIdSupported( TunnelRibBuilderSmBase & builder, const TunnelRibEntry & ribEntry,
                               TunnelId tunnelId ) {
   const EncapsulatedTableEntry entry = builder.getEntry( tunnelId );
   if ( !entry ) {
      return false;
   }
   const auto teps = builder.ribTeps( entry );
   const ColoredTunnelEndpoint tep = builder.ribTep( ribEntry.coloredTep() );
   return std::binary_search( teps.begin(), teps.end(), tep ) &&
          doesEntryContribute( *builder.tunnelTableEntryFilter(), entry ) &&
          builder.getPreference( entry.entry() ) == ribEntry.pref();
}

// The RIB's entry under key; null when absent, or when the map is found
// corrupted, which goes to the map's corruption handler so that a walk can go
// on with its next entry.
template< class Rib >
const TunnelRibEntry * ribEntryAt( const Rib & rib, const typename Rib::Table::Key & key ) {
   try {
      return rib.entry().find( key );
   } catch ( const Mirra::CorruptionError & e ) {
      rib.entry().reportCorruption( e.what() );
      return nullptr;
   }
}

// Drops every tunnel id of the RIB that nothing supports any more: an entry
// left with none goes, one left with some keeps them in their order.
template< class Rib >
void processRemoveStaleEntries( Rib & rib, TunnelRibBuilderSmBase & builder ) {
   std::vector< typename Rib::Table::Key > keys;
   keys.reserve( rib.entry().size() );
   for ( const auto & [ key, ribEntry ] : rib.entry() ) {
      keys.push_back( key );
   }
   for ( const auto & key : keys ) {
      const TunnelRibEntry * found = ribEntryAt( rib, key );
      if ( !found ) {
         continue;
      }
      const TunnelRibEntry ribEntry = *found;
      TunnelRibEntry kept = ribEntry;
      while ( !kept.empty() ) {
         kept.tunnelIdDel( kept.tunnelIdCount() - 1 );
      }
      for ( unsigned i = 0; i < ribEntry.tunnelIdCount(); ++i ) {
         const TunnelId tunnelId = ribEntry.tunnelId( i );
         const bool supported = tunnelIdSupported( builder, ribEntry, tunnelId );
         VEL_TRACE( 8, " tunnel id ", tunnelId, ", of type ", tunnelId.tunnelType(),
                    supported ? " is not stale." : " is stale." );
         if ( supported ) {
            kept.addTunnelId( tunnelId );
         }
      }
      if ( kept.empty() ) {
         rib.entryDel( key );
      } else if ( kept.tunnelIdCount() != ribEntry.tunnelIdCount() ) {
         rib.entryIs( kept );
      }
      // What stays is the builder's from now on, so that the first review of
      // a tunnel finds where it stands and can take it out again.
      for ( unsigned i = 0; i < kept.tunnelIdCount(); ++i ) {
         builder.adoptCandidate( kept.tunnelId( i ), kept.coloredTep() );
      }
   }
}

} // namespace Tunnel::TunnelTable
