#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "agent/TunnelAgent.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableMounter.h"

// Everything the producers and the configuration give an agent, kept as plain
// values so that it can be written into a running agent change by change and
// replayed whole into a fresh one.

namespace AgentTest {

using namespace Tunnel::TunnelTable;

inline Korvo::IpGenAddr addr( const std::string & text ) {
   return *Korvo::IpGenAddr::parse( text );
}
inline Korvo::IpGenPrefix prefix( const std::string & text ) {
   return *Korvo::IpGenPrefix::parse( text );
}
inline Via out( const std::string & hop, const std::string & intf ) {
   return Via( addr( hop ), Korvo::IntfId::ordinary( intf ) );
}
inline Via over( TunnelId lower ) {
   return Via( addr( "0.0.0.0" ), Korvo::IntfId::dynamicTunnel( lower.value() ) );
}
inline Korvo::MplsLabelOperation push( std::vector< Korvo::MplsLabel > labels ) {
   Korvo::MplsLabelOperation op( Korvo::MplsLabelAction::push, {} );
   for ( auto label = labels.rbegin(); label != labels.rend(); ++label ) {
      op.labelPush( *label );
   }
   return op;
}

// One tunnel as its producer publishes it. Which fields count depends on the
// table: BGP-LU applies `bgpLuLabels` to each of `vias`' next hops; an RSVP
// LER tunnel without a via list has `primary` and maybe `backup`; a GRE
// interface tunnel leaves by `vias.front()` with `gre`.
struct Published {
   std::uint8_t pref = 10;
   std::vector< std::string > endpoints;
   std::vector< MplsVia > vias;
   Korvo::MplsLabelOperation bgpLuLabels;
   bool contributing = true;
   MplsVia primary;
   MplsVia backup;
   Tunnel::GreTunnelInfo gre;
};

// The tables a RIB takes, each with a configured preference or none.
using RibTables = std::map< TunnelTableIdentifier, std::optional< std::uint8_t > >;

struct Inputs {
   std::map< TunnelId, Published > tunnels;
   // Names of the tables whose descriptions are published.
   std::set< std::string > described;
   std::map< std::string, RibTables > ribs;
   bool entropyLabelPush = false;
};

// Calls f with std::type_identity of the table that holds the tunnel.
template< class F >
void withTableTypeOf( TunnelId id, F && f ) {
   switch ( id.tunnelType() ) {
   case TunnelType::ldpTunnel:
      return f( std::type_identity< LdpTunnelTable >() );
   case TunnelType::srTunnel:
      return f( std::type_identity< IsisSrTunnelTable >() );
   case TunnelType::staticTunnel:
      return f( std::type_identity< StaticTunnelTable >() );
   case TunnelType::bgpLuTunnel:
      return f( std::type_identity< BgpLuTunnelTable >() );
   case TunnelType::rsvpLerTunnel:
      return f( std::type_identity< RsvpLerTunnelTable >() );
   case TunnelType::staticInterfaceTunnel:
      return f( std::type_identity< GreIntfTunnelTable >() );
   default:
      throw std::logic_error( "no producer for " + id.stringValue() );
   }
}

// The name under which the tunnel's table is described.
inline std::string tableNameOf( TunnelId id ) {
   std::string name;
   withTableTypeOf( id, [ &name ]( auto table ) { name = decltype( table )::type::tableName; } );
   return name;
}

inline void publish( Tunnel::TunnelAgent & agent, TunnelId id, const Published & published ) {
   withTableTypeOf( id, [ & ]( auto tableType ) {
      using Table = typename decltype( tableType )::type;
      using Entry = typename Table::EntryType;
      const auto table = agent.producerTable< Table >();
      if constexpr ( std::is_same_v< Entry, GreIntfTunnelTableEntry > ) {
         table->entryIs( id, Entry( id, published.vias.front().via(), published.gre ) );
      } else {
         Entry entry( id, published.pref );
         for ( const std::string & endpoint : published.endpoints ) {
            entry.endpointAdd( prefix( endpoint ) );
         }
         if constexpr ( std::is_same_v< Entry, BgpLuTunnelTableEntry > ) {
            for ( const MplsVia & via : published.vias ) {
               entry.viaAdd( via.via() );
            }
            entry.labelOperationIs( published.bgpLuLabels );
            entry.contributionIs( published.contributing ? BgpLuContribution::contributing
                                                    : BgpLuContribution::notContributing );
         } else {
            for ( const MplsVia & via : published.vias ) {
               entry.mplsViaAdd( via );
            }
            if constexpr ( std::is_same_v< Entry, RsvpLerTunnelTableEntry > ) {
               entry.primaryViaIs( published.primary );
               entry.backupViaIs( published.backup );
            }
         }
         table->entryIs( id, entry );
      }
   } );
}

inline void withdraw( Tunnel::TunnelAgent & agent, TunnelId id ) {
   withTableTypeOf( id, [ & ]( auto tableType ) {
      agent.producerTable< typename decltype( tableType )::type >()->entryDel( id );
   } );
}

inline void describe( Tunnel::TunnelAgent & agent, const std::string & table, bool described ) {
   if ( described ) {
      agent.tableInfo->tableInfoIs( table, TunnelTableMounter::tableInfo( table ) );
   } else {
      agent.tableInfo->tableInfoDel( table );
   }
}

// Makes the RIB's configuration take exactly the tables given, touching only
// what differs, as an operator's edit would.
inline void configure( Tunnel::TunnelAgent & agent, const std::string & name,
                       const RibTables & tables ) {
   auto config = agent.ribConfigDir->tunnelRibConfig( name );
   if ( !config ) {
      config = agent.ribConfigDir->tunnelRibConfigIs( name );
   }
   std::vector< TunnelTableIdentifier > dropped;
   for ( const auto & [ table, entry ] : config->entry() ) {
      if ( !tables.count( table ) ) {
         dropped.push_back( table );
      }
   }
   for ( TunnelTableIdentifier table : dropped ) {
      config->entryDel( table );
   }
   for ( const auto & [ table, preference ] : tables ) {
      auto entry = config->entryIs( table );
      if ( preference ) {
         entry->preferenceIs( *preference );
      }
      entry->prefMappingIs( preference ? 1 : 0 );
   }
}

inline void unconfigure( Tunnel::TunnelAgent & agent, const std::string & name ) {
   agent.ribConfigDir->tunnelRibConfigDel( name );
}

// Gives a fresh agent everything at once.
inline void replay( Tunnel::TunnelAgent & agent, const Inputs & inputs ) {
   for ( const std::string & table : inputs.described ) {
      describe( agent, table, true );
   }
   for ( const auto & [ id, published ] : inputs.tunnels ) {
      publish( agent, id, published );
   }
   for ( const auto & [ name, tables ] : inputs.ribs ) {
      configure( agent, name, tables );
   }
   agent.mplsTunnelConfig->entropyLabelPushIs( inputs.entropyLabelPush );
}

} // namespace AgentTest
