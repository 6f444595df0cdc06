#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <vector>

#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "rib/TunnelRibSm.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"
#include "types/TunnelTableMounter.h"

// Random churn over several protocol tables and tunnel RIBs, each drain
// checked against a deliberately plain statement of the selection rule: per
// endpoint, the contributing tunnels with the smallest (preference, default
// preference of their type) win together.

using namespace Tunnel::TunnelTable;

namespace {

int operationCount() {
   if ( const char * env = std::getenv( "TUNNEL_MODEL_OPS" ) ) {
      return std::atoi( env );
   }
#if defined( __SANITIZE_ADDRESS__ )
   return 800;
#else
   return 4000;
#endif
}

const std::vector< TunnelType > modelTypes = {
   TunnelType::ldpTunnel,          TunnelType::srTunnel,          TunnelType::isisFlexAlgoTunnel,
   TunnelType::ospfSrTunnel,       TunnelType::staticTunnel,      TunnelType::bgpLuTunnel,
   TunnelType::nexthopGroupTunnel, TunnelType::srTePolicyTunnel,  TunnelType::rsvpLerTunnel,
};

const std::vector< Korvo::IpGenPrefix > prefixes = {
   *Korvo::IpGenPrefix::parse( "10.0.0.1/32" ), *Korvo::IpGenPrefix::parse( "10.0.0.2/32" ),
   *Korvo::IpGenPrefix::parse( "10.0.0.3/32" ), *Korvo::IpGenPrefix::parse( "10.0.0.4/32" ),
};

// What a producer has published for one tunnel.
struct Published {
   std::uint8_t pref = 0;
   std::vector< Korvo::IpGenPrefix > teps;
   TunnelColor color = 0;
   bool contributing = true;
   bool igpShortcutEligible = true;
   bool ldpTunnelingEligible = true;
};

struct RibDef {
   Vel::Name name;
   std::map< TunnelTableIdentifier, std::optional< std::uint8_t > > tables; // mapped preference
   TunnelRibId id;
};

struct Expected {
   std::vector< TunnelId > ids;
   TunnelEntryPref pref;
};

using Key = ColoredTunnelEndpoint;

std::uint8_t ownPref( TunnelType type, const Published & p ) {
   switch ( type ) {
    case TunnelType::nexthopGroupTunnel:
      return NexthopGroupTunnelTableEntry::entryPref;
    case TunnelType::srTePolicyTunnel:
      return SrTePolicyTunnelTableEntry::entryPref;
    default:
      return p.pref;
   }
}

struct Model {
   std::map< TunnelId, Published > entries;
   std::set< TunnelId > unprogrammable;
   std::set< TunnelTableIdentifier > described;

   struct Candidate {
      std::uint8_t pref;
      std::uint8_t defaultPref;
      TunnelId id;
      friend auto operator<=>( const Candidate &, const Candidate & ) = default;
   };

   // Every tunnel a RIB may take, per key, with the preference it competes
   // with; unprogrammable tunnels included only when asked.
   std::map< Key, std::vector< Candidate > > candidates( const RibDef & rib, bool colored,
                                                        bool withUnprogrammable ) const {
      std::map< Key, std::vector< Candidate > > result;
      for ( const auto & [ id, p ] : entries ) {
         const TunnelTableIdentifier table = id.tableType();
         auto configured = rib.tables.find( table );
         if ( configured == rib.tables.end() || !described.count( table ) ) {
            continue;
         }
         if ( !withUnprogrammable && unprogrammable.count( id ) ) {
            continue;
         }
         const TunnelType type = id.tunnelType();
         if ( type == TunnelType::bgpLuTunnel && !p.contributing ) {
            continue;
         }
         if ( type == TunnelType::rsvpLerTunnel &&
              ( ( rib.id.value() == 3 && !p.igpShortcutEligible ) ||
                ( rib.id.value() == 2 && !p.ldpTunnelingEligible ) ) ) {
            continue;
         }
         const std::uint8_t pref = configured->second ? *configured->second : ownPref( type, p );
         std::set< Key > keys;
         for ( const auto & prefix : p.teps ) {
            keys.insert( colored && type == TunnelType::srTePolicyTunnel ? Key( prefix, p.color )
                                                                        : Key( prefix ) );
         }
         for ( const Key & key : keys ) {
            result[ key ].push_back( { pref, getDefaultPrefForType( type ), id } );
         }
      }
      return result;
   }

