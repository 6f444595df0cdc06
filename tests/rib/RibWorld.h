#pragma once

#include <map>
#include <optional>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"
#include "types/TunnelTableMounter.h"

// An agent's tunnel RIB machinery over a configuration directory, and the
// producers of protocol tables and table descriptions.

namespace RibTest {

using namespace Tunnel::TunnelTable;

using Ids = std::vector< TunnelId >;
using Key = ColoredTunnelEndpoint;

inline Korvo::IpGenPrefix pfx( const std::string & text ) {
   return *Korvo::IpGenPrefix::parse( text );
}

// What a producer publishes for one tunnel. Nexthop groups and policies serve
// their first tep only and carry no preference of their own.
struct Published {
   std::uint8_t pref = 10;
   std::vector< std::string > teps = { "10.0.0.1/32" };
   TunnelColor color = 1;
   bool contributing = true;
   bool igpShortcutEligible = true;
   bool ldpTunnelingEligible = true;
   std::uint32_t m = 0;
   std::uint32_t igpCostPref = 0;
};

template< class Entry >
Entry entryOf( TunnelId id, const Published & p ) {
   if constexpr ( std::is_same_v< Entry, NexthopGroupTunnelTableEntry > ) {
      return Entry( id, pfx( p.teps.front() ), id.index() );
   } else if constexpr ( std::is_same_v< Entry, SrTePolicyTunnelTableEntry > ) {
      return Entry( id, pfx( p.teps.front() ), p.color );
   } else {
      Entry entry( id, p.pref );
      for ( const auto & tep : p.teps ) {
         entry.endpointAdd( pfx( tep ) );
      }
      if constexpr ( requires { entry.mIs( 0u ); } ) {
         entry.mIs( p.m );
      }
      if constexpr ( requires { entry.igpCostPrefIs( 0u ); } ) {
         entry.igpCostPrefIs( p.igpCostPref );
      }
      if constexpr ( std::is_same_v< Entry, BgpLuTunnelTableEntry > ) {
         entry.contributionIs( p.contributing ? BgpLuContribution::contributing
                                              : BgpLuContribution::notContributing );
      }
      if constexpr ( std::is_same_v< Entry, RsvpLerTunnelTableEntry > ) {
         entry.igpShortcutEligibleIs( p.igpShortcutEligible );
         entry.ldpTunnelingEligibleIs( p.ldpTunnelingEligible );
      }
      return entry;
   }
}

inline std::vector< TunnelId > idsOf( const TunnelRibEntry & entry ) {
   std::vector< TunnelId > ids;
   for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
      ids.push_back( entry.tunnelId( i ) );
   }
   return ids;
}

struct RibWorld {
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< TunnelTableInfoCollection > tableInfo = tunnelTableInfoCollectionFactory();
   Vel::Ptr< TunnelRibConfigDir > configDir = Vel::make< TunnelRibConfigDir >();
   Vel::Ptr< TunnelRibNameIdMap > idMap = Vel::make< TunnelRibNameIdMap >();
   Vel::Ptr< TunnelIdColl > unprogrammable = tunnelIdCollFactory();
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl;
   Vel::Ptr< BgpLuConvergence > bgpLuConvergence = Vel::make< BgpLuConvergence >();
   Vel::Ptr< TunnelConvergence > tunnelConvergence = Vel::make< TunnelConvergence >();
   Vel::Ptr< Tunnel::Gr::TunnelGrContext > grContext = Vel::make< Tunnel::Gr::TunnelGrContext >();
   // Null: the agent keeps no GR status records.
   Vel::Ptr< Tunnel::Gr::TunnelRibGrStatusContainer > grContainer;
   Vel::Ptr< TunnelRibConfigDirSm > dirSm;

   // A RIB that takes the tables, each with a configured preference or not.
   Vel::Ptr< TunnelRibConfig >
   rib( const Vel::Name & name,
        const std::map< TunnelTableIdentifier, std::optional< std::uint8_t > > & tables ) {
      auto config = configDir->tunnelRibConfigIs( name );
      for ( const auto & [ table, mapped ] : tables ) {
         auto entry = config->entryIs( table );
         if ( mapped ) {
            entry->preferenceIs( *mapped );
            entry->prefMappingIs( 1 );
         }
      }
      return config;
   }

