#include "tools/tunnelsim/ValueReaders.h"

#include <string>

#include "platform/korvo/IntfId.h"
#include "platform/vel/RangeException.h"
#include "tools/tunnelsim/TableKind.h"

namespace TunnelSim {

using Tunnel::TunnelTable::MplsVia;
using Tunnel::TunnelTable::TunnelId;
using Tunnel::TunnelTable::Via;

namespace {

constexpr const char * tunnelIdText =
   "a tunnel id such as \"ldp:12\" (a tunnel type name, a colon and an index) or a raw "
   "64-bit value";

Via viaOf( const JsonObject & object ) {
   Via via;
   if ( auto hop = object.get( "hop" ) ) {
      via.hopIs( readAddress( *hop ) );
   }
   auto intf = object.get( "intf" );
   auto tunnel = object.get( "tunnel" );
   if ( intf && tunnel ) {
      tunnel->fail( "either \"intf\" or \"tunnel\" in one via, not both" );
   }
   if ( intf ) {
      constexpr const char * expected = "an interface name such as \"Ethernet1\", "
                                        "\"NexthopGroup5\" or \"DynamicTunnel0x300000000001\"";
      auto parsed = Korvo::IntfId::parse( intf->string( "an interface name" ) );
      if ( !parsed ) {
         intf->fail( expected );
      }
      // The tunnel FIB resolves a dynamic tunnel interface to its tunnel, so
      // the number must be a tunnel id.
      if ( parsed->kind() == Korvo::IntfId::Kind::dynamicTunnel ) {
         if ( parsed->tunnelIdValue() > TunnelId::maxValue ) {
            intf->fail( "a dynamic tunnel interface whose number is a tunnel id, at most "
                        "0x1ffffffffffff" );
         }
         if ( TunnelId id( parsed->tunnelIdValue() ); !someTableHolds( id ) ) {
            refuseTablelessId( *intf, "a dynamic tunnel interface whose number is a tunnel id",
                               id );
         }
      }
      via.intfIdIs( *parsed );
   }
   if ( tunnel ) {
      via.intfIdIs( Korvo::IntfId::dynamicTunnel( readTableTunnelId( *tunnel ).value() ) );
   }
   return via;
}

} // namespace

TunnelId readTunnelId( const JsonValue & value ) {
   std::string text = value.string( tunnelIdText );
   try {
      if ( auto id = TunnelId::parse( text ) ) {
         return *id;
      }
   } catch ( const Vel::RangeException & ) {
   }
   value.fail( tunnelIdText );
}

Korvo::IpGenPrefix readPrefix( const JsonValue & value ) {
   constexpr const char * expected =
      "an IPv4 or IPv6 prefix such as \"10.0.0.1/32\" or \"2001:db8::1/128\"";
   auto prefix = Korvo::IpGenPrefix::parse( value.string( expected ) );
   if ( !prefix ) {
      value.fail( expected );
   }
   return *prefix;
}

Korvo::IpGenAddr readAddress( const JsonValue & value ) {
   constexpr const char * expected = "an IPv4 or IPv6 address such as \"10.1.0.2\"";
   auto address = Korvo::IpGenAddr::parse( value.string( expected ) );
   if ( !address || address->family() == Korvo::AddressFamily::none ) {
      value.fail( expected );
   }
   return *address;
}

Korvo::MplsLabelOperation readLabelOperation( const JsonObject & object ) {
   using Korvo::MplsLabelOperation;
   std::string action = "push";
   if ( auto field = object.get( "action" ) ) {
      action = field->string( "\"push\", \"swap\" or \"pop\"" );
      if ( action != "push" && action != "swap" && action != "pop" ) {
         field->fail( "\"push\", \"swap\" or \"pop\"" );
      }
   }
   std::string text = action + " [";
   if ( auto field = object.get( "labels" ) ) {
      auto labels = field->elements( "a list of MPLS labels, outermost first" );
      if ( action == "pop" && !labels.empty() ) {
         field->fail( "no labels for a pop" );
      }
      if ( labels.size() > MplsLabelOperation::maxStackSize ) {
         field->fail( "at most " + std::to_string( MplsLabelOperation::maxStackSize ) +
                      " labels" );
      }
      for ( const JsonValue & label : labels ) {
         text += ' ';
         text += std::to_string( label.unsignedNumber( MplsLabelOperation::maxLabel ) );
      }
   }
   // Every label was checked above, so the text form always parses.
   return *MplsLabelOperation::parse( text + " ]" );
}

Via readVia( const JsonValue & value ) {
   return viaOf( value.object( "a via: an object with \"hop\" and \"intf\" or \"tunnel\"",
                               { "hop", "intf", "tunnel" } ) );
}

MplsVia readMplsVia( const JsonValue & value ) {
   JsonObject object = value.object(
      "a via: an object with \"hop\", \"intf\" or \"tunnel\", \"action\" and \"labels\"",
      { "hop", "intf", "tunnel", "action", "labels" } );
   return MplsVia( viaOf( object ), readLabelOperation( object ) );
}

} // namespace TunnelSim
