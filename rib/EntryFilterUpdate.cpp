#include "rib/EntryFilterUpdate.h"

#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

namespace {

// The table's name for traces and for the entities; empty for an identifier
// without one. Reads the map without adding rows.
const Vel::String & tableName( TunnelTableIdentifier table ) {
   static const Vel::String none;
   auto it = TableIdToNameMap.find( table );
   return it == TableIdToNameMap.end() ? none : it->second;
}

// The nexthop-group and SR-TE policy tables take the helper directly: their
// entries carry no preference of their own worth announcing a walk for.
template< class Table >
void updateEachEntryFilter( const Table & table, TunnelId tid, TunnelTableEntryFilter & filter,
                            const TunnelRibProtoEntry & protoEntry ) {
   if ( tid != TunnelId() ) {
      updateEntryFilterHelper( table, tid, filter, protoEntry );
      return;
   }
   for ( const auto & [ id, entry ] : table.entry() ) {
      updateEntryFilterHelper( table, id, filter, protoEntry );
   }
}

template< class Table >
void withTable( const Vel::PtrConst< Table > & table, auto && update ) {
   if ( table ) {
      update( *table );
   }
}

} // namespace

void handleConfigPreferences( TunnelRibId rib, TunnelTableIdentifier table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelTableEntities * entities,
                              const TunnelRibProtoEntry * protoEntry, bool isDeletion ) {
   VEL_TRACE( 8, "tunnelRibId: ", rib, " tableId: ", tableName( table ), " tid: ", tid,
              " isDeletion: ", isDeletion );
   if ( isDeletion ) {
      filter.preferenceDel( tid );
      return;
   }
   // The identifier stands for its table's name.
   VEL_ASSERT( entities && entities->tunnelTableHas( table ),
               "entities && entities->tunnelTableHas( tunnelType )" );
   const TunnelRibProtoEntry & config = *protoEntry;
   auto update = [ & ]( const auto & typedTable ) {
      updateEntryFilter( typedTable, tid, filter, config );
   };
   auto updateEach = [ & ]( const auto & typedTable ) {
      updateEachEntryFilter( typedTable, tid, filter, config );
   };
   switch ( table ) {
    case TunnelTableIdentifier::bgpLuTable:
      withTable( entities->bgpLuTable(), update );
      break;
    case TunnelTableIdentifier::ldpTable:
      withTable( entities->ldpTable(), update );
      break;
    case TunnelTableIdentifier::rsvpLerTable:
      withTable( entities->rsvpLerTable(), [ & ]( const RsvpLerTunnelTable & typedTable ) {
         appRibUpdateEntryFilter( rib, typedTable, tid, filter, config );
      } );
      break;
    case TunnelTableIdentifier::srTable:
      withTable( entities->srTable(), update );
      break;
    case TunnelTableIdentifier::ospfSrTable:
      withTable( entities->ospfSrTable(), update );
      break;
    case TunnelTableIdentifier::staticTable:
      withTable( entities->staticTable(), update );
      break;
    case TunnelTableIdentifier::nexthopGroupTable:
      withTable( entities->nexthopGroupTable(), updateEach );
      break;
    case TunnelTableIdentifier::srTePolicyTable:
      withTable( entities->srTePolicyTunnelTable(), updateEach );
      break;
    case TunnelTableIdentifier::isisFlexAlgoTable:
      withTable( entities->isisFlexAlgoTable(), update );
      break;
    default:
      if ( static_cast< std::uint32_t >( table ) <=
           static_cast< std::uint32_t >( TunnelTableIdentifier::ospfFlexAlgoTable ) ) {
         VEL_ASSERT( 0, "0 && \"TunnelTables not supported for tunnel rib\"" );
      }
      break;
   }
}

void appRibUpdateEntryFilter( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelRibProtoEntry & protoEntry ) {
   VEL_TRACE( 8 );
   if ( tid != TunnelId() ) {
      appRibUpdateEntryHelper( rib, table, tid, filter, protoEntry );
      return;
   }
   for ( const auto & [ id, entry ] : table.entry() ) {
      appRibUpdateEntryHelper( rib, table, id, filter, protoEntry );
   }
}

void appRibUpdateEntryHelper( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid,
                              TunnelTableEntryFilter & filter,
                              const TunnelRibProtoEntry & protoEntry ) {
   VEL_TRACE( 8, "tunnelRibId: ", rib, " tid: ", tid );
   if ( tunnelEligibleForRib( rib, table, tid ) ) {
      updateEntryFilterHelper( table, tid, filter, protoEntry );
   } else {
      filter.preferenceDel( tid );
   }
}

bool tunnelEligibleForRib( TunnelRibId rib, const RsvpLerTunnelTable & table, TunnelId tid ) {
   if ( !isTargetAppTunRib( rib ) ) {
      return true;
   }
   RsvpLerTunnelTableEntry entry = table.entry().lookup( tid );
   return rib.value() == TunnelRibId::igpShortcutRib ? entry.igpShortcutEligible()
                                             : entry.ldpTunnelingEligible();
}

bool isTargetAppTunRib( TunnelRibId rib ) {
   return rib.value() == TunnelRibId::ldpTunnelingRib || rib.value() == TunnelRibId::igpShortcutRib;
}

bool bgpLuEntryContributes( const EncapsulatedTableEntry & entry ) {
   return entry.tunnelId().tunnelType() != TunnelType::bgpLuTunnel ||
          entry.bgpLuEntry().contribution() == BgpLuContribution::contributing;
}

bool doesEntryContribute( const TunnelTableEntryFilter & filter,
                          const EncapsulatedTableEntry & entry ) {
   if ( !filter.preferenceHas( entry.tunnelId() ) ) {
      VEL_TRACE( 8, ": tunnelID ", entry.tunnelId(), " filtered out" );
      return false;
   }
   return bgpLuEntryContributes( entry );
}

} // namespace Tunnel::TunnelTable