   std::map< Key, Expected > expected( const RibDef & rib, bool colored ) const {
      std::map< Key, Expected > result;
      for ( auto & [ key, cands ] : candidates( rib, colored, false ) ) {
         std::sort( cands.begin(), cands.end() );
         Expected e{ {}, cands.front().pref };
         for ( const auto & c : cands ) {
            if ( c.pref == cands.front().pref && c.defaultPref == cands.front().defaultPref ) {
               e.ids.push_back( c.id );
            }
         }
         result[ key ] = e;
      }
      return result;
   }
};

std::vector< TunnelId > idsOf( const TunnelRibEntry & entry ) {
   std::vector< TunnelId > ids;
   for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
      ids.push_back( entry.tunnelId( i ) );
   }
   return ids;
}

std::string text( const std::vector< TunnelId > & ids ) {
   std::ostringstream os;
   for ( TunnelId id : ids ) {
      os << id << " ";
   }
   return os.str();
}

// The agent around the configuration directory machine, and the producers
// of the protocol tables.
struct World {
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< TunnelTableInfoCollection > tableInfo = tunnelTableInfoCollectionFactory();
   Vel::Ptr< TunnelRibConfigDir > configDir = Vel::make< TunnelRibConfigDir >();
   Vel::Ptr< TunnelRibNameIdMap > idMap = Vel::make< TunnelRibNameIdMap >();
   Vel::Ptr< TunnelIdColl > unprogrammable = tunnelIdCollFactory();
   Vel::Ptr< BgpLuConvergence > bgpLuConvergence = Vel::make< BgpLuConvergence >();
   Vel::Ptr< TunnelConvergence > tunnelConvergence = Vel::make< TunnelConvergence >();
   Vel::Ptr< ProtocolTunnelRibCollection > protoColl;
   Vel::Ptr< TunnelRibConfigDirSm > dirSm;
   std::vector< RibDef > ribs;
   Model model;

   World() {
      scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
      using T = TunnelTableIdentifier;
      ribs = {
         { TunnelRibNameIdMap::systemTunnelRibName,
           { { T::ldpTable, {} }, { T::srTable, {} }, { T::isisFlexAlgoTable, {} },
             { T::staticTable, {} }, { T::bgpLuTable, {} }, { T::ospfSrTable, {} },
             { T::nexthopGroupTable, {} } },
           {} },
         { TunnelRibNameIdMap::systemColoredTunnelRibName,
           { { T::srTePolicyTable, {} }, { T::ldpTable, {} }, { T::srTable, {} },
             { T::isisFlexAlgoTable, {} }, { T::rsvpLerTable, {} } },
           {} },
         { TunnelRibNameIdMap::igpShortcutRibName,
           { { T::rsvpLerTable, {} }, { T::ldpTable, 20 }, { T::staticTable, {} } },
           {} },
         { "custom",
           { { T::srTable, 10 }, { T::isisFlexAlgoTable, {} }, { T::ospfSrTable, {} },
             { T::srTePolicyTable, {} }, { T::bgpLuTable, {} } },
           {} },
      };
      for ( auto & rib : ribs ) {
         auto config = configDir->tunnelRibConfigIs( rib.name );
         for ( const auto & [ table, mapped ] : rib.tables ) {
            auto entry = config->entryIs( table );
            if ( mapped ) {
               entry->preferenceIs( *mapped );
               entry->prefMappingIs( 1 );
            }
         }
      }
      for ( TunnelType type : modelTypes ) {
         describe( TunnelId( type, 1 ).tableType(), true );
      }
   }

   void start() {
      protoColl = protocolTunnelRibCollectionFactory( "protocolTunnelRibs" );
      for ( TunnelType type : modelTypes ) {
         protoColl->protocolTunnelRibIs( type )->tunnelRibIs( tunnelRibFactory() );
      }
      dirSm = tunnelRibConfigDirSmFactory( bgpLuConvergence, tunnelConvergence, configDir,
                                           tableInfo, entityManager, protoColl, unprogrammable,
                                           idMap, scheduler, nullptr );
      for ( auto & rib : ribs ) {
         rib.id = idMap->tunnelRibId( rib.name );
      }
   }

   static Vel::String nameOf( TunnelTableIdentifier table ) { return TableIdToNameMap.at( table ); }

   void describe( TunnelTableIdentifier table, bool described ) {
      const Vel::String name = nameOf( table );
      if ( described ) {
         tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
         model.described.insert( table );
      } else {
         tableInfo->tableInfoDel( name );
         model.described.erase( table );
      }
   }

   template< class Table >
   Vel::Ptr< Table > table() {
      return entityManager->mount< Table >( "tunnel/table/" + Vel::String( Table::tableName ) );
   }

   template< class Entry >
   static Entry labelled( TunnelId id, const Published & p ) {
      Entry entry( id, p.pref );
      for ( const auto & tep : p.teps ) {
         entry.endpointAdd( tep );
      }
      return entry;
   }

