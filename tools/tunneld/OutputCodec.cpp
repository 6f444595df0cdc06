#include "tools/tunneld/OutputCodec.h"

#include <limits>
#include <span>

#include "platform/korvo/IntfId.h"
#include "tools/tunnelsim/SnapshotPrinter.h"
#include "tools/tunnelsim/ValueReaders.h"

namespace TunnelD {

using namespace Tunnel::TunnelTable;
using namespace Tunnel::TunnelFib;
using TunnelSim::Json;
using TunnelSim::JsonObject;
using TunnelSim::JsonValue;

namespace {

constexpr std::uint64_t u8Max = std::numeric_limits< std::uint8_t >::max();
constexpr std::uint64_t u16Max = std::numeric_limits< std::uint16_t >::max();
constexpr std::uint64_t u32Max = std::numeric_limits< std::uint32_t >::max();

std::string compact( const Json & json ) {
   return json.dump( -1, ' ', false, Json::error_handler_t::replace );
}

Json viasJson( std::span< const TunnelVia > vias ) {
   Json list = Json::array();
   for ( const TunnelVia & via : vias ) {
      list.push_back( { { "hop", via.hop().stringValue() },
                        { "intf", via.intfId().stringValue() },
                        { "encapId", via.encapId().isNull() ? Json()
                                                            : Json( via.encapId().stringValue() ) } } );
   }
   return list;
}

template< class Parsed >
auto parsedOr( const JsonValue & value, std::optional< Parsed > parsed, std::string_view what ) {
   if ( !parsed ) {
      value.fail( what );
   }
   return *parsed;
}

EncapId readEncapId( const JsonValue & value ) {
   return parsedOr( value, EncapId::parse( value.string() ), "an encap id such as \"mpls:3\"" );
}

TunnelVia readTunnelVia( const JsonValue & value ) {
   JsonObject object = value.object( "a via", { "hop", "intf", "encapId" } );
   JsonValue hop = object.required( "hop" );
   JsonValue intf = object.required( "intf" );
   Via via( parsedOr( hop, Korvo::IpGenAddr::parse( hop.string() ), "an address" ),
            parsedOr( intf, Korvo::IntfId::parse( intf.string() ), "an interface" ) );
   JsonValue encap = object.required( "encapId" );
   return TunnelVia( via, encap.json().is_null() ? EncapId() : readEncapId( encap ) );
}

template< class Record >
Record readRecord( EncapId id, const JsonValue & holds ) {
   auto info = Record::InfoType::parse( holds.string() );
   return Record( id, parsedOr( holds, std::move( info ), "the encapsulation's text form" ) );
}

} // namespace

std::string ribEntryKey( TunnelRibId id, const ColoredTunnelEndpoint & endpoint ) {
   std::string key = "rib:" + id.stringValue() + ":" + endpoint.tep().stringValue();
   if ( endpoint.colored() ) {
      key += "#" + std::to_string( endpoint.color() );
   }
   return key;
}

std::string ribKey( TunnelRibId id ) { return "ribs:" + id.stringValue(); }

std::string protocolRibEntryKey( TunnelType type, const Korvo::IpGenPrefix & endpoint ) {
   return "protocolRib:" + stringValue( type ) + ":" + endpoint.stringValue();
}

std::string fibEntryKey( TunnelId id ) { return "fib:" + id.stringValue(); }
std::string encapKey( EncapId id ) { return "encap:" + id.stringValue(); }
std::string unprogrammableKey( TunnelId id ) { return "unprogrammable:" + id.stringValue(); }
std::string convergenceKey( TunnelRibId id ) { return "convergence:" + id.stringValue(); }

std::string ribJson( const std::string & name, bool colored ) {
   return compact( { { "name", name }, { "colored", colored } } );
}

std::string ribEntryJson( const TunnelRibEntry & entry ) {
   return compact( TunnelSim::ribEntryJson( entry ) );
}

std::string fibEntryJson( const TunnelFibEntry & entry ) {
   return compact( { { "tunnelId", entry.tunnelId().stringValue() },
                     { "usable", entry.arePrimaryViasUsable() },
                     { "seqNo", entry.seqNo() },
                     { "vias", viasJson( entry.tunnelVia() ) },
                     { "backupVias", viasJson( entry.backupTunnelVia() ) } } );
}

template< class Record >
std::string encapJson( const Record & record ) {
   return compact( { { "encapId", record.encapId().stringValue() },
                     { "type", stringValue( record.encapId().encapType() ) },
                     { "holds", record.info().stringValue() } } );
}

template std::string encapJson( const LabelStackEncap & );
template std::string encapJson( const GreEncap & );
template std::string encapJson( const IpsecVtiEncap & );
template std::string encapJson( const IpsecGreEncap & );

RibRecord readRib( const JsonValue & value ) {
   JsonObject object = value.object( "a RIB record", { "name", "colored" } );
   return RibRecord{ object.required( "name" ).string(), object.required( "colored" ).boolean() };
}

TunnelRibEntry readRibEntry( const JsonValue & value ) {
   JsonObject object = value.object( "a RIB entry", { "endpoint", "color", "preference",
                                                      "tunnelIds", "m", "metricType", "m2",
                                                      "igpCostPref", "p2" } );
   Korvo::IpGenPrefix tep = TunnelSim::readPrefix( object.required( "endpoint" ) );
   JsonValue color = object.required( "color" );
   TunnelRibEntry entry( color.json().is_null()
                            ? ColoredTunnelEndpoint( tep )
                            : ColoredTunnelEndpoint(
                                 tep, static_cast< TunnelColor >( color.unsignedNumber( u32Max ) ) ) );
   entry.prefIs( static_cast< std::uint8_t >( object.required( "preference" ).unsignedNumber( u8Max ) ) );
   for ( const JsonValue & id : object.required( "tunnelIds" ).elements( "tunnel ids" ) ) {
      entry.addTunnelId( TunnelSim::readTunnelId( id ) );
   }
   auto u32 = [ & ]( std::string_view name ) {
      return static_cast< std::uint32_t >( object.required( name ).unsignedNumber( u32Max ) );
   };
   entry.mIs( u32( "m" ) );
   entry.metricTypeIs( u32( "metricType" ) );
   entry.m2Is( u32( "m2" ) );
   entry.igpCostPrefIs( u32( "igpCostPref" ) );
   entry.p2Is( u32( "p2" ) );
   return entry;
}

TunnelFibEntry readFibEntry( const JsonValue & value ) {
   JsonObject object =
      value.object( "a FIB entry", { "tunnelId", "usable", "seqNo", "vias", "backupVias" } );
   TunnelFibEntry entry( TunnelSim::readTunnelId( object.required( "tunnelId" ) ) );
   entry.arePrimaryViasUsableIs( object.required( "usable" ).boolean() );
   entry.seqNoIs( static_cast< std::uint16_t >( object.required( "seqNo" ).unsignedNumber( u16Max ) ) );
   auto vias = object.required( "vias" ).elements( "vias" );
   auto backups = object.required( "backupVias" ).elements( "vias" );
   if ( vias.size() > TunnelViaList::maxSize || backups.size() > TunnelViaList::maxSize ) {
      value.fail( "at most " + std::to_string( TunnelViaList::maxSize ) + " vias per list" );
   }
   for ( unsigned i = 0; i < vias.size(); ++i ) {
      entry.tunnelViaIs( i, readTunnelVia( vias[ i ] ) );
   }
   for ( unsigned i = 0; i < backups.size(); ++i ) {
      entry.backupTunnelViaIs( i, readTunnelVia( backups[ i ] ) );
   }
   return entry;
}

EncapValue readEncap( const JsonValue & value ) {
   JsonObject object = value.object( "an encap record", { "encapId", "type", "holds" } );
   EncapId id = readEncapId( object.required( "encapId" ) );
   JsonValue holds = object.required( "holds" );
   switch ( id.encapType() ) {
   case EncapType::mplsLabelStackEncap:
      return readRecord< LabelStackEncap >( id, holds );
   case EncapType::greEncap:
      return readRecord< GreEncap >( id, holds );
   case EncapType::ipsecVtiEncap:
      return readRecord< IpsecVtiEncap >( id, holds );
   case EncapType::ipsecGreEncap:
      return readRecord< IpsecGreEncap >( id, holds );
   default:
      object.required( "encapId" ).fail( "an encap id of a published encapsulation type" );
   }
}

} // namespace TunnelD
