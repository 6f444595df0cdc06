#pragma once

#include "ingest/TunnelTableEntities.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Trace.h"
#include "rib/TunnelTableEntryFilter.h"
#include "types/EncapsulatedTableEntry.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelId.h"
#include "types/TunnelRibId.h"
#include "types/TunnelRibProtoEntry.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

// Brings the filter in step with one table entry (tid), or with every entry
// of the table when tid is 0. A deletion removes tid from the filter whatever
// the table; protoEntry is read only when something is written.
void handleConfigPreferences( TunnelRibId rib, TunnelTableIdentifier table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelTableEntities * entities,
                              const TunnelRibProtoEntry * protoEntry, bool isDeletion );

// The preference an entry competes with: the configured one when the table's
// preference mapping is on, else the entry's own.
inline TunnelEntryPref mappedPreference( const TunnelRibProtoEntry & protoEntry,
                                         const TunnelTableEntry & entry ) {
   return protoEntry.prefMapping()() ? TunnelEntryPref( protoEntry.preference()() )
                                     : entry.pref();
}

// Sets the preference of one id of table. An absent id (or a corrupted table,
// which is reported to the table's handler) reads as a default entry. Never
// removes an id.
template< class Table >
void updateEntryFilterHelper( const Table & table, TunnelId tid, TunnelTableEntryFilter & filter,
                              const TunnelRibProtoEntry & protoEntry ) {
   const auto * found = table.entry().findReportingCorruption( tid );
   const TunnelEntryPref pref =
      mappedPreference( protoEntry, found ? found->entry() : TunnelTableEntry() );
   VEL_TRACE( 8, "tid: ", tid, " pref: ", pref );
   filter.preferenceIs( tid, pref );
}

// The helper for tid, or for every entry of the table when tid is 0.
template< class Table >
void updateEntryFilter( const Table & table, TunnelId tid, TunnelTableEntryFilter & filter,
                        const TunnelRibProtoEntry & protoEntry ) {
   VEL_TRACE( 8 );
   if ( tid != TunnelId() ) {
      updateEntryFilterHelper( table, tid, filter, protoEntry );
      return;
   }
   VEL_TRACE( 8, " updating pref for all table entries." );
   for ( const auto & [ id, entry ] : table.entry() ) {
      updateEntryFilterHelper( table, id, filter, protoEntry );
   }
}

// The RSVP LER variants: the two application RIBs take an entry only while
// it is eligible for them, and drop it from their filter otherwise.
void appRibUpdateEntryFilter( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelRibProtoEntry & protoEntry );
void appRibUpdateEntryHelper( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelRibProtoEntry & protoEntry );
bool tunnelEligibleForRib( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid );
bool isTargetAppTunRib( TunnelRibId rib );

// Whether a present entry may enter the RIB: its id must have a preference in
// the filter, and a BGP-LU tunnel must also be contributing.
bool doesEntryContribute( const TunnelTableEntryFilter & filter,
                          const EncapsulatedTableEntry & entry );
// The BGP-LU half of the test, for readers that do not consult the filter.
bool bgpLuEntryContributes( const EncapsulatedTableEntry & entry );

} // namespace Tunnel::TunnelTable
