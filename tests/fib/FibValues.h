#pragma once

#include <functional>
#include <string>

#include "fib/ConsolidatedTunnelFibEntry.h"
#include "platform/vel/Assert.h"
#include "platform/vel/RangeException.h"

// Values the FIB tests build their entries from.
namespace FibValues {

using namespace Tunnel::TunnelTable;
using Tunnel::GreTunnelInfo;
using Tunnel::IpsecGreTunnelInfo;
using Tunnel::IpsecVtiTunnelInfo;
using Tunnel::TunnelFib::EncapId;
using Tunnel::TunnelFib::EncapType;
using Korvo::MplsLabelAction;
using Korvo::MplsLabelOperation;

inline Korvo::IpGenAddr addr( const char * text ) { return *Korvo::IpGenAddr::parse( text ); }
inline Via via( const char * hop, const char * intf = "Ethernet1" ) {
   return Via( addr( hop ), *Korvo::IntfId::parse( intf ) );
}
inline MplsLabelOperation push( std::initializer_list< Korvo::MplsLabel > labels ) {
   return MplsLabelOperation( MplsLabelAction::push, labels );
}
inline GreTunnelInfo gre( const char * src, const char * dst ) {
   return GreTunnelInfo( addr( src ), addr( dst ) );
}
inline IpsecGreTunnelInfo ipsecGre( const char * src, const char * dst, const char * profile ) {
   return IpsecGreTunnelInfo( gre( src, dst ), profile );
}
inline IpsecVtiTunnelInfo ipsecVti( const char * src, const char * dst, const char * profile ) {
   return IpsecVtiTunnelInfo( addr( src ), addr( dst ), profile );
}
inline TunnelId ldp( std::uint64_t index ) { return TunnelId( TunnelType::ldpTunnel, index ); }
inline EncapId encapId( EncapType type, std::uint32_t index ) {
   return EncapId::encapValueIs( type, index );
}

inline ViaAndTunnelInfo labelStackRecord( const Via & v, const MplsLabelOperation & op ) {
   ViaAndTunnelInfo info( v, EncapType::mplsLabelStackEncap );
   info.labelStackIs( op );
   return info;
}

// One entry with one label-stack via.
inline ConsolidatedTunnelFibEntry labelStackEntry( TunnelId id, const Via & v,
                                                   const MplsLabelOperation & op ) {
   ConsolidatedTunnelFibEntry cons( id );
   cons.insertLabelStackVia( v, op );
   return cons;
}

// The text of the assertion or range error that `f` raises; "" when none.
inline std::string failureText( const std::function< void() > & f ) {
   try {
      f();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   } catch ( const Vel::RangeException & e ) {
      return e.what();
   }
   return "";
}

} // namespace FibValues
