#include "tools/tunnelsim/EntryReaders.h"

#include <cstdint>
#include <limits>

#include "tools/tunnelsim/ValueReaders.h"
#include "types/BgpLuTunnelTableEntry.h"
#include "types/IgpTunnelTableEntryBase.h"
#include "types/InterfaceTunnelTableEntry.h"
#include "types/MplsTunnelTableEntryBase.h"
#include "types/NexthopGroupTunnelTableEntry.h"
#include "types/ProtectedTunnelTableEntryBase.h"
#include "types/RsvpLerTunnelTableEntry.h"
#include "types/SrTePolicyTunnelTableEntry.h"
#include "types/SrTunnelTableEntry.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

constexpr std::uint64_t u8Max = std::numeric_limits< std::uint8_t >::max();
constexpr std::uint64_t u32Max = std::numeric_limits< std::uint32_t >::max();
constexpr std::uint64_t u64Max = std::numeric_limits< std::uint64_t >::max();

constexpr const char * entryText = "a table entry: an object";

std::uint32_t u32( const JsonObject & object, std::string_view name ) {
   return static_cast< std::uint32_t >( object.unsignedOr( name, u32Max, 0 ) );
}

std::uint8_t u8( const JsonObject & object, std::string_view name ) {
   return static_cast< std::uint8_t >( object.unsignedOr( name, u8Max, 0 ) );
}

Korvo::IpGenAddr addressOf( const JsonObject & object, std::string_view name ) {
   auto field = object.get( name );
   return field ? readAddress( *field ) : Korvo::IpGenAddr();
}

// The generic part that most kinds share: "id", "pref" (the type's default
// preference when absent), "endpoints" and "instance".
TunnelTableEntry readGeneric( const JsonObject & object, const TableKind & table ) {
   TunnelId id = table.readId( object.required( "id" ) );
   auto pref = static_cast< std::uint8_t >(
      object.unsignedOr( "pref", u8Max, getDefaultPrefForType( id.tunnelType() ) ) );
   TunnelTableEntry entry( id, pref );
   entry.instanceIs( object.unsignedOr( "instance", u64Max, 0 ) );
   if ( auto endpoints = object.get( "endpoints" ) ) {
      auto list = endpoints->elements( "a list of endpoint prefixes" );
      if ( list.size() > TunnelTableEntry::maxEndpoints ) {
         endpoints->fail( "at most " + std::to_string( TunnelTableEntry::maxEndpoints ) +
                          " endpoints" );
      }
      for ( const JsonValue & endpoint : list ) {
         entry.endpointAdd( readPrefix( endpoint ) );
      }
   }
   return entry;
}

template< class V, class Read, class Add >
void readVias( const JsonObject & object, Read read, Add add ) {
   auto vias = object.get( "vias" );
   if ( !vias ) {
      return;
   }
   auto list = vias->elements( "a list of vias" );
   if ( list.size() > maxViasPerTableEntry ) {
      vias->fail( "at most " + std::to_string( maxViasPerTableEntry ) + " vias" );
   }
   for ( const JsonValue & via : list ) {
      add( read( via ) );
   }
}

template< class Entry >
void readMplsPart( const JsonObject & object, const TableKind & table, Entry & entry ) {
   entry.entryIs( readGeneric( object, table ) );
   readVias< MplsVia >( object, readMplsVia,
                        [ &entry ]( const MplsVia & via ) { entry.mplsViaAdd( via ); } );
}

template< class Entry >
void readProtectedPart( const JsonObject & object, const TableKind & table, Entry & entry ) {
   readMplsPart( object, table, entry );
   if ( auto primary = object.get( "primaryVia" ) ) {
      entry.primaryViaIs( readMplsVia( *primary ) );
   }
   if ( auto backup = object.get( "backupVia" ) ) {
      entry.backupViaIs( readMplsVia( *backup ) );
   }
}

template< class Entry >
Entry readIgpEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object = value.object( entryText, { "id", "pref", "endpoints", "instance", "vias",
                                                  "m", "m2", "p", "p2", "igpCostPref" } );
   Entry entry;
   readMplsPart( object, table, entry );
   entry.mIs( u32( object, "m" ) );
   entry.m2Is( u32( object, "m2" ) );
   entry.pIs( u32( object, "p" ) );
   entry.p2Is( u32( object, "p2" ) );
   entry.igpCostPrefIs( u32( object, "igpCostPref" ) );
   return entry;
}

template< class Entry, class ReadInfo >
Entry readInterfaceEntry( const JsonValue & value, const TableKind & table,
                          std::initializer_list< std::string_view > infoFields,
                          ReadInfo readInfo ) {
   JsonObject object =
      value.object( entryText, { "id", "pref", "endpoints", "instance", "via", "tunnelInfo" } );
   Entry entry;
   entry.entryIs( readGeneric( object, table ) );
   if ( auto via = object.get( "via" ) ) {
      entry.viaIs( readVia( *via ) );
   }
   if ( auto info = object.get( "tunnelInfo" ) ) {
      entry.tunnelInfoIs(
         readInfo( info->object( "the tunnel's encapsulation: an object", infoFields ) ) );
   }
   return entry;
}

Tunnel::GreTunnelInfo readGreInfo( const JsonObject & info ) {
   return Tunnel::GreTunnelInfo( addressOf( info, "src" ), addressOf( info, "dst" ),
                                 u8( info, "ttl" ), u8( info, "tos" ) );
}