   void publish( TunnelId id, const Published & p ) {
      model.entries[ id ] = p;
      switch ( id.tunnelType() ) {
       case TunnelType::ldpTunnel:
         table< LdpTunnelTable >()->entryIs( id, labelled< LdpTunnelTableEntry >( id, p ) );
         break;
       case TunnelType::srTunnel:
         table< IsisSrTunnelTable >()->entryIs( id, labelled< SrTunnelTableEntry >( id, p ) );
         break;
       case TunnelType::ospfSrTunnel:
         table< OspfSrTunnelTable >()->entryIs( id, labelled< SrTunnelTableEntry >( id, p ) );
         break;
       case TunnelType::isisFlexAlgoTunnel:
         table< IsisFlexAlgoTunnelTable >()->entryIs(
            id, labelled< FlexAlgoTunnelTableEntry >( id, p ) );
         break;
       case TunnelType::staticTunnel:
         table< StaticTunnelTable >()->entryIs( id, labelled< StaticTunnelTableEntry >( id, p ) );
         break;
       case TunnelType::bgpLuTunnel: {
         auto entry = labelled< BgpLuTunnelTableEntry >( id, p );
         entry.contributionIs( p.contributing ? BgpLuContribution::contributing
                                              : BgpLuContribution::notContributing );
         table< BgpLuTunnelTable >()->entryIs( id, entry );
         break;
       }
       case TunnelType::nexthopGroupTunnel:
         table< NexthopGroupTunnelTable >()->entryIs(
            id, NexthopGroupTunnelTableEntry( id, p.teps.front(), id.index() ) );
         break;
       case TunnelType::srTePolicyTunnel:
         table< SrTePolicyTunnelTable >()->entryIs(
            id, SrTePolicyTunnelTableEntry( id, p.teps.front(), p.color ) );
         break;
       case TunnelType::rsvpLerTunnel: {
         auto entry = labelled< RsvpLerTunnelTableEntry >( id, p );
         entry.igpShortcutEligibleIs( p.igpShortcutEligible );
         entry.ldpTunnelingEligibleIs( p.ldpTunnelingEligible );
         table< RsvpLerTunnelTable >()->entryIs( id, entry );
         break;
       }
       default:
         FAIL() << "no table for " << id;
      }
   }

   void withdraw( TunnelId id ) {
      model.entries.erase( id );
      switch ( id.tunnelType() ) {
       case TunnelType::ldpTunnel: table< LdpTunnelTable >()->entryDel( id ); break;
       case TunnelType::srTunnel: table< IsisSrTunnelTable >()->entryDel( id ); break;
       case TunnelType::ospfSrTunnel: table< OspfSrTunnelTable >()->entryDel( id ); break;
       case TunnelType::isisFlexAlgoTunnel: table< IsisFlexAlgoTunnelTable >()->entryDel( id ); break;
       case TunnelType::staticTunnel: table< StaticTunnelTable >()->entryDel( id ); break;
       case TunnelType::bgpLuTunnel: table< BgpLuTunnelTable >()->entryDel( id ); break;
       case TunnelType::nexthopGroupTunnel: table< NexthopGroupTunnelTable >()->entryDel( id ); break;
       case TunnelType::srTePolicyTunnel: table< SrTePolicyTunnelTable >()->entryDel( id ); break;
       case TunnelType::rsvpLerTunnel: table< RsvpLerTunnelTable >()->entryDel( id ); break;
       default: FAIL() << "no table for " << id;
      }
   }

   void unprogrammableIs( TunnelId id, bool on ) {
      if ( on ) {
         model.unprogrammable.insert( id );
         unprogrammable->entryIs( id, true );
      } else {
         model.unprogrammable.erase( id );
         unprogrammable->entryDel( id );
      }
   }

   // The RIB as written, by the key the model uses.
   std::map< Key, TunnelRibEntry > actual( const RibDef & rib ) const {
      std::map< Key, TunnelRibEntry > result;
      const std::string path = TunnelRibConfigDirSm::statusPath( rib.id );
      if ( auto colored = entityManager->lookup< ColoredTunnelRib >( path ) ) {
         for ( const auto & [ key, entry ] : colored->entry() ) {
            result[ key ] = entry;
         }
      } else if ( auto plain = entityManager->lookup< TunnelRib >( path ) ) {
         for ( const auto & [ key, entry ] : plain->entry() ) {
            result[ Key( key ) ] = entry;
         }
      }
      return result;
   }

   bool colored( const RibDef & rib ) const { return rib.id.isSystemColoredRibId(); }

