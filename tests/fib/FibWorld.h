#pragma once

#include <string>
#include <vector>

#include "agent/TunnelAgent.h"
#include "platform/vel/Trace.h"
#include "fib/TunnelFibSm.h"
#include "fib/TunnelFibViaCalculation.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableMounter.h"

// An agent with the tunnel FIB over every described table, the producers'
// side of the tables, and the FIB read back as short texts.

namespace FibTest {

using namespace Tunnel::TunnelTable;
namespace Fib = Tunnel::TunnelFib;
using Korvo::MplsLabelAction;
using Korvo::MplsLabelOperation;

inline TunnelId ldp( std::uint64_t i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
inline TunnelId sr( std::uint64_t i ) { return TunnelId( TunnelType::srTunnel, i ); }
inline TunnelId bgpLu( std::uint64_t i ) { return TunnelId( TunnelType::bgpLuTunnel, i ); }
inline TunnelId rsvpLer( std::uint64_t i ) { return TunnelId( TunnelType::rsvpLerTunnel, i ); }
inline TunnelId of( TunnelType type, std::uint64_t i ) { return TunnelId( type, i ); }

inline Korvo::IpGenAddr addr( const std::string & text ) { return *Korvo::IpGenAddr::parse( text ); }
inline MplsLabelOperation push( std::initializer_list< Korvo::MplsLabel > labels ) {
   return MplsLabelOperation( MplsLabelAction::push, labels );
}
// A via out of an interface, or over a tunnel.
inline Via out( const std::string & hop, const std::string & intf ) {
   return Via( addr( hop ), Korvo::IntfId::ordinary( intf ) );
}
inline Via over( TunnelId lower ) {
   return Via( addr( "0.0.0.0" ), Korvo::IntfId::dynamicTunnel( lower.value() ) );
}

struct FibWorld {
   Tunnel::TunnelAgent agent;

   FibWorld() {
      for ( const char * name : { "ldp", "sr", "ospfSr", "bgpLu", "bgpLuPush", "static",
                                  "srTeSegmentList", "rsvpLer", "rsvpLerSub", "rsvpFrr", "tiLfa",
                                  "isisFlexAlgoTunnel", "nexthopGroup", "greTunnelInterface",
                                  "ipsecGreTunnelInterface", "ipsecVtiTunnelInterface" } ) {
         agent.tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      }
   }

   Vel::Ptr< TunnelFibSm > sm() const { return agent.tunnelFibSm(); }
   void drain() { agent.scheduler->runUntilIdle(); }

   // An MPLS-via entry (ldp, sr, static, ...) with the vias.
   template< class Table >
   void mplsEntry( TunnelId id, std::vector< MplsVia > vias ) {
      typename Table::EntryType entry( id, 10 );
      for ( const MplsVia & via : vias ) {
         entry.mplsViaAdd( via );
      }
      agent.producerTable< Table >()->entryIs( id, entry );
   }
   void ldpEntry( TunnelId id, std::vector< MplsVia > vias ) {
      mplsEntry< LdpTunnelTable >( id, std::move( vias ) );
   }
   void srEntry( TunnelId id, std::vector< MplsVia > vias ) {
      mplsEntry< IsisSrTunnelTable >( id, std::move( vias ) );
   }
   void bgpLuEntry( TunnelId id, std::vector< Via > vias, MplsLabelOperation labels,
                    bool contributing = true ) {
      BgpLuTunnelTableEntry entry( id, 10 );
      for ( const Via & via : vias ) {
         entry.viaAdd( via );
      }
      entry.labelOperationIs( labels );
      entry.contributionIs( contributing ? BgpLuContribution::contributing
                                         : BgpLuContribution::notContributing );
      agent.producerTable< BgpLuTunnelTable >()->entryIs( id, entry );
   }
   void rsvpLerEntry( TunnelId id, MplsVia primary, MplsVia backup = MplsVia() ) {
      RsvpLerTunnelTableEntry entry( id, 10 );
      entry.primaryViaIs( primary );
      entry.backupViaIs( backup );
      agent.producerTable< RsvpLerTunnelTable >()->entryIs( id, entry );
   }
   template< class Table >
   void remove( TunnelId id ) {
      agent.producerTable< Table >()->entryDel( id );
   }

   // "hop intf labels" per primary via, then "backup: ..." per backup via.
   std::vector< std::string > fib( TunnelId id ) const {
      std::vector< std::string > text;
      const Fib::TunnelFibEntry * entry = agent.tunnelFib->entryFind( id );
      if ( !entry ) {
         return text;
      }
      auto viaText = [ this ]( const Fib::TunnelVia & via ) {
         std::string s = via.hop().stringValue() + " " + via.intfId().stringValue();
         if ( via.encapId().encapType() == Fib::EncapType::mplsLabelStackEncap ) {
            s += " " + agent.tunnelFib->labelStackEncap( via.encapId() ).info().stringValue();
         } else {
            s += " " + via.encapId().stringValue();
         }
         return s;
      };
      for ( const Fib::TunnelVia & via : entry->tunnelVia() ) {
         text.push_back( viaText( via ) );
      }
      for ( const Fib::TunnelVia & via : entry->backupTunnelVia() ) {
         text.push_back( "backup: " + viaText( via ) );
      }
      return text;
   }
   bool unprogrammable( TunnelId id ) const { return agent.unprogrammable->entryHas( id ); }

   // The tunnels whose FIB entry was (re)computed, in the order the trace
   // shows them.
   static std::vector< TunnelId > computed( const Vel::TestTraceSink & trace ) {
      std::vector< TunnelId > ids;
      const std::string marker = "doUpdateTunnelFibEntry tunnelId: ";
      for ( const std::string & line : trace.lines() ) {
         if ( auto at = line.find( marker ); at != std::string::npos ) {
            std::string rest = line.substr( at + marker.size() );
            ids.push_back( *TunnelId::parse( rest.substr( 0, rest.find( ' ' ) ) ) );
         }
      }
      return ids;
   }
};

using Texts = std::vector< std::string >;

} // namespace FibTest
