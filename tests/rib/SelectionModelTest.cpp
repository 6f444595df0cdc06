#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <random>
#include <set>

#include "EndpointExplanationCheck.h"
#include "RibWorld.h"
#include "UnderSanitizer.h"

// Random churn over protocol tables and tunnel RIBs, every drain checked
// against a plain statement of the selection rule: per endpoint, the
// contributing tunnels with the smallest (preference, default preference of
// their type) win together.

using namespace RibTest;

namespace {

// Thousands of operations in a second or two; fewer under the sanitizers.
int operationCount() {
   const char * env = std::getenv( "TUNNEL_MODEL_OPS" );
   return env ? std::atoi( env ) : underSanitizer ? 800 : 4000;
}

const std::vector< TunnelType > types = {
   TunnelType::ldpTunnel,    TunnelType::srTunnel,          TunnelType::isisFlexAlgoTunnel,
   TunnelType::ospfSrTunnel, TunnelType::staticTunnel,      TunnelType::bgpLuTunnel,
   TunnelType::nexthopGroupTunnel, TunnelType::srTePolicyTunnel, TunnelType::rsvpLerTunnel,
};
const std::vector< std::string > prefixes = { "10.0.0.1/32", "10.0.0.2/32", "10.0.0.3/32",
                                              "10.0.0.4/32" };

using Tables = std::map< TunnelTableIdentifier, std::optional< std::uint8_t > >;
struct RibDef {
   Vel::Name name;
   Tables tables;
};

struct Candidate {
   std::uint8_t pref;
   std::uint8_t defaultPref;
   TunnelId id;
   friend auto operator<=>( const Candidate &, const Candidate & ) = default;
};

struct Model {
   std::map< TunnelId, Published > entries;
   std::set< TunnelId > unprogrammable;
   std::set< TunnelTableIdentifier > described;

   // Per key, every tunnel the RIB may take with the preference it competes
   // with.
   std::map< Key, std::vector< Candidate > > candidates( const RibDef & rib, TunnelRibId id,
                                                        bool withUnprogrammable ) const {
      std::map< Key, std::vector< Candidate > > result;
      for ( const auto & [ tid, p ] : entries ) {
         const TunnelType type = tid.tunnelType();
         auto table = rib.tables.find( tid.tableType() );
         const bool eligible = type != TunnelType::rsvpLerTunnel ||
                               ( id.value() == 3 ? p.igpShortcutEligible
                                                 : id.value() != 2 || p.ldpTunnelingEligible );
         if ( table == rib.tables.end() || !described.count( table->first ) || !eligible ||
              ( !withUnprogrammable && unprogrammable.count( tid ) ) ||
              ( type == TunnelType::bgpLuTunnel && !p.contributing ) ) {
            continue;
         }
         const bool single =
            type == TunnelType::nexthopGroupTunnel || type == TunnelType::srTePolicyTunnel;
         const std::uint8_t ownPref = type == TunnelType::nexthopGroupTunnel ? 25
                                      : type == TunnelType::srTePolicyTunnel ? 255
                                                                             : p.pref;
         std::set< Key > keys;
         for ( const auto & tep : p.teps ) {
            keys.insert( id.isSystemColoredRibId() && type == TunnelType::srTePolicyTunnel
                            ? Key( pfx( tep ), p.color )
                            : Key( pfx( tep ) ) );
            if ( single ) {
               break;
            }
         }
         for ( const Key & key : keys ) {
            result[ key ].push_back(
               { table->second.value_or( ownPref ), getDefaultPrefForType( type ), tid } );
         }
      }
      return result;
   }
};

struct ModelTest : ::testing::Test {
   RibWorld world;
   Model model;
   std::mt19937 rng;
   std::vector< RibDef > ribs;
   unsigned checks = 0;