   void checkRibs() {
      for ( const auto & rib : ribs ) {
         SCOPED_TRACE( "rib " + rib.name.text() );
         const auto expected = model.expected( rib, colored( rib ) );
         const auto actual = this->actual( rib );
         ASSERT_EQ( actual.size(), expected.size() );
         for ( const auto & [ key, want ] : expected ) {
            auto found = actual.find( key );
            ASSERT_NE( found, actual.end() ) << key;
            auto ids = idsOf( found->second );
            std::sort( ids.begin(), ids.end() );
            ASSERT_EQ( ids, want.ids ) << key << ": " << text( ids ) << "/ " << text( want.ids );
            ASSERT_EQ( found->second.pref(), want.pref ) << key;
         }
         checkBuilder( rib );
      }
      checkProtocolRibs();
   }

   // The system RIB also keeps, per type, every contributing tunnel per tep.
   void checkProtocolRibs() {
      const RibDef & system = ribs.front();
      std::map< TunnelType, std::map< Korvo::IpGenPrefix, std::vector< TunnelId > > > want;
      for ( const auto & [ key, cands ] : model.candidates( system, false, false ) ) {
         for ( const auto & c : cands ) {
            want[ c.id.tunnelType() ][ key.tep() ].push_back( c.id );
         }
      }
      for ( const auto & [ type, wrapper ] : protoColl->protocolTunnelRib() ) {
         SCOPED_TRACE( "per-type rib " + stringValue( type ) );
         const auto & wanted = want[ type ];
         ASSERT_EQ( wrapper->tunnelRib()->size(), wanted.size() );
         for ( const auto & [ prefix, ids ] : wanted ) {
            auto got = idsOf( wrapper->tunnelRib()->tunnelRibEntry( Key( prefix ) ) );
            std::sort( got.begin(), got.end() );
            ASSERT_EQ( got, ids ) << prefix;
         }
      }
   }

   // The builder's own bookkeeping agrees with itself and with the RIB.
   void checkBuilder( const RibDef & rib ) {
      auto ribSm = dirSm->tunnelRibSm( rib.id );
      ASSERT_TRUE( ribSm );
      const auto & builder = ribSm->tunnelRibBuilderSm();
      ASSERT_TRUE( builder );
      ASSERT_EQ( builder->isColored(), colored( rib ) );
      EXPECT_TRUE( builder->tunnelForReview().empty() );
      const auto & internal = builder->internalTunnelRib();
      for ( const auto & [ id, teps ] : builder->tunnelIdToTepSet() ) {
         ASSERT_TRUE( teps->tepSet() && !teps->tepSet()->empty() ) << id;
         for ( const auto & [ tep, present ] : teps->tepSet()->coloredTep() ) {
            auto ordered = internal->entry( tep );
            ASSERT_TRUE( ordered ) << id << " " << tep;
            ASSERT_TRUE( std::any_of( ordered->begin(), ordered->end(), [ & ]( const auto & c ) {
               return c.first.tunnelId() == id;
            } ) ) << id << " " << tep;
         }
      }
      for ( const auto & [ tep, ordered ] : internal->entry() ) {
         ASSERT_FALSE( ordered->empty() ) << tep;
         for ( const auto & [ candidate, present ] : *ordered ) {
            auto teps = builder->tunnelIdToTepSet( candidate.tunnelId() );
            ASSERT_TRUE( teps && teps->tepSet()->coloredTepHas( tep ) ) << candidate.tunnelId();
         }
      }
      for ( const auto & [ key, entry ] : actual( rib ) ) {
         ASSERT_TRUE( internal->entryHas( builder->ribTep( entry.coloredTep() ) ) ) << key;
         const auto ids = idsOf( entry );
         for ( TunnelId id : ids ) {
            ASSERT_EQ( builder->tunnelTableEntryFilter()->preference( id ), entry.pref() ) << id;
            for ( TunnelId other : ids ) {
               ASSERT_TRUE( tunnelTypesCanFormEcmp( id.tunnelType(), other.tunnelType() ) );
            }
         }
      }
   }
};

struct Churn {
   std::mt19937 rng;
   World & world;

   unsigned pick( unsigned n ) { return std::uniform_int_distribution< unsigned >( 0, n - 1 )( rng ); }
   bool chance( unsigned percent ) { return pick( 100 ) < percent; }

   TunnelId anyId() {
      return TunnelId( modelTypes[ pick( modelTypes.size() ) ], 1 + pick( 5 ) );
   }

