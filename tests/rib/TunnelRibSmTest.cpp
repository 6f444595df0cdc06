#include <gtest/gtest.h>

#include "platform/mox/DumpContext.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Assert.h"
#include "rib/TunnelRibSm.h"

using namespace Tunnel::TunnelTable;

namespace {

struct TunnelRibSmFixture : ::testing::Test {
   Vel::Ptr< TunnelRibConfig > config = tunnelRibConfigFactory( "system-tunnel-rib" );
   Vel::Ptr< TunnelTableInfoCollection > tableInfo = tunnelTableInfoCollectionFactory();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< TunnelRib > rib = tunnelRibFactory();
   Vel::Ptr< Mox::TaskScheduler > scheduler = Vel::make< Mox::TaskScheduler >();
   Vel::Ptr< TunnelRibSm > sm;

   void start( TunnelRibId id ) {
      rib->idIs( id );
      sm = tunnelRibSmFactory( config, tableInfo, Vel::make< BgpLuConvergence >(), entityManager,
                               tunnelIdCollFactory(), rib, Vel::make< TunnelConvergence >(),
                               nullptr, scheduler, nullptr );
   }
   std::vector< Vel::String > filterNames() const {
      std::vector< Vel::String > names;
      for ( const auto & [ name, present ] : sm->tableTypeFilter()->table() ) {
         names.push_back( name );
      }
      return names;
   }
};

TEST_F( TunnelRibSmFixture, FilterFollowsTheConfigurationTableByTable ) {
   config->entryIs( TunnelTableIdentifier::ldpTable );
   config->entryIs( TunnelTableIdentifier::srTable );
   tableInfo->tableInfoIs( "ldp", TunnelTableInfo( "ldp", TunnelTableIdentifier::ldpTable ) );
   start( 0 );
   // The filter was complete before the mount machine first looked at it.
   EXPECT_TRUE( sm->tunnelTableEntities()->ldpTable() );
   EXPECT_EQ( filterNames(), ( std::vector< Vel::String >{ "ldp", "sr" } ) );

   config->entryDel( TunnelTableIdentifier::srTable );
   EXPECT_EQ( filterNames(), ( std::vector< Vel::String >{ "ldp" } ) );
   config->entryDel( TunnelTableIdentifier::ldpTable );
   EXPECT_TRUE( filterNames().empty() );
   EXPECT_FALSE( sm->tunnelTableEntities()->ldpTable() );

   // An identifier without a table name files the empty name (the RIB's
   // other machines refuse such a table; the filter takes it first).
   try {
      config->entryIs( TunnelTableIdentifier::greTunnelInterfaceTable );
   } catch ( const Vel::AssertionError & ) {
   }
   EXPECT_EQ( filterNames(), ( std::vector< Vel::String >{ "" } ) );
   TableIdToNameMap.erase( TunnelTableIdentifier::greTunnelInterfaceTable );
}

TEST_F( TunnelRibSmFixture, DumpNamesTheRib ) {
   start( 3 );
   Mox::DumpContext nested;
   sm->dumpState( nested, 4 );
   EXPECT_EQ( nested.text().substr( 0, nested.text().find( '\n' ) + 1 ),
              "    TunnelRibSm tunnelRibId 3\n" );
   Mox::DumpContext top;
   sm->dumpState( top, 0 );
   EXPECT_EQ( top.text().substr( 0, top.text().find( '\n' ) + 1 ), "TunnelRibSm tunnelRibId 3\n" );
}

} // namespace
