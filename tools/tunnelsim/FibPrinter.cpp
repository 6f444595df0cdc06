#include "tools/tunnelsim/FibPrinter.h"

#include <optional>
#include <variant>
#include <span>

#include "platform/korvo/IntfId.h"
#include "tools/tunnelsim/AlignedRows.h"
#include "types/TunnelFib.h"

namespace TunnelSim {

using Korvo::MplsLabelOperation;
using Tunnel::TunnelFib::EncapId;
using Tunnel::TunnelFib::TunnelFibEntry;
using Tunnel::TunnelFib::TunnelVia;
using Tunnel::TunnelTable::TunnelId;

namespace {

const char * actionName( Korvo::MplsLabelAction action ) {
   switch ( action ) {
   case Korvo::MplsLabelAction::push:
      return "push";
   case Korvo::MplsLabelAction::swap:
      return "swap";
   case Korvo::MplsLabelAction::pop:
      return "pop";
   }
   return "?";
}

// What an encapsulation holds as JSON fields, the same in a via and in the
// list of encapsulations.
struct EncapFields {
   Json & json;

   void operator()( const MplsLabelOperation & op ) const {
      if ( op.action() != Korvo::MplsLabelAction::push ) {
         json[ "action" ] = actionName( op.action() );
      }
      Json labels = Json::array();
      for ( std::size_t i = 0; i < op.stackSize(); ++i ) {
         Korvo::MplsLabel label = op.label( i );
         labels.push_back( label == MplsLabelOperation::entropyLabel ? Json( "EL" )
                                                                     : Json( label ) );
      }
      json[ "labels" ] = std::move( labels );
   }
   void operator()( const Tunnel::GreTunnelInfo & gre ) const {
      json[ "src" ] = gre.src().stringValue();
      json[ "dst" ] = gre.dst().stringValue();
      json[ "ttl" ] = gre.ttl();
      json[ "tos" ] = gre.tos();
   }
   void operator()( const Tunnel::IpsecGreTunnelInfo & info ) const {
      ( *this )( info.gre() );
      json[ "ipsecProfile" ] = info.ipsecProfile();
   }
   void operator()( const Tunnel::IpsecVtiTunnelInfo & vti ) const {
      json[ "src" ] = vti.src().stringValue();
      json[ "dst" ] = vti.dst().stringValue();
      json[ "ipsecProfile" ] = vti.ipsecProfile();
   }
};

// The same as one line of text: labels outermost first in brackets, the
// action ahead of them when it is not a push; GRE and IPsec values by name.
struct EncapText {
   std::string operator()( const MplsLabelOperation & op ) const {
      std::string text = op.stringValue();
      constexpr std::string_view push = "push ";
      return text.starts_with( push ) ? text.substr( push.size() ) : text;
   }
   std::string operator()( const Tunnel::GreTunnelInfo & gre ) const {
      return "src " + gre.src().stringValue() + " dst " + gre.dst().stringValue() + " ttl " +
             std::to_string( gre.ttl() ) + " tos " + std::to_string( gre.tos() );
   }
   std::string operator()( const Tunnel::IpsecGreTunnelInfo & info ) const {
      return ( *this )( info.gre() ) + " ipsecProfile " + info.ipsecProfile();
   }
   std::string operator()( const Tunnel::IpsecVtiTunnelInfo & vti ) const {
      return "src " + vti.src().stringValue() + " dst " + vti.dst().stringValue() +
             " ipsecProfile " + vti.ipsecProfile();
   }
};

// The tunnel a dynamic tunnel interface stands for, when it names one.
std::optional< TunnelId > tunnelOfInterface( const Korvo::IntfId & intf ) {
   if ( !Korvo::DynamicTunnelIntfId::isDynamicTunnelIntfId( intf ) ||
        Korvo::DynamicTunnelIntfId::tunnelId( intf ) > TunnelId::maxValue ) {
      return std::nullopt;
   }
   return TunnelId( Korvo::DynamicTunnelIntfId::tunnelId( intf ) );
}

Json viaJson( const TunnelVia & via, const FibView & fib ) {
   Json json = Json::object();
   json[ "hop" ] = via.hop().stringValue();
   json[ "intf" ] = via.intfId().stringValue();
   if ( auto tunnel = tunnelOfInterface( via.intfId() ) ) {
      json[ "tunnel" ] = tunnel->stringValue();
   }
   EncapId id = via.encapId();
   json[ "encapId" ] = id.isNull() ? Json() : Json( id.stringValue() );
   auto encap = fib.encaps.find( id );
   if ( encap != fib.encaps.end() ) {
      std::visit( EncapFields{ json }, encap->second.value );
   } else if ( !id.isNull() ) {
      // Named by the entry but not in the encap tables.
      json[ "published" ] = false;
   }
   return json;
}

Json viasJson( std::span< const TunnelVia > vias, const FibView & fib ) {
   Json json = Json::array();
   for ( const TunnelVia & via : vias ) {
      json.push_back( viaJson( via, fib ) );
   }
   return json;
}

std::string interfaceText( const Korvo::IntfId & intf ) {
   auto tunnel = tunnelOfInterface( intf );
   return intf.stringValue() + ( tunnel ? " (" + tunnel->stringValue() + ")" : "" );
}

std::string encapHoldsText( EncapId id, const FibView & fib ) {
   auto encap = fib.encaps.find( id );
   if ( encap != fib.encaps.end() ) {
      return std::visit( EncapText{}, encap->second.value );
   }
   return id.isNull() ? "" : "(not published)";
}

void addViaRows( const TunnelFibEntry & entry, const FibView & fib, std::vector< Row > & rows ) {
   bool first = true;
   auto add = [ & ]( const char * kind, const TunnelVia & via ) {
      rows.push_back( { first ? entry.tunnelId().stringValue() : "", kind,
                        via.hop().stringValue(), interfaceText( via.intfId() ),
                        via.encapId().isNull() ? "-" : via.encapId().stringValue(),
                        encapHoldsText( via.encapId(), fib ) } );
      first = false;
   };
   for ( const TunnelVia & via : entry.tunnelVia() ) {
      add( "primary", via );
   }
   for ( const TunnelVia & via : entry.backupTunnelVia() ) {
      add( "backup", via );
   }
   if ( first ) {
      rows.push_back( { entry.tunnelId().stringValue(), "(no vias)", "", "", "", "" } );
   }
}

} // namespace

Json fibJson( const FibView & fib ) {
   Json entries = Json::array();
   for ( const TunnelFibEntry & entry : fib.entries ) {
      Json json = Json::object();
      json[ "tunnelId" ] = entry.tunnelId().stringValue();
      json[ "vias" ] = viasJson( entry.tunnelVia(), fib );
      json[ "backupVias" ] = viasJson( entry.backupTunnelVia(), fib );
      entries.push_back( std::move( json ) );
   }
   Json encaps = Json::array();
   for ( const auto & [ id, encap ] : fib.encaps ) {
      Json json = Json::object();
      json[ "encapId" ] = id.stringValue();
      json[ "type" ] = stringValue( id.encapType() );
      json[ "refCount" ] = encap.refCount;
      if ( encap.writerRefCount ) {
         json[ "writerRefCount" ] = *encap.writerRefCount;
      }
      std::visit( EncapFields{ json }, encap.value );
      encaps.push_back( std::move( json ) );
   }
   Json unprogrammable = Json::array();
   for ( TunnelId id : fib.unprogrammable ) {
      unprogrammable.push_back( id.stringValue() );
   }
   Json json = Json::object();
   json[ "entries" ] = std::move( entries );
   json[ "encaps" ] = std::move( encaps );
   json[ "unprogrammable" ] = std::move( unprogrammable );
   return json;
}

std::string fibTable( const FibView & fib ) {
   std::string out = "FIB (" + std::string( Tunnel::TunnelFib::TunnelFib::mountPath ) + ")\n";
   if ( fib.entries.empty() ) {
      out += "  (no entries)\n";
   } else {
      std::vector< Row > rows = { { "tunnel id", "via", "hop", "interface", "encap id",
                                    "encap holds" } };
      for ( const TunnelFibEntry & entry : fib.entries ) {
         addViaRows( entry, fib, rows );
      }
      out += alignedRows( rows, "  " );
   }
   out += "FIB encaps\n";
   if ( fib.encaps.empty() ) {
      out += "  (none)\n";
   } else {
      std::vector< Row > rows = { { "encap id", "type", "refs", "holds" } };
      for ( const auto & [ id, encap ] : fib.encaps ) {
         rows.push_back( { id.stringValue(), stringValue( id.encapType() ),
                           std::to_string( encap.refCount ) +
                              ( encap.writerRefCount
                                   ? " (writer " + std::to_string( *encap.writerRefCount ) + ")"
                                   : "" ),
                           std::visit( EncapText{}, encap.value ) } );
      }
      out += alignedRows( rows, "  " );
   }
   std::string ids;
   for ( TunnelId id : fib.unprogrammable ) {
      ids += ( ids.empty() ? "" : ", " ) + id.stringValue();
   }
   out += "FIB unprogrammable tunnels: " + ( ids.empty() ? std::string( "none" ) : ids ) + "\n";
   return out;
}

} // namespace TunnelSim