   void SetUp() override {
      const char * seed = std::getenv( "TUNNEL_MODEL_SEED" );
      rng.seed( seed ? std::atoi( seed ) : 20261122 );
      world.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( 1 ) );
      using T = TunnelTableIdentifier;
      ribs = {
         { TunnelRibNameIdMap::systemTunnelRibName,
           { { T::ldpTable, {} }, { T::srTable, {} }, { T::isisFlexAlgoTable, {} },
             { T::staticTable, {} }, { T::bgpLuTable, {} }, { T::ospfSrTable, {} },
             { T::nexthopGroupTable, {} } } },
         { TunnelRibNameIdMap::systemColoredTunnelRibName,
           { { T::srTePolicyTable, {} }, { T::ldpTable, {} }, { T::srTable, {} },
             { T::isisFlexAlgoTable, {} }, { T::rsvpLerTable, {} } } },
         { TunnelRibNameIdMap::igpShortcutRibName,
           { { T::rsvpLerTable, {} }, { T::ldpTable, 20 }, { T::staticTable, {} } } },
         { "custom",
           { { T::srTable, 10 }, { T::isisFlexAlgoTable, {} }, { T::ospfSrTable, {} },
             { T::srTePolicyTable, {} }, { T::bgpLuTable, {} } } },
      };
      for ( const auto & rib : ribs ) {
         world.rib( rib.name, rib.tables );
      }
      for ( TunnelType type : types ) {
         describe( TunnelId( type, 1 ).tableType(), true );
      }
   }

   unsigned pick( std::size_t n ) {
      return std::uniform_int_distribution< unsigned >( 0, unsigned( n ) - 1 )( rng );
   }
   TunnelId anyId() { return TunnelId( types[ pick( types.size() ) ], 1 + pick( 5 ) ); }
   void describe( TunnelTableIdentifier table, bool on ) {
      world.describe( table, on );
      on ? ( void )model.described.insert( table ) : ( void )model.described.erase( table );
   }

   void step() {
      const unsigned roll = pick( 100 );
      if ( roll < 50 ) {
         const TunnelId id = anyId();
         Published p;
         p.pref = std::uint8_t( 10 * ( 1 + pick( 3 ) ) );
         p.teps = { prefixes[ pick( 4 ) ], prefixes[ pick( 4 ) ] };
         p.teps.resize( 1 + pick( 2 ) );
         p.color = 1 + pick( 2 );
         p.contributing = pick( 4 ) != 0;
         p.igpShortcutEligible = pick( 3 ) != 0;
         p.ldpTunnelingEligible = pick( 3 ) != 0;
         model.entries[ id ] = p;
         world.publish( id, p );
      } else if ( roll < 70 && !model.entries.empty() ) {
         auto it = std::next( model.entries.begin(), pick( model.entries.size() ) );
         world.withdraw( it->first );
         model.entries.erase( it );
      } else if ( roll < 82 ) {
         const TunnelId id = anyId();
         if ( model.unprogrammable.erase( id ) ) {
            world.unprogrammable->entryDel( id );
         } else {
            model.unprogrammable.insert( id );
            world.unprogrammable->entryIs( id, true );
         }
      } else if ( roll < 88 ) {
         // The flex-algo reactor keeps no seen ids, so removing its table
         // reports no tunnel gone: that table stays.
         const TunnelTableIdentifier table = anyId().tableType();
         if ( table != TunnelTableIdentifier::isisFlexAlgoTable ) {
            describe( table, !model.described.count( table ) );
         }
      } else if ( roll < 95 ) {
         // A table's tunnels all take, or leave, a configured preference.
         RibDef & rib = ribs[ pick( ribs.size() ) ];
         auto it = std::next( rib.tables.begin(), pick( rib.tables.size() ) );
         auto entry = world.configDir->tunnelRibConfig( rib.name )->entry( it->first );
         if ( it->second ) {
            it->second.reset();
            entry->prefMappingIs( 0 );
         } else {
            it->second = std::uint8_t( 5 + 15 * pick( 3 ) );
            entry->preferenceIs( *it->second );
            entry->prefMappingIs( 1 );
         }
      } else {
         // A walk over every RIB entry runs alongside the backlog.
         auto config = world.configDir->tunnelRibConfig( ribs[ pick( ribs.size() ) ].name );
         auto entry = config->entry().begin()->second;
         entry->igpCostPrefIs( std::uint8_t( pick( 5 ) ) );
         entry->igpCostPrefMappingIs( !entry->igpCostPrefMapping()() );
      }
   }