   void describe( TunnelTableIdentifier table, bool described = true ) {
      const Vel::String name = TableIdToNameMap.at( table );
      if ( described ) {
         tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      } else {
         tableInfo->tableInfoDel( name );
      }
   }

   // Starts the agent with per-type RIBs for the given types.
   void start( const std::vector< TunnelType > & protocolTypes = {} ) {
      protoColl = protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
      for ( TunnelType type : protocolTypes ) {
         protoColl->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
      dirSm = tunnelRibConfigDirSmFactory( bgpLuConvergence, tunnelConvergence, configDir,
                                           tableInfo, entityManager, protoColl, unprogrammable,
                                           idMap, scheduler, grContainer );
   }
   void drain() { scheduler->runUntilIdle(); }

   // Calls f with the protocol table of the type, as its producer mounts it.
   template< class F >
   void withTable( TunnelType type, F && f ) {
      switch ( type ) {
       case TunnelType::ldpTunnel: return f( table< LdpTunnelTable >() );
       case TunnelType::srTunnel: return f( table< IsisSrTunnelTable >() );
       case TunnelType::ospfSrTunnel: return f( table< OspfSrTunnelTable >() );
       case TunnelType::isisFlexAlgoTunnel: return f( table< IsisFlexAlgoTunnelTable >() );
       case TunnelType::staticTunnel: return f( table< StaticTunnelTable >() );
       case TunnelType::bgpLuTunnel: return f( table< BgpLuTunnelTable >() );
       case TunnelType::nexthopGroupTunnel: return f( table< NexthopGroupTunnelTable >() );
       case TunnelType::srTePolicyTunnel: return f( table< SrTePolicyTunnelTable >() );
       case TunnelType::rsvpLerTunnel: return f( table< RsvpLerTunnelTable >() );
       default: throw std::logic_error( "no table for the type" );
      }
   }
   template< class Table >
   Vel::Ptr< Table > table() {
      return entityManager->mount< Table >( "tunnel/table/" + Vel::String( Table::tableName ) );
   }

   void publish( TunnelId id, const Published & p ) {
      withTable( id.tunnelType(), [ & ]( const auto & t ) {
         using Entry = typename std::decay_t< decltype( *t ) >::EntryType;
         t->entryIs( id, entryOf< Entry >( id, p ) );
      } );
   }
   void withdraw( TunnelId id ) {
      withTable( id.tunnelType(), [ & ]( const auto & t ) { t->entryDel( id ); } );
   }

   TunnelRibId idOf( const Vel::Name & name ) const { return idMap->tunnelRibId( name ); }
   Vel::Ptr< TunnelRibBase > ribTable( const Vel::Name & name ) const {
      const std::string path = TunnelRibConfigDirSm::statusPath( idOf( name ) );
      if ( auto colored = entityManager->lookup< ColoredTunnelRib >( path ) ) {
         return colored;
      }
      return entityManager->lookup< TunnelRib >( path );
   }
   Vel::Ptr< TunnelRibBuilderSmBase > builder( const Vel::Name & name ) const {
      return dirSm->tunnelRibSm( idOf( name ) )->tunnelRibBuilderSm();
   }
   // The RIB as written, by endpoint (without color in an uncolored RIB).
   std::map< Key, TunnelRibEntry > entries( const Vel::Name & name ) const {
      std::map< Key, TunnelRibEntry > result;
      const auto rib = ribTable( name );
      if ( auto colored = Vel::dynamicCast< ColoredTunnelRib >( rib ) ) {
         for ( const auto & [ key, entry ] : colored->entry() ) {
            result[ key ] = entry;
         }
      } else if ( auto plain = Vel::dynamicCast< TunnelRib >( rib ) ) {
         for ( const auto & [ key, entry ] : plain->entry() ) {
            result[ Key( key ) ] = entry;
         }
      }
      return result;
   }
   TunnelRibEntry at( const Vel::Name & name, const Key & key ) const {
      return ribTable( name )->tunnelRibEntry( key );
   }
};

} // namespace RibTest
