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

// Calls visit with the tunnel's entry (or null) in the table its type is
// read from, and returns true; returns false, calling nothing, for a type the
// tunnel FIB does not program. The three interface tables share one type: the
// first that holds the id serves it.
template< class Visitor >
bool visitTunnelTableEntry( const TunnelFibSm & sm, TunnelId tunnelId, Visitor && visit ) {
   switch ( tunnelId.tunnelType() ) {
   case TunnelType::bgpLuPushTunnel:
      visit( findTunnelTableEntry( sm.bgpLuPushTable(), tunnelId ) );
      return true;
   case TunnelType::bgpLuTunnel:
      visit( findTunnelTableEntry( sm.bgpLuTable(), tunnelId ) );
      return true;
   case TunnelType::ldpTunnel:
      visit( findTunnelTableEntry( sm.ldpTable(), tunnelId ) );
      return true;
   case TunnelType::srTunnel:
      visit( findTunnelTableEntry( sm.srTable(), tunnelId ) );
      return true;
   case TunnelType::ospfSrTunnel:
      visit( findTunnelTableEntry( sm.ospfSrTable(), tunnelId ) );
      return true;
   case TunnelType::staticTunnel:
      visit( findTunnelTableEntry( sm.staticTable(), tunnelId ) );
      return true;
   case TunnelType::srTeSegmentListTunnel:
      visit( findTunnelTableEntry( sm.srTeSegmentListTable(), tunnelId ) );
      return true;
   case TunnelType::isisFlexAlgoTunnel:
      visit( findTunnelTableEntry( sm.isisFlexAlgoTable(), tunnelId ) );
      return true;
   case TunnelType::rsvpLerTunnel:
      visit( findTunnelTableEntry( sm.rsvpLerTable(), tunnelId ) );
      return true;
   case TunnelType::rsvpLerSubTunnel:
      visit( findTunnelTableEntry( sm.rsvpLerSubTable(), tunnelId ) );
      return true;
   case TunnelType::tiLfaTunnel:
      visit( findTunnelTableEntry( sm.tiLfaTable(), tunnelId ) );
      return true;
   case TunnelType::rsvpFrrTunnel:
   case TunnelType::rsvpFrrBackupTunnel:
      visit( findTunnelTableEntry( sm.rsvpFrrTable(), tunnelId ) );
      return true;
   case TunnelType::nexthopGroupTunnel:
      visit( findTunnelTableEntry( sm.nexthopGroupTable(), tunnelId ) );
      return true;
   case TunnelType::staticInterfaceTunnel:
      if ( auto * gre = findTunnelTableEntry( sm.greIntfTable(), tunnelId ) ) {
         visit( gre );
      } else if ( auto * ipsecGre = findTunnelTableEntry( sm.ipsecGreIntfTable(), tunnelId ) ) {
         visit( ipsecGre );
      } else {
         visit( findTunnelTableEntry( sm.ipsecVtiIntfTable(), tunnelId ) );
      }
      return true;
   default:
      return false;
   }
}

} // namespace Tunnel::TunnelTable
