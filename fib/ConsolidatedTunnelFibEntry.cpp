#include "fib/ConsolidatedTunnelFibEntry.h"

#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

using TunnelFib::EncapType;

ConsolidatedTunnelFibEntry::ConsolidatedTunnelFibEntry( std::string_view ) {
   VEL_ASSERT( false, "No String constructor for ConsolidatedTunnelFibEntry - has collection" );
}

ViaAndTunnelInfo viaAndTunnelInfoFromTunnelVia( const TunnelFib::TunnelVia & tunnelVia,
                                                const TunnelFib::TunnelFib & tunnelFib ) {
   const TunnelFib::EncapId id = tunnelVia.encapId();
   ViaAndTunnelInfo info( tunnelVia.via(), id.encapType() );
   switch ( id.encapType() ) {
   case EncapType::mplsLabelStackEncap:
      info.labelStackIs( tunnelFib.labelStackEncap( id ).info() );
      break;
   case EncapType::greEncap:
      info.greTunnelInfoIs( tunnelFib.greEncap( id ).info() );
      break;
   case EncapType::ipsecGreEncap:
      info.ipsecGreTunnelInfoIs( tunnelFib.ipsecGreEncap( id ).info() );
      break;
   case EncapType::ipsecVtiEncap:
      info.ipsecVtiTunnelInfoIs( tunnelFib.ipsecVtiEncap( id ).info() );
      break;
   default:
      break;
   }
   return info;
}

ConsolidatedTunnelFibEntry ConsolidatedTunnelFibEntry::fromTunnelFibEntry(
   const TunnelFib::TunnelFibEntry & fibEntry,
   const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib ) {
   ConsolidatedTunnelFibEntry cons( fibEntry.tunnelId() );
   cons.arePrimaryViasUsableIs( fibEntry.arePrimaryViasUsable() );
   cons.seqNoIs( fibEntry.seqNo() );
   cons.viaInfo_.reserve( fibEntry.tunnelVia().size() );
   for ( const TunnelFib::TunnelVia & via : fibEntry.tunnelVia() ) {
      cons.addViaInfoFromTunnelVia( via, tunnelFib, false );
   }
   for ( const TunnelFib::TunnelVia & via : fibEntry.backupTunnelVia() ) {
      cons.addViaInfoFromTunnelVia( via, tunnelFib, true );
   }
   return cons;
}

void ConsolidatedTunnelFibEntry::addViaInfoFromTunnelVia(
   const TunnelFib::TunnelVia & tunnelVia,
   const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib, bool backup ) {
   ViaAndTunnelInfo info = viaAndTunnelInfoFromTunnelVia( tunnelVia, *tunnelFib );
   ( backup ? backupViaInfo_ : viaInfo_ ).insert( info );
}

void ConsolidatedTunnelFibEntry::insertLabelStackVia( const Via & via,
                                                      const Korvo::MplsLabelOperation & stack ) {
   ViaAndTunnelInfo info( via, EncapType::mplsLabelStackEncap );
   info.labelStackIs( stack );
   viaInfo_.insert( info );
}

void ConsolidatedTunnelFibEntry::insertBackupLabelStackVia(
   const Via & via, const Korvo::MplsLabelOperation & stack ) {
   ViaAndTunnelInfo info( via, EncapType::mplsLabelStackEncap );
   info.labelStackIs( stack );
   backupViaInfo_.insert( info );
}

void ConsolidatedTunnelFibEntry::insertGreVia( const Via & via, const GreTunnelInfo & gre ) {
   ViaAndTunnelInfo info( via, EncapType::greEncap );
   info.greTunnelInfoIs( gre );
   viaInfo_.insert( info );
}

void ConsolidatedTunnelFibEntry::insertIpsecVtiVia( const Via & via,
                                                    const IpsecVtiTunnelInfo & vti ) {
   ViaAndTunnelInfo info( via, EncapType::ipsecVtiEncap );
   info.ipsecVtiTunnelInfoIs( vti );
   viaInfo_.insert( info );
}

void ConsolidatedTunnelFibEntry::insertIpsecGreVia( const Via & via,
                                                    const IpsecGreTunnelInfo & ipsecGre ) {
   ViaAndTunnelInfo info( via, EncapType::ipsecGreEncap );
   info.ipsecGreTunnelInfoIs( ipsecGre );
   viaInfo_.insert( info );
}

void ConsolidatedTunnelFibEntry::insertInvalidVia( const Via & via ) {
   viaInfo_.insert( ViaAndTunnelInfo( via, EncapType::invalidEncap ) );
}

std::string ConsolidatedTunnelFibEntry::stringValue() const {
   return "Value('Tunnel::TunnelTable::ConsolidatedTunnelFibEntry', ** {'tunnelId': " +
          tunnelId_.stringValue() + ", 'viaInfo': " + viaInfo_.stringValue() +
          ", 'backupViaInfo': " + backupViaInfo_.stringValue() +
          ", 'arePrimaryViasUsable': " + ( arePrimaryViasUsable_ ? "True" : "False" ) +
          ", 'seqNo': " + std::to_string( seqNo_ ) + "})";
}

} // namespace Tunnel::TunnelTable