   void checkRibs() {
      ++checks;
      for ( const auto & rib : ribs ) {
         SCOPED_TRACE( rib.name.text() );
         const TunnelRibId id = world.idOf( rib.name );
         std::map< Key, std::pair< Ids, TunnelEntryPref > > expected;
         for ( auto & [ key, cands ] : model.candidates( rib, id, false ) ) {
            std::sort( cands.begin(), cands.end() );
            auto & [ ids, pref ] = expected[ key ];
            pref = cands.front().pref;
            for ( const auto & c : cands ) {
               if ( c.pref == pref && c.defaultPref == cands.front().defaultPref ) {
                  ids.push_back( c.id );
               }
            }
         }
         std::map< Key, std::pair< Ids, TunnelEntryPref > > actual;
         for ( const auto & [ key, entry ] : world.entries( rib.name ) ) {
            Ids ids = idsOf( entry );
            std::sort( ids.begin(), ids.end() );
            actual[ key ] = { ids, entry.pref() };
         }
         ASSERT_EQ( actual, expected );
         checkBuilder( rib.name, id );
         if ( checks % explanationCheckStride == 0 ) {
            checkEndpointExplanations(
               world, rib.name,
               { model.entries, model.unprogrammable, model.described, rib.tables } );
         }
      }
      // The system RIB also keeps, per type, every contributing tunnel per tep.
      std::map< TunnelType, std::map< Key, Ids > > perType;
      for ( const auto & [ key, cands ] : model.candidates( ribs.front(), 0, false ) ) {
         for ( const auto & c : cands ) {
            perType[ c.id.tunnelType() ][ key ].push_back( c.id );
         }
      }
      for ( const auto & [ type, wrapper ] : world.protoColl->protocolTunnelRib() ) {
         std::map< Key, Ids > actual;
         for ( const auto & [ prefix, entry ] : wrapper->tunnelRib()->entry() ) {
            Ids ids = idsOf( entry );
            std::sort( ids.begin(), ids.end() );
            actual[ Key( prefix ) ] = ids;
         }
         ASSERT_EQ( actual, perType[ type ] ) << type;
      }
   }

   // The builder's bookkeeping agrees with itself and with its RIB.
   void checkBuilder( const Vel::Name & name, TunnelRibId id ) {
      const auto builder = world.builder( name );
      ASSERT_EQ( builder->isColored(), id.isSystemColoredRibId() );
      ASSERT_TRUE( builder->tunnelForReview().empty() );
      const auto & internal = builder->internalTunnelRib();
      std::set< std::pair< TunnelId, Key > > fromTepSets, fromCandidates;
      for ( const auto & [ tid, teps ] : builder->tunnelIdToTepSet() ) {
         ASSERT_FALSE( teps.tepSet()->empty() ) << tid;
         for ( const auto & [ tep, present ] : teps.tepSet()->coloredTep() ) {
            fromTepSets.insert( { tid, tep } );
         }
      }
      for ( const auto & [ tep, ordered ] : internal->entry() ) {
         ASSERT_FALSE( ordered.empty() ) << tep;
         for ( const auto & [ candidate, present ] : ordered ) {
            fromCandidates.insert( { candidate.tunnelId(), tep } );
         }
      }
      ASSERT_EQ( fromTepSets, fromCandidates );
      for ( const auto & [ key, entry ] : world.entries( name ) ) {
         ASSERT_TRUE( internal->entryHas( builder->ribTep( entry.coloredTep() ) ) ) << key;
         for ( TunnelId tid : idsOf( entry ) ) {
            ASSERT_EQ( builder->tunnelTableEntryFilter()->preference( tid ), entry.pref() );
            ASSERT_TRUE( tunnelTypesCanFormEcmp( tid.tunnelType(), entry.tunnelId( 0 ).tunnelType() ) );
         }
      }
   }
};

TEST_F( ModelTest, EveryRibFollowsRandomChurnAndARestartKeepsWhatIsSupported ) {
   world.start( types );
   for ( int i = 0, n = operationCount(); i < n; ++i ) {
      SCOPED_TRACE( "operation " + std::to_string( i ) );
      step();
      world.drain();
      checkRibs();
      if ( HasFatalFailure() ) {
         return;
      }
   }

   // The agent goes while the producers go on; its RIBs stay. Its own
   // unprogrammable set starts empty again.
   world.dirSm.reset();
   for ( int i = 0; i < 40; ++i ) {
      step();
   }
   world.unprogrammable = tunnelIdCollFactory();
   model.unprogrammable.clear();
   world.start( types );
   // Before any review every RIB holds only ids its inputs still support.
   for ( const auto & rib : ribs ) {
      auto supported = model.candidates( rib, world.idOf( rib.name ), true );
      for ( const auto & [ key, entry ] : world.entries( rib.name ) ) {
         for ( TunnelId tid : idsOf( entry ) ) {
            const auto & cands = supported[ key ];
            EXPECT_NE( std::find( cands.begin(), cands.end(),
                                  Candidate{ entry.pref(), getDefaultPrefForType( tid.tunnelType() ), tid } ),
                       cands.end() )
               << key << " " << tid;
         }
      }
   }
   world.drain();
   checkRibs();
}

} // namespace
