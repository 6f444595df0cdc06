#pragma once

#include "fib/TunnelFibSm.h"
#include "platform/mirra/Collection.h"

namespace Tunnel::TunnelTable {

// The tunnel's entry in a table, or null when the table is not published,
// holds no entry for it, or is found corrupted (which is reported).
template< class Table >
const typename Table::EntryType * findTunnelTableEntry( const Vel::PtrConst< Table > & table,
                                                        TunnelId tunnelId ) {
   if ( !table ) {
      return nullptr;
   }
   try {
      return table->entry().find( tunnelId );
   } catch ( const Mirra::CorruptionError & e ) {
      table->entry().reportCorruption( e.what() );
      return nullptr;
   }
}

// Calls visit with each table read for tunnels of the type (a null pointer
// when unbound) and returns true; returns false, calling nothing, for a type
// the tunnel FIB does not program. The three interface tables share one type.
template< class Visitor >
bool visitTunnelTables( const TunnelFibSm & sm, TunnelType type, Visitor && visit ) {
   switch ( type ) {
   case TunnelType::bgpLuPushTunnel:
      visit( sm.bgpLuPushTable() );
      return true;
   case TunnelType::bgpLuTunnel:
      visit( sm.bgpLuTable() );
      return true;
   case TunnelType::ldpTunnel:
      visit( sm.ldpTable() );
      return true;
   case TunnelType::srTunnel:
      visit( sm.srTable() );
      return true;
   case TunnelType::ospfSrTunnel:
      visit( sm.ospfSrTable() );
      return true;
   case TunnelType::staticTunnel:
      visit( sm.staticTable() );
      return true;
   case TunnelType::srTeSegmentListTunnel:
      visit( sm.srTeSegmentListTable() );
      return true;
   case TunnelType::isisFlexAlgoTunnel:
      visit( sm.isisFlexAlgoTable() );
      return true;
   case TunnelType::rsvpLerTunnel:
      visit( sm.rsvpLerTable() );
      return true;
   case TunnelType::rsvpLerSubTunnel:
      visit( sm.rsvpLerSubTable() );
      return true;
   case TunnelType::tiLfaTunnel:
      visit( sm.tiLfaTable() );
      return true;
   case TunnelType::rsvpFrrTunnel:
   case TunnelType::rsvpFrrBackupTunnel:
      visit( sm.rsvpFrrTable() );
      return true;
   case TunnelType::nexthopGroupTunnel:
      visit( sm.nexthopGroupTable() );
      return true;
   case TunnelType::staticInterfaceTunnel:
      visit( sm.greIntfTable() );
      visit( sm.ipsecGreIntfTable() );
      visit( sm.ipsecVtiIntfTable() );
      return true;
   default:
      return false;
   }
}

// Calls visit with the tunnel's entry (or null) in the table its type is
// read from, and returns true; returns false, calling nothing, for a type the
// tunnel FIB does not program. Of the three interface tables, the first that
// holds the id serves it.
template< class Visitor >
bool visitTunnelTableEntry( const TunnelFibSm & sm, TunnelId tunnelId, Visitor && visit ) {
   if ( tunnelId.tunnelType() != TunnelType::staticInterfaceTunnel ) {
      return visitTunnelTables( sm, tunnelId.tunnelType(), [ & ]( const auto & table ) {
         visit( findTunnelTableEntry( table, tunnelId ) );
      } );
   }
   if ( auto * gre = findTunnelTableEntry( sm.greIntfTable(), tunnelId ) ) {
      visit( gre );
   } else if ( auto * ipsecGre = findTunnelTableEntry( sm.ipsecGreIntfTable(), tunnelId ) ) {
      visit( ipsecGre );
   } else {
      visit( findTunnelTableEntry( sm.ipsecVtiIntfTable(), tunnelId ) );
   }
   return true;
}

} // namespace Tunnel::TunnelTable
