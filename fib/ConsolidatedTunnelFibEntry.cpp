#include "fib/ConsolidatedTunnelFibEntry.h"

#include <optional>
#include <span>

#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

using TunnelFib::EncapType;

namespace {

// Whether the vias, read back, are the records of the set; nothing when the
// vias are out of record order (or repeat one), where only the rebuilt set
// can tell.
std::optional< bool > sameInRecordOrder( const ViaAndTunnelInfoSet & records,
                                         std::span< const TunnelFib::TunnelVia > vias,
                                         const TunnelFib::TunnelFib & tunnelFib ) {
   bool same = records.size() == vias.size();
   auto record = records.begin();
   std::optional< ViaAndTunnelInfo > previous;
   for ( const TunnelFib::TunnelVia & via : vias ) {
      ViaAndTunnelInfo info = viaAndTunnelInfoFromTunnelVia( via, tunnelFib );
      if ( previous && !( *previous < info ) ) {
         return std::nullopt;
      }
      same = same && *record++ == info;
      previous = std::move( info );
   }
   return same;
}

} // namespace

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

bool ConsolidatedTunnelFibEntry::isProgrammedAs(
   const TunnelFib::TunnelFibEntry & fibEntry,
   const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib ) const {
   if ( fibEntry.tunnelId() != tunnelId_ ||
        fibEntry.arePrimaryViasUsable() != arePrimaryViasUsable_ || fibEntry.seqNo() != seqNo_ ) {
      return false;
   }
   std::optional< bool > primary =
      sameInRecordOrder( viaInfo_, fibEntry.tunnelVia(), *tunnelFib );
   std::optional< bool > backup =
      sameInRecordOrder( backupViaInfo_, fibEntry.backupTunnelVia(), *tunnelFib );
   if ( primary && backup ) {
      return *primary && *backup;
   }
   return fromTunnelFibEntry( fibEntry, tunnelFib ) == *this;
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
