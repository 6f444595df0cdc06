#pragma once

#include <initializer_list>
#include <map>
#include <string>

#include "ingest/TunnelTableEntities.h"
#include "platform/korvo/IpGenPrefix.h"
#include "platform/mox/TaskScheduler.h"
#include "rib/ColoredTunnelRibBuilderSm.h"
#include "rib/PreferenceMapperSm.h"
#include "rib/TunnelRibBuilderSm.h"
#include "types/ColoredTunnelRib.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelRib.h"

namespace RibTest {

using namespace Tunnel::TunnelTable;

inline Korvo::IpGenPrefix pfx( const std::string & text ) {
   return *Korvo::IpGenPrefix::parse( text );
}
inline ColoredTunnelEndpoint tep( const std::string & text ) {
   return ColoredTunnelEndpoint( pfx( text ) );
}
inline ColoredTunnelEndpoint tep( const std::string & text, TunnelColor color ) {
   return ColoredTunnelEndpoint( pfx( text ), color );
}

// An entry of one of the IGP or label-stack kinds, serving the given teps.
template< class Entry >
Entry mplsEntry( TunnelId id, std::uint8_t pref, std::initializer_list< const char * > teps ) {
   Entry entry( id, pref );
   for ( const char * t : teps ) {
      entry.endpointAdd( pfx( t ) );
   }
   return entry;
}

// One tunnel RIB's preference mapper and builder over tables filed directly
// in the entities, as the per-RIB machine would assemble them.
struct RibHarness {
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< TunnelTableEntities > entities = tunnelTableEntitiesFactory();
   Vel::Ptr< TunnelIdColl > unprogrammable = tunnelIdCollFactory();
   Vel::Ptr< TunnelRibConfig > config = tunnelRibConfigFactory( "rib" );
   Vel::Ptr< TunnelTableEntryFilter > filter = tunnelTableEntryFilterFactory();
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl;
   Vel::Ptr< TunnelRibBase > rib;
   Vel::Ptr< PreferenceMapperSm > mapper;
   Vel::Ptr< TunnelRibBuilderSmBase > builder;

   explicit RibHarness( TunnelRibId id = 5, bool colored = false ) {
      if ( colored ) {
         rib = coloredTunnelRibFactory();
      } else {
         rib = tunnelRibFactory();
      }
      rib->idIs( id );
   }

   // Keeps per-type RIBs, as the system tunnel RIB does.
   void withProtoColl( std::initializer_list< TunnelType > types ) {
      protoColl = protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
      for ( TunnelType type : types ) {
         protoColl->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
   }

   // The table of its type: made, configured for the RIB and filed on first use.
   template< class Table >
   Vel::Ptr< Table > table() {
      const Vel::String name( Table::tableName );
      auto & held = tables[ name ];
      if ( !held ) {
         held = Vel::make< Table >();
         config->entryIs( Table::tableId );
         entities->tunnelTableIs( name, held );
      }
      return Vel::dynamicCast< Table >( held );
   }
   std::map< Vel::String, Vel::Ptr< TunnelTableBase > > tables;

   void start() {
      mapper = preferenceMapperSmFactory( entities, unprogrammable, config, filter, rib->tunnelRibId() );
      if ( rib->isColored() ) {
         builder = coloredTunnelRibBuilderSmFactory( entities, unprogrammable, filter, rib, protoColl,
                                                     scheduler, config, nullptr );
      } else {
         builder = tunnelRibBuilderSmFactory( entities, unprogrammable, filter, rib, protoColl,
                                              scheduler, config, nullptr, nullptr, nullptr,
                                              nullptr );
      }
   }
   void drain() { scheduler->runUntilIdle(); }

   TunnelRibEntry at( const ColoredTunnelEndpoint & t ) const { return rib->tunnelRibEntry( t ); }
   std::vector< TunnelId > idsAt( const ColoredTunnelEndpoint & t ) const {
      TunnelRibEntry e = at( t );
      std::vector< TunnelId > ids;
      for ( unsigned i = 0; i < e.tunnelIdCount(); ++i ) {
         ids.push_back( e.tunnelId( i ) );
      }
      return ids;
   }
};

} // namespace RibTest