std::string readProfile( const JsonObject & info ) {
   auto field = info.get( "ipsecProfile" );
   return field ? field->string( "the name of an IPsec profile" ) : std::string();
}

} // namespace

template<>
IgpTunnelTableEntryBase readTableEntry( const JsonValue & value, const TableKind & table ) {
   return readIgpEntry< IgpTunnelTableEntryBase >( value, table );
}

template<>
SrTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   return readIgpEntry< SrTunnelTableEntry >( value, table );
}

template<>
MplsTunnelTableEntryBase readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object = value.object( entryText, { "id", "pref", "endpoints", "instance", "vias" } );
   MplsTunnelTableEntryBase entry;
   readMplsPart( object, table, entry );
   return entry;
}

template<>
ProtectedTunnelTableEntryBase readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object = value.object(
      entryText, { "id", "pref", "endpoints", "instance", "vias", "primaryVia", "backupVia" } );
   ProtectedTunnelTableEntryBase entry;
   readProtectedPart( object, table, entry );
   return entry;
}

template<>
RsvpLerTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object = value.object(
      entryText, { "id", "pref", "endpoints", "instance", "vias", "primaryVia", "backupVia",
                   "color", "igpShortcutEligible", "ldpTunnelingEligible", "igpCostPref" } );
   RsvpLerTunnelTableEntry entry;
   readProtectedPart( object, table, entry );
   if ( auto color = object.get( "color" ) ) {
      entry.colorIs( static_cast< TunnelColor >( color->unsignedNumber( u32Max ) ) );
   }
   entry.igpShortcutEligibleIs( object.booleanOr( "igpShortcutEligible", false ) );
   entry.ldpTunnelingEligibleIs( object.booleanOr( "ldpTunnelingEligible", false ) );
   entry.igpCostPrefIs( u32( object, "igpCostPref" ) );
   return entry;
}

template<>
BgpLuTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object = value.object(
      entryText, { "id", "pref", "endpoints", "instance", "vias", "action", "labels",
                   "contribution", "m", "metricType", "m2", "p2", "igpCostPref" } );
   BgpLuTunnelTableEntry entry;
   entry.entryIs( readGeneric( object, table ) );
   readVias< Via >( object, readVia, [ &entry ]( const Via & via ) { entry.viaAdd( via ); } );
   entry.labelOperationIs( readLabelOperation( object ) );
   entry.contributionIs( BgpLuContribution::contributing );
   if ( auto contribution = object.get( "contribution" ) ) {
      constexpr const char * expected = "\"contributing\" or \"notContributing\"";
      std::string text = contribution->string( expected );
      if ( text == "notContributing" ) {
         entry.contributionIs( BgpLuContribution::notContributing );
      } else if ( text != "contributing" ) {
         contribution->fail( expected );
      }
   }
   entry.mIs( u32( object, "m" ) );
   entry.metricTypeIs( u32( object, "metricType" ) );
   entry.m2Is( u32( object, "m2" ) );
   entry.p2Is( u32( object, "p2" ) );
   entry.igpCostPrefIs( u32( object, "igpCostPref" ) );
   return entry;
}

template<>
NexthopGroupTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object =
      value.object( entryText, { "id", "endpoint", "nexthopGroupId", "metric", "igpCostPref" } );
   NexthopGroupTunnelTableEntry entry( table.readId( object.required( "id" ) ),
                                       readPrefix( object.required( "endpoint" ) ),
                                       object.unsignedOr( "nexthopGroupId", u64Max, 0 ) );
   entry.metricIs( u32( object, "metric" ) );
   entry.igpCostPrefIs( u32( object, "igpCostPref" ) );
   return entry;
}

template<>
SrTePolicyTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   JsonObject object =
      value.object( entryText, { "id", "endpoint", "color", "metric", "igpCostPref" } );
   SrTePolicyTunnelTableEntry entry(
      table.readId( object.required( "id" ) ), readPrefix( object.required( "endpoint" ) ),
      static_cast< TunnelColor >( object.required( "color" ).unsignedNumber( u32Max ) ) );
   entry.metricIs( u32( object, "metric" ) );
   entry.igpCostPrefIs( u32( object, "igpCostPref" ) );
   return entry;
}

template<>
GreIntfTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   return readInterfaceEntry< GreIntfTunnelTableEntry >( value, table,
                                                         { "src", "dst", "ttl", "tos" },
                                                         readGreInfo );
}

template<>
IpsecGreIntfTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   return readInterfaceEntry< IpsecGreIntfTunnelTableEntry >(
      value, table, { "src", "dst", "ttl", "tos", "ipsecProfile" },
      []( const JsonObject & info ) {
         return Tunnel::IpsecGreTunnelInfo( readGreInfo( info ), readProfile( info ) );
      } );
}

template<>
IpsecVtiIntfTunnelTableEntry readTableEntry( const JsonValue & value, const TableKind & table ) {
   return readInterfaceEntry< IpsecVtiIntfTunnelTableEntry >(
      value, table, { "src", "dst", "ipsecProfile" }, []( const JsonObject & info ) {
         return Tunnel::IpsecVtiTunnelInfo( addressOf( info, "src" ), addressOf( info, "dst" ),
                                            readProfile( info ) );
      } );
}

} // namespace TunnelSim
