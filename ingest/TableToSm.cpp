#include "ingest/TableToSm.h"

#include "ingest/LdpTunnelSm.h"
#include "ingest/ProtocolTunnelSms.h"
#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

namespace {

// What every reactor is made from.
struct SmArgs {
   TableEntrySm * tableEntrySm;
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities;
   Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId;
   Vel::PtrConst< TunnelTableBase > table;
};

template< class Sm >
Vel::Ptr< ProtocolTunnelSm > makeSm( const SmArgs & args ) {
   auto typed = Vel::dynamicCast< const typename Sm::Table >( args.table );
   if ( !typed ) {
      return nullptr;
   }
   return protocolTunnelSmFactory< Sm >( args.tableEntrySm, args.tunnelTableEntities,
                                         args.unprogrammableTunnelId, std::move( typed ) );
}

} // namespace

Vel::Ptr< ProtocolTunnelSm > tableToSm( const Vel::String & name,
                                        Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                        Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId,
                                        const Vel::PtrConst< TunnelTableBase > & table,
                                        TableEntrySm * tableEntrySm ) {
   const SmArgs args{ tableEntrySm, std::move( tunnelTableEntities ),
                      std::move( unprogrammableTunnelId ), table };
   switch ( static_cast< std::uint32_t >( table->tunnelType() ) ) {
    case 1:
      return makeSm< BgpLuPushTunnelSm >( args );
    case 2:
      return makeSm< BgpLuTunnelSm >( args );
    case 3:
      return makeSm< LdpTunnelSm >( args );
    case 5:
      return makeSm< StaticTunnelSm >( args );
    case 7:
    case 13:
      return makeSm< SrTunnelSm >( args );
    case 8:
      return makeSm< SrTeSegmentListTunnelSm >( args );
    case 9:
      if ( name == "greTunnelInterface" ) {
         return makeSm< GreInterfaceTunnelSm >( args );
      }
      if ( name == "ipsecVtiTunnelInterface" ) {
         return makeSm< IpsecVtiInterfaceTunnelSm >( args );
      }
      if ( name == "ipsecGreTunnelInterface" ) {
         return makeSm< IpsecGreInterfaceTunnelSm >( args );
      }
      break;
    case 10:
    case 17:
      return makeSm< RsvpFrrTunnelSm >( args );
    case 11:
      return makeSm< NexthopGroupTunnelSm >( args );
    case 12:
      return makeSm< TiLfaTunnelSm >( args );
    case 14:
      return makeSm< SrTePolicyTunnelSm >( args );
    case 16:
      return makeSm< RsvpLerTunnelSm >( args );
    case 20:
      return makeSm< RsvpLerSubTunnelSm >( args );
    case 21:
      return makeSm< FlexAlgoTunnelSm >( args );
    default:
      break;
   }
   VEL_ASSERT( false, "Unhandled table type" );
   return nullptr;
}

} // namespace Tunnel::TunnelTable
