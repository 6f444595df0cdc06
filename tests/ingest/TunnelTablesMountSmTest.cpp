#include <gtest/gtest.h>

#include <vector>

#include "ingest/TunnelTablesMountSm.h"
#include "platform/vel/Trace.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;

namespace {

struct MountFixture : ::testing::Test {
   Vel::Ptr< TunnelTableInfoCollection > infos = tunnelTableInfoCollectionFactory();
   Vel::Ptr< TunnelTableTypeFilter > filter = tunnelTableTypeFilterFactory();
   Vel::Ptr< Statix::EntityManager > entityManager = Vel::make< Statix::EntityManager >();
   Vel::Ptr< TunnelTableEntities > entities = tunnelTableEntitiesFactory();

   Vel::Ptr< TunnelTablesMountSm > makeSm() {
      return tunnelTablesMountSmFactory( infos, filter, entityManager, entities );
   }
   void describe( const char * name ) {
      infos->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
   }
};

TEST_F( MountFixture, TableIsFiledWhileDescribedAndWantedWhicheverChangesLast ) {
   auto sm = makeSm();
   Vel::TestTraceSink trace( 8 );
   describe( "ldp" );
   EXPECT_TRUE( entityManager->mounted( "tunnel/table/ldp" ) );
   EXPECT_FALSE( entities->tunnelTableHas( "ldp" ) );
   EXPECT_TRUE( trace.contains( " not interested in this table" ) );

   filter->tableIs( "ldp" );
   auto ldp = entities->ldpTable();
   ASSERT_TRUE( ldp );
   EXPECT_EQ( ldp.get(), entityManager->lookup< LdpTunnelTable >( "tunnel/table/ldp" ).get() );
   // The filing helper traces as the plain function it is.
   EXPECT_TRUE( trace.contains(
      "void Tunnel::TunnelTable::setTableEntity(Tunnel::TunnelTable::TunnelTableEntities&, "
      "const Vel::String&, const Vel::PtrConst<Tunnel::TunnelTable::TunnelTableBase>&)"
      "setTableEntity Adding tunnel entity" ) );

   // Removing the wish deletes it though it is still described.
   filter->tableDel( "ldp" );
   EXPECT_FALSE( entities->tunnelTableHas( "ldp" ) );
   filter->tableIs( "ldp" );
   EXPECT_TRUE( entities->tunnelTableHas( "ldp" ) );
   // Removing the description deletes it though it is still wanted.
   trace.clear();
   infos->tableInfoDel( "ldp" );
   EXPECT_FALSE( entities->tunnelTableHas( "ldp" ) );
   EXPECT_TRUE( trace.contains( " Tunnel Table ldp has been removed" ) );
   EXPECT_TRUE( trace.contains( "setTableEntity Deleting tunnel entity" ) );
   // A default description counts as removed.
   describe( "ldp" );
   EXPECT_TRUE( entities->tunnelTableHas( "ldp" ) );
   infos->tableInfoIs( "ldp", TunnelTableInfo() );
   EXPECT_FALSE( entities->tunnelTableHas( "ldp" ) );
}

TEST_F( MountFixture, ConstructionFilesWhatIsAlreadyDescribedAndWanted ) {
   for ( const char * name : { "ldp", "sr", "greTunnelInterface", "tiLfa" } ) {
      describe( name );
   }
   filter->tableIs( "sr" );
   filter->tableIs( "greTunnelInterface" );
   filter->tableIs( "ospfSr" ); // wanted, not described
   entities->tunnelTableIs( "stale", nullptr );
   auto sm = makeSm();
   std::vector< std::string > names;
   for ( const auto & [ name, table ] : entities->tunnelTable() ) {
      names.push_back( name );
   }
   EXPECT_EQ( names, ( std::vector< std::string >{ "greTunnelInterface", "sr" } ) );
   EXPECT_TRUE( entities->srTable() );
   EXPECT_TRUE( entities->greIntfTable() );
   EXPECT_EQ( entities->greIntfTable()->tunnelType(), TunnelType::staticInterfaceTunnel );
   EXPECT_EQ( entities->greIntfTable()->tunnelTableId(),
              TunnelTableIdentifier::greTunnelInterfaceTable );
   // Every described table is mounted, wanted or not.
   EXPECT_TRUE( entityManager->mounted( "tunnel/table/tiLfa" ) );
}

TEST_F( MountFixture, TypedAccessorsAreNullForAnotherTypeOrAnAbsentName ) {
   // "ldp" described with the identifier of the IS-IS SR table.
   infos->tableInfoIs( "ldp", TunnelTableInfo( "ldp", TunnelTableIdentifier::srTable ) );
   filter->tableIs( "ldp" );
   auto sm = makeSm();
   ASSERT_TRUE( entities->tunnelTableHas( "ldp" ) );
   EXPECT_FALSE( entities->ldpTable() );
   EXPECT_FALSE( entities->srTable() );
   EXPECT_TRUE( entities->typedTable< IsisSrTunnelTable >() == nullptr );
   // An identifier that names no table type mounts nothing and files nothing.
   infos->tableInfoIs( "odd", TunnelTableInfo( "odd", TunnelTableIdentifier::vxlanTable ) );
   filter->tableIs( "odd" );
   EXPECT_FALSE( entities->tunnelTableHas( "odd" ) );
   EXPECT_FALSE( entityManager->mounted( "tunnel/table/odd" ) );
}

// The typed view, and whether an identifier's name is filed, follow every
// change under the name, including one made while a reactor of the
// collection reads them.
TEST( TunnelTableEntities, TypedViewFollowsReplacementAndRemoval ) {
   auto entities = tunnelTableEntitiesFactory();
   EXPECT_FALSE( entities->ldpTable() );
   EXPECT_FALSE( entities->tunnelTableHas( TunnelTableIdentifier::ldpTable ) );
   auto first = Vel::make< LdpTunnelTable >();
   entities->tunnelTableIs( "ldp", first );
   EXPECT_EQ( entities->ldpTable().get(), first.get() );
   EXPECT_TRUE( entities->tunnelTableHas( TunnelTableIdentifier::ldpTable ) );
   EXPECT_FALSE( entities->tunnelTableHas( TunnelTableIdentifier::srTable ) );
   std::vector< const void * > seenByReactor;
   auto reactor = entities->tunnelTable().react(
      [ & ]( const Vel::String & ) { seenByReactor.push_back( entities->ldpTable().get() ); } );
   auto second = Vel::make< LdpTunnelTable >();
   entities->tunnelTableIs( "ldp", second );
   EXPECT_EQ( entities->ldpTable().get(), second.get() );
   entities->tunnelTableIs( "ldp", Vel::make< StaticTunnelTable >() );
   EXPECT_FALSE( entities->ldpTable() );
   EXPECT_TRUE( entities->tunnelTableHas( TunnelTableIdentifier::ldpTable ) );
   entities->tunnelTableIs( "ldp", first );
   entities->tunnelTableDel( "ldp" );
   EXPECT_FALSE( entities->ldpTable() );
   entities->tunnelTableIs( "ldp", second );
   entities->tunnelTableDelAll();
   EXPECT_FALSE( entities->ldpTable() );
   EXPECT_FALSE( entities->tunnelTableHas( TunnelTableIdentifier::ldpTable ) );
   EXPECT_EQ( seenByReactor, ( std::vector< const void * >{ second.get(), nullptr, first.get(),
                                                           nullptr, second.get(), nullptr } ) );
}

TEST( TunnelTableMounter, DescriptionsOfEveryTableName ) {
   const std::pair< const char *, TunnelTableIdentifier > rows[] = {
      { "ldp", TunnelTableIdentifier::ldpTable },
      { "sr", TunnelTableIdentifier::srTable },
      { "ospfSr", TunnelTableIdentifier::ospfSrTable },
      { "bgpLu", TunnelTableIdentifier::bgpLuTable },
      { "bgpLuPush", TunnelTableIdentifier::bgpLuPushTable },
      { "static", TunnelTableIdentifier::staticTable },
      { "nexthopGroup", TunnelTableIdentifier::nexthopGroupTable },
      { "srTePolicy", TunnelTableIdentifier::srTePolicyTable },
      { "srTeSegmentList", TunnelTableIdentifier::srTeSegmentListTable },
      { "rsvpLer", TunnelTableIdentifier::rsvpLerTable },
      { "rsvpLerSub", TunnelTableIdentifier::rsvpLerSubTable },
      { "rsvpFrr", TunnelTableIdentifier::rsvpFrrTable },
      { "tiLfa", TunnelTableIdentifier::tiLfaTable },
      { "isisFlexAlgoTunnel", TunnelTableIdentifier::isisFlexAlgoTable },
      { "greTunnelInterface", TunnelTableIdentifier::greTunnelInterfaceTable },
      { "ipsecGreTunnelInterface", TunnelTableIdentifier::ipsecGreTunnelInterfaceTable },
      { "ipsecVtiTunnelInterface", TunnelTableIdentifier::ipsecVtiTunnelInterfaceTable },
   };
   auto entityManager = Vel::make< Statix::EntityManager >();
   TunnelTableMounter mounter( entityManager );
   for ( auto [ name, id ] : rows ) {
      auto info = TunnelTableMounter::tableInfo( name );
      EXPECT_EQ( info, TunnelTableInfo( name, id ) );
      EXPECT_EQ( info.path(), std::string( "tunnel/table/" ) + name );
      auto table = mounter.readMountTable( info );
      ASSERT_TRUE( table ) << name;
      EXPECT_EQ( table->tunnelTableId(), id );
      // Mounting again gives the same table.
      EXPECT_EQ( mounter.readMountTable( info ).get(), table.get() );
   }
   EXPECT_EQ( TunnelTableMounter::tableInfo( "nope" ), TunnelTableInfo() );
   EXPECT_EQ( TunnelTableInfo().path(), "tunnel/table/" );
}

} // namespace