   Published randomEntry( TunnelId id ) {
      Published p;
      const std::uint8_t prefs[] = { 10, 20, 30 };
      p.pref = prefs[ pick( 3 ) ];
      // Nexthop groups and policies serve a single endpoint.
      const bool single = id.tunnelType() == TunnelType::nexthopGroupTunnel ||
                          id.tunnelType() == TunnelType::srTePolicyTunnel;
      const unsigned count = single ? 1 : 1 + pick( 2 );
      std::set< unsigned > chosen;
      while ( chosen.size() < count ) {
         chosen.insert( pick( prefixes.size() ) );
      }
      for ( unsigned i : chosen ) {
         p.teps.push_back( prefixes[ i ] );
      }
      p.color = 1 + pick( 2 );
      p.contributing = chance( 75 );
      p.igpShortcutEligible = chance( 70 );
      p.ldpTunnelingEligible = chance( 70 );
      return p;
   }

   void step() {
      const unsigned roll = pick( 100 );
      if ( roll < 50 ) {
         TunnelId id = anyId();
         world.publish( id, randomEntry( id ) );
      } else if ( roll < 70 ) {
         if ( world.model.entries.empty() ) {
            return;
         }
         auto it = world.model.entries.begin();
         std::advance( it, pick( world.model.entries.size() ) );
         world.withdraw( it->first );
      } else if ( roll < 82 ) {
         TunnelId id = anyId();
         world.unprogrammableIs( id, !world.model.unprogrammable.count( id ) );
      } else if ( roll < 88 ) {
         // The flex-algo reactor keeps no seen ids, so its table's removal
         // reports no tunnel gone; that table stays.
         TunnelTableIdentifier table = anyId().tableType();
         if ( table == TunnelTableIdentifier::isisFlexAlgoTable ) {
            return;
         }
         world.describe( table, !world.model.described.count( table ) );
      } else if ( roll < 95 ) {
         // A table's tunnels all take (or leave) a configured preference.
         RibDef & rib = world.ribs[ pick( world.ribs.size() ) ];
         auto it = rib.tables.begin();
         std::advance( it, pick( rib.tables.size() ) );
         auto entry = world.configDir->tunnelRibConfig( rib.name )->entry( it->first );
         if ( it->second ) {
            it->second.reset();
            entry->prefMappingIs( 0 );
         } else {
            const std::uint8_t prefs[] = { 5, 20, 40 };
            it->second = prefs[ pick( 3 ) ];
            entry->preferenceIs( *it->second );
            entry->prefMappingIs( 1 );
         }
      } else {
         // A review of every RIB entry runs alongside the backlog.
         auto config = world.configDir->tunnelRibConfig( world.ribs[ pick( 4 ) ].name );
         auto entry = config->entry().begin()->second;
         entry->igpCostPrefIs( static_cast< std::uint8_t >( pick( 5 ) ) );
         entry->igpCostPrefMappingIs( entry->igpCostPrefMapping()() ? 0 : 1 );
      }
   }
};

TEST( SelectionModel, EveryRibFollowsRandomChurnAndARestartKeepsWhatIsSupported ) {
   World world;
   world.start();
   const char * seed = std::getenv( "TUNNEL_MODEL_SEED" );
   Churn churn{ std::mt19937( seed ? std::atoi( seed ) : 20261122 ), world };
   const int operations = operationCount();
   for ( int i = 0; i < operations; ++i ) {
      SCOPED_TRACE( "operation " + std::to_string( i ) );
      churn.step();
      world.scheduler->runUntilIdle();
      world.checkRibs();
      if ( ::testing::Test::HasFatalFailure() ) {
         return;
      }
   }

   // The agent goes away; its RIBs stay while the producers go on.
   world.dirSm.reset();
   for ( int i = 0; i < 40; ++i ) {
      churn.step();
   }
   // The unprogrammable tunnels are the agent's own state and start empty.
   world.unprogrammable = tunnelIdCollFactory();
   world.model.unprogrammable.clear();
   world.start();
   // Before any review, every RIB holds only what its inputs still support.
   for ( const auto & rib : world.ribs ) {
      const auto supported = world.model.candidates( rib, world.colored( rib ), true );
      for ( const auto & [ key, entry ] : world.actual( rib ) ) {
         auto cands = supported.find( key );
         ASSERT_NE( cands, supported.end() ) << rib.name << " " << key;
         for ( TunnelId id : idsOf( entry ) ) {
            EXPECT_TRUE( std::any_of( cands->second.begin(), cands->second.end(),
                                      [ & ]( const auto & c ) {
                                         return c.id == id && c.pref == entry.pref();
                                      } ) )
               << rib.name << " " << key << " " << id;
         }
      }
   }
   world.scheduler->runUntilIdle();
   world.checkRibs();
}

} // namespace
