#include <gtest/gtest.h>

#include <map>
#include <random>
#include <tuple>
#include <utility>
#include <vector>

#include "ingest/LdpTunnelSm.h"
#include "ingest/ProtocolTunnelSms.h"
#include "ingest/TableEntrySm.h"
#include "ingest/TableToSm.h"
#include "ingest/TunnelTablesMountSm.h"
#include "platform/vel/Trace.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;
using Tunnel::Gr::InputProcessedStatus;
using Tunnel::Gr::TunnelGrContext;

namespace {

std::string assertionText( const std::function< void() > & f ) {
   try {
      f();
   } catch ( const Vel::AssertionError & e ) {
      return e.what();
   }
   return "";
}

struct Call {
   TunnelId id;
   TunnelTableIdentifier table;
   bool removed;
   friend bool operator==( const Call &, const Call & ) = default;
};
std::ostream & operator<<( std::ostream & os, const Call & c ) {
   return os << "(" << c.id << ", " << c.table << ", " << c.removed << ")";
}
using Calls = std::vector< Call >;

// An owner that records what its reactors tell it.
class RecordingOwner : public TableEntrySm {
 public:
   RecordingOwner( Vel::PtrConst< TunnelTableEntities > entities,
                   Vel::PtrConst< TunnelIdColl > unprogrammable )
         : TableEntrySm( std::move( entities ), std::move( unprogrammable ) ) {}

   void handleTunnelTableEntry( const TunnelId & id, TunnelTableIdentifier table,
                                bool removed ) override {
      calls.push_back( { id, table, removed } );
   }
   void handleUnprogrammableEntry( const TunnelId & id ) override {
      unprogrammable.push_back( id );
   }
   void markGrStatusBacklogEmpty() override { ++backlogEmptyMarks; }
   void maybeMarkInputProcessedBacklogEmpty() override { ++maybeMarks; }

   Calls calls;
   std::vector< TunnelId > unprogrammable;
   int backlogEmptyMarks = 0;
   int maybeMarks = 0;
};

struct OwnerFixture : ::testing::Test {
   Vel::Ptr< TunnelTableEntities > entities = tunnelTableEntitiesFactory();
   Vel::Ptr< TunnelIdColl > unprogrammable = tunnelIdCollFactory();
   Vel::Ptr< RecordingOwner > owner = Vel::make< RecordingOwner >( entities, unprogrammable );

   template< class Table >
   Vel::Ptr< Table > file( const char * name = nullptr ) {
      auto table = Vel::make< Table >();
      entities->tunnelTableIs( name ? name : std::string( Table::tableName ), table );
      return table;
   }
};

// Every table kind: its reactor reports what the table's producer writes,
// with the right identifier, and keeps seen ids unless it is one of the two
// that keep none.
template< class Table >
void checkTableKind( TunnelTableIdentifier expectedId, bool keepsSeenIds ) {
   SCOPED_TRACE( std::string( Table::tableName ) );
   auto entities = tunnelTableEntitiesFactory();
   auto owner = Vel::make< RecordingOwner >( entities, tunnelIdCollFactory() );
   owner->handleTunnelTableEntity();
   const TunnelId a( Table::tableType, 1 ), b( Table::tableType, 2 ), c( Table::tableType, 3 );

   // A table arriving with entries in it: each reported once, in id order.
   auto table = Vel::make< Table >();
   table->entryIs( b, {} );
   table->entryIs( a, {} );
   entities->tunnelTableIs( std::string( Table::tableName ), table );
   EXPECT_EQ( owner->calls, ( Calls{ { a, expectedId, false }, { b, expectedId, false } } ) );
   auto sm = owner->tunnelSm( std::string( Table::tableName ) );
   ASSERT_TRUE( sm );
   EXPECT_EQ( sm->seenTunnelId().size(), keepsSeenIds ? 2u : 0u );

   // Added, changed, deleted.
   owner->calls.clear();
   table->entryIs( c, {} );
   table->entryIs( c, {} );
   EXPECT_EQ( sm->seenTunnelId().has( c ), keepsSeenIds );
   table->entryDel( c );
   EXPECT_FALSE( sm->seenTunnelId().has( c ) );
   table->entryDel( a );
   EXPECT_EQ( owner->calls, ( Calls{ { c, expectedId, false },
                                     { c, expectedId, false },
                                     { c, expectedId, true },
                                     { a, expectedId, true } } ) );

   // The table removed: what is still seen is reported gone.
   owner->calls.clear();
   sm = nullptr;
   entities->tunnelTableDel( std::string( Table::tableName ) );
   const Calls removals = keepsSeenIds ? Calls{ { b, expectedId, true } } : Calls{};
   EXPECT_EQ( owner->calls, removals );
   EXPECT_FALSE( owner->tunnelSm( std::string( Table::tableName ) ) );
   // Its reactor is gone with it.
   owner->calls.clear();
   table->entryIs( a, {} );
   EXPECT_TRUE( owner->calls.empty() );
}

TEST( ProtocolTunnelSm, EveryTableKindReachesItsOwner ) {
   using Id = TunnelTableIdentifier;
   checkTableKind< LdpTunnelTable >( Id::ldpTable, true );
   checkTableKind< IsisSrTunnelTable >( Id::srTable, true );
   checkTableKind< OspfSrTunnelTable >( Id::ospfSrTable, true );
   checkTableKind< BgpLuTunnelTable >( Id::bgpLuTable, true );
   checkTableKind< BgpLuPushTunnelTable >( Id::bgpLuPushTable, true );
   checkTableKind< StaticTunnelTable >( Id::staticTable, true );
   checkTableKind< NexthopGroupTunnelTable >( Id::nexthopGroupTable, true );
   checkTableKind< SrTePolicyTunnelTable >( Id::srTePolicyTable, true );
   checkTableKind< SrTeSegmentListTunnelTable >( Id::srTeSegmentListTable, true );
   checkTableKind< RsvpLerTunnelTable >( Id::rsvpLerTable, true );
   checkTableKind< RsvpLerSubTunnelTable >( Id::rsvpLerSubTable, true );
   checkTableKind< RsvpFrrTunnelTable >( Id::rsvpFrrTable, true );
   checkTableKind< TiLfaTunnelTable >( Id::tiLfaTable, false );
   checkTableKind< IsisFlexAlgoTunnelTable >( Id::isisFlexAlgoTable, false );
   checkTableKind< GreIntfTunnelTable >( Id::greTunnelInterfaceTable, true );
   checkTableKind< IpsecGreIntfTunnelTable >( Id::ipsecGreTunnelInterfaceTable, true );
   checkTableKind< IpsecVtiIntfTunnelTable >( Id::ipsecVtiTunnelInterfaceTable, true );
}

// A table of the right code with no reactor of its own.
class OddTable : public TunnelTable< StaticTunnelTableEntry > {
 public:
   explicit OddTable( TunnelType code )
         : TunnelTable( TunnelTableIdentifier::staticTable, code ) {}
};

TEST_F( OwnerFixture, TableToSmPicksTheReactorByCodeAndName ) {
   auto make = [ & ]( const char * name, Vel::PtrConst< TunnelTableBase > table ) {
      return tableToSm( name, entities, unprogrammable, table, owner.get() );
   };
   EXPECT_TRUE( Vel::dynamicCast< SrTunnelSm >( make( "sr", Vel::make< IsisSrTunnelTable >() ) ) );
   auto ospf = make( "ospfSr", Vel::make< OspfSrTunnelTable >() );
   EXPECT_TRUE( Vel::dynamicCast< SrTunnelSm >( ospf ) );
   EXPECT_EQ( Vel::dynamicCast< SrTunnelSm >( ospf )->tunnelTableId(),
              TunnelTableIdentifier::ospfSrTable );
   EXPECT_TRUE( Vel::dynamicCast< GreInterfaceTunnelSm >(
      make( "greTunnelInterface", Vel::make< GreIntfTunnelTable >() ) ) );
   EXPECT_TRUE( Vel::dynamicCast< IpsecVtiInterfaceTunnelSm >(
      make( "ipsecVtiTunnelInterface", Vel::make< IpsecVtiIntfTunnelTable >() ) ) );
   EXPECT_TRUE( Vel::dynamicCast< RsvpFrrTunnelSm >(
      make( "rsvpFrr", Vel::make< RsvpFrrTunnelTable >() ) ) );
   EXPECT_TRUE( Vel::dynamicCast< LdpTunnelSm >( make( "ldp", Vel::make< LdpTunnelTable >() ) ) );
   // Code 10 is the RSVP FRR reactor too, for a table that is one.
   EXPECT_FALSE( make( "rsvpFrr", Vel::make< OddTable >( TunnelType::rsvpFrrBackupTunnel ) ) );

   EXPECT_EQ( assertionText( [ & ] { make( "gre", Vel::make< GreIntfTunnelTable >() ); } ),
              "Unhandled table type" );
   for ( auto code : { 0u, 4u, 6u, 15u, 18u, 19u, 22u, 31u } ) {
      EXPECT_EQ( assertionText( [ & ] {
                    make( "odd", Vel::make< OddTable >( static_cast< TunnelType >( code ) ) );
                 } ),
                 "Unhandled table type" )
         << code;
   }
   // A table that is not of the type its name and code promise.
   EXPECT_EQ( assertionText( [ & ] {
                 entities->tunnelTableIs( "ipsecVtiTunnelInterface",
                                          Vel::make< GreIntfTunnelTable >() );
              } ),
              "Failed to create the per-table Sm" );
}

TEST_F( OwnerFixture, ReplacedTableIsReportedWithoutKickingTheOldOne ) {
   owner->handleTunnelTableEntity();
   auto first = file< LdpTunnelTable >();
   const TunnelId a( TunnelType::ldpTunnel, 1 ), b( TunnelType::ldpTunnel, 2 );
   first->entryIs( a, {} );
   auto second = Vel::make< LdpTunnelTable >();
   second->entryIs( b, {} );
   owner->calls.clear();
   entities->tunnelTableIs( "ldp", second );
   EXPECT_EQ( owner->calls, ( Calls{ { b, TunnelTableIdentifier::ldpTable, false } } ) );
   owner->calls.clear();
   first->entryDel( a );
   EXPECT_TRUE( owner->calls.empty() );
   // kickSeenIds reports and keeps the seen ids.
   auto sm = owner->tunnelSm( "ldp" );
   sm->kickSeenIds();
   sm->kickSeenIds();
   EXPECT_EQ( owner->calls, ( Calls{ { b, TunnelTableIdentifier::ldpTable, true },
                                     { b, TunnelTableIdentifier::ldpTable, true } } ) );
   EXPECT_TRUE( sm->seenTunnelId().has( b ) );
}

// The seen ids against a plain map kept as the reactor's reports go: the
// table's writes (some while it reads as corrupted), and ids recorded or
// dropped by hand, some under another identifier or absent from the table.
TEST_F( OwnerFixture, SeenIdsFollowTheReportsMadeLikeAPlainMap ) {
   owner->handleTunnelTableEntity();
   auto table = file< StaticTunnelTable >();
   auto sm = owner->tunnelSm( "static" );
   std::map< TunnelId, TunnelTableIdentifier > model;
   std::mt19937 random( 11 );
   bool corrupted = false;
   for ( unsigned op = 0; op < 3000; ++op ) {
      const TunnelId id( TunnelType::staticTunnel, 1 + random() % 40 );
      switch ( random() % 8 ) {
      case 0:
      case 1:
      case 2:
         table->entryIs( id, {} );
         if ( corrupted ) {
            model.erase( id );
         } else {
            model[ id ] = TunnelTableIdentifier::staticTable;
         }
         break;
      case 3:
      case 4:
         if ( table->entry().map().contains( id ) ) {
            model.erase( id );
         }
         table->entryDel( id );
         break;
      case 5: {
         const auto tableId = random() % 2 ? TunnelTableIdentifier::staticTable
                                           : TunnelTableIdentifier::ldpTable;
         sm->seenTunnelIdIs( id, tableId );
         model[ id ] = tableId;
         break;
      }
      case 6:
         sm->seenTunnelIdDel( id );
         model.erase( id );
         break;
      default:
         corrupted = random() % 4 == 0;
         table->corruptedIs( corrupted );
         if ( random() % 50 == 0 ) {
            sm->seenTunnelIdDelAll();
            model.clear();
         }
      }
      const auto & seen = sm->seenTunnelId();
      ASSERT_EQ( seen.size(), model.size() ) << "op " << op;
      const std::vector< std::pair< TunnelId, TunnelTableIdentifier > > expected( model.begin(),
                                                                                  model.end() );
      ASSERT_EQ( seen.entries(), expected ) << "op " << op;
      const TunnelId probe( TunnelType::staticTunnel, 1 + random() % 40 );
      ASSERT_EQ( seen.has( probe ), model.contains( probe ) ) << "op " << op;
   }
   owner->calls.clear();
   sm->kickSeenIds();
   Calls expected;
   for ( const auto & [ id, tableId ] : model ) {
      expected.push_back( { id, tableId, true } );
   }
   EXPECT_EQ( owner->calls, expected );
}

TEST_F( OwnerFixture, CorruptedLookupIsReportedAndReadsAsAbsent ) {
   owner->handleTunnelTableEntity();
   auto table = file< StaticTunnelTable >();
   std::vector< std::string > reports;
   table->corruptionHandlerIs( [ & ]( const std::string & m ) { reports.push_back( m ); } );
   const TunnelId a( TunnelType::staticTunnel, 1 );
   table->entryIs( a, {} );
   auto sm = owner->tunnelSm( "static" );
   EXPECT_TRUE( sm->seenTunnelId().has( a ) );
   table->corruptedIs( true );
   owner->calls.clear();
   table->entryIs( a, {} );
   EXPECT_EQ( owner->calls, ( Calls{ { a, TunnelTableIdentifier::staticTable, true } } ) );
   EXPECT_FALSE( sm->seenTunnelId().has( a ) );
   // Both lookups of the handler report.
   EXPECT_EQ( reports,
              std::vector< std::string >( 2, "Mirra::Collection: corrupted table" ) );

   // A full pass reaches only ids the table holds, yet still finds it
   // corrupted where a lookup would.
   owner->calls.clear();
   sm->handleTunnelEntry();
   EXPECT_EQ( owner->calls, ( Calls{ { a, TunnelTableIdentifier::staticTable, true } } ) );
   EXPECT_EQ( reports.size(), 4u );
   table->corruptedIs( false );
   owner->calls.clear();
   sm->handleTunnelEntry();
   EXPECT_EQ( owner->calls, ( Calls{ { a, TunnelTableIdentifier::staticTable, false } } ) );
   EXPECT_TRUE( sm->seenTunnelId().has( a ) );
   EXPECT_EQ( reports.size(), 4u );
}

TEST_F( OwnerFixture, TracesNameTheReactorAndItsTable ) {
   owner->handleTunnelTableEntity();
   Vel::TestTraceSink trace( 8 );
   auto ldp = Vel::make< LdpTunnelTable >();
   ldp->entryIs( TunnelId( TunnelType::ldpTunnel, 7 ), {} );
   entities->tunnelTableIs( "ldp", ldp );
   auto flexAlgo = Vel::make< IsisFlexAlgoTunnelTable >();
   flexAlgo->entryIs( TunnelId( TunnelType::isisFlexAlgoTunnel, 7 ), {} );
   entities->tunnelTableIs( "isisFlexAlgoTunnel", flexAlgo );
   std::vector< std::string > reactorLines;
   for ( const auto & line : trace.lines() ) {
      if ( line.find( "TunnelSm::" ) != std::string::npos ) {
         reactorLines.push_back( line );
      }
   }
   EXPECT_EQ( reactorLines,
              ( std::vector< std::string >{
                 "virtual void Tunnel::TunnelTable::LdpTunnelSm::handleTunnelEntry() ldp",
                 "void Tunnel::TunnelTable::LdpTunnelSm::handleLdpTunnelEntry(const "
                 "Tunnel::TunnelTable::TunnelId&) ldp tunnel ID ldp:7",
                 "void Tunnel::TunnelTable::FlexAlgoTunnelSm::handleFlexAlgoTunnelEntry(const "
                 "Tunnel::TunnelTable::TunnelId&) flexAlgo tunnel ID isisFlexAlgoTunnel:7" } ) );
   EXPECT_TRUE( trace.contains( "handleTunnelTableEntity adding tunnel table entity" ) );
   entities->tunnelTableDel( "ldp" );
   EXPECT_TRUE( trace.contains( "handleTunnelTableEntity removing tunnel table entity" ) );
}

TEST_F( OwnerFixture, UnprogrammableIdsReachTheOwner ) {
   const TunnelId a( TunnelType::ldpTunnel, 1 );
   unprogrammable->entryIs( a, true );
   unprogrammable->entryDel( a );
   EXPECT_EQ( owner->unprogrammable, ( std::vector< TunnelId >{ a, a } ) );
}

// An owner that keeps the base's GR behaviour.
class PlainOwner : public TableEntrySm {
 public:
   PlainOwner( Vel::PtrConst< TunnelTableEntities > entities,
               Vel::PtrConst< TunnelIdColl > unprogrammable )
         : TableEntrySm( std::move( entities ), std::move( unprogrammable ) ) {}
   void handleTunnelTableEntry( const TunnelId &, TunnelTableIdentifier, bool ) override {}
};

TEST_F( OwnerFixture, BaseGrOperationsAskForAnOverride ) {
   auto plain = Vel::make< PlainOwner >( entities, nullptr );
   EXPECT_EQ( assertionText( [ & ] { plain->initializeInputProcessedSm(); } ),
              "Should be initialized by derived class if needed" );
   // Without an input status there is nothing to implement.
   plain->maybeMarkInputProcessedBacklogEmpty();
   plain->markGrStatusBacklogEmpty();
   plain->inputProcessedStatusIs(
      Vel::make< InputProcessedStatus >( Vel::make< TunnelGrContext >() ) );
   const char * text = "Should be Implemented by derived class if inputProcessedStatus is in use";
   EXPECT_EQ( assertionText( [ & ] { plain->maybeMarkInputProcessedBacklogEmpty(); } ), text );
   EXPECT_EQ( assertionText( [ & ] { plain->markGrStatusBacklogEmpty(); } ), text );

   // The base reactor's operations fail unless overridden; only LDP does GR.
   entities->tunnelTableIs( "static", Vel::make< StaticTunnelTable >() );
   auto sm = plain->tunnelSm( "static" );
   EXPECT_EQ( assertionText( [ & ] { sm->initializeGrAttrs(); } ),
              "Should be implemented by derived class" );
   EXPECT_EQ( assertionText( [ & ] { sm->propagateQuiescedNotification(); } ),
              "Should be implemented by derived class" );
   EXPECT_EQ( assertionText( [ & ] { sm->ProtocolTunnelSm::handleTunnelEntry(); } ),
              "Must override in derived class" );
}

TEST_F( OwnerFixture, LdpTableAloneIsTrackedForGracefulRestart ) {
   auto context = Vel::make< TunnelGrContext >();
   auto status = Vel::make< InputProcessedStatus >( context );
   owner->inputProcessedStatusIs( status );
   ASSERT_TRUE( owner->inputProcessedSm() );
   EXPECT_EQ( owner->tunnelGrContext().get(), context.get() );
   owner->handleTunnelTableEntity();

   auto control = Vel::make< Mirra::CollectionControl >();
   auto ldp = Vel::make< LdpTunnelTable >();
   ldp->controlIs( control );
   entities->tunnelTableIs( "ldp", ldp );
   file< IsisSrTunnelTable >();
   EXPECT_EQ( owner->tunnelTypeToTunnelIdMap().size(), 1u );
   EXPECT_EQ( owner->tunnelTypeToTunnelIdMap().get( "ldp" ), TunnelTableIdentifier::ldpTable );
   ASSERT_EQ( status->tunnelTablesQuiesced().size(), 1u );
   EXPECT_FALSE( status->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );
   auto sm = owner->tunnelSm( "ldp" );
   EXPECT_EQ( sm->tableEntryControl().get(), control.get() );
   EXPECT_EQ( sm->tunnelGrContext().get(), context.get() );
   EXPECT_FALSE( owner->tunnelSm( "sr" )->tableEntryControl() );

   // Quiesced once the producer declares the table complete.
   control->tableCompleteIs( true );
   EXPECT_TRUE( status->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );

   // Removal stops tracking it.
   entities->tunnelTableDel( "ldp" );
   EXPECT_TRUE( status->tunnelTablesQuiesced().empty() );
   EXPECT_TRUE( owner->tunnelTypeToTunnelIdMap().empty() );

   // A table its producer declared complete before it was filed is quiesced
   // once filed.
   auto declared = Vel::make< LdpTunnelTable >();
   auto complete = Vel::make< Mirra::CollectionControl >();
   complete->tableCompleteIs( true );
   declared->controlIs( complete );
   entities->tunnelTableIs( "ldp", declared );
   EXPECT_TRUE( status->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );
   entities->tunnelTableDel( "ldp" );

   // The end of the restart quiesces a table whose producer never declared
   // it complete.
   auto late = Vel::make< LdpTunnelTable >();
   late->controlIs( Vel::make< Mirra::CollectionControl >() );
   entities->tunnelTableIs( "ldp", late );
   EXPECT_FALSE( status->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );
   context->restartCompleteIs( true );
   EXPECT_TRUE( status->tunnelTablesQuiesced().get( TunnelTableIdentifier::ldpTable ) );
   EXPECT_EQ( owner->maybeMarks, 1 );

   // The owner hears of the status's backlog flag.
   status->backlogsEmptyIs( true );
   EXPECT_EQ( owner->backlogEmptyMarks, 1 );

   // Without the GR machine the LDP reactor stays quiet, and a table filed
   // again is no longer tracked.
   owner->inputProcessedSmDel();
   owner->tunnelSm( "ldp" )->propagateQuiescedNotification();
   entities->tunnelTableDel( "ldp" );
   entities->tunnelTableIs( "ldp", late );
   EXPECT_TRUE( owner->tunnelTypeToTunnelIdMap().empty() );
   EXPECT_TRUE( status->tunnelTablesQuiesced().empty() );
}

TEST_F( OwnerFixture, LdpGrPreconditions ) {
   owner->handleTunnelTableEntity();
   file< LdpTunnelTable >();
   auto sm = owner->tunnelSm( "ldp" );
   EXPECT_EQ( assertionText( [ & ] { sm->initializeGrAttrs(); } ),
              "inputProcessedStatus should be initialized" );
   // No GR machine: nothing to propagate, and nothing asserted.
   sm->propagateQuiescedNotification();

   auto status = Vel::make< InputProcessedStatus >( Vel::make< TunnelGrContext >() );
   owner->inputProcessedStatusIs( status );
   owner->inputProcessedSmDel();
   EXPECT_EQ( assertionText( [ & ] { sm->initializeGrAttrs(); } ),
              "inputProcessedSm should be initialized" );
   owner->inputProcessedSmIs();
   owner->inputProcessedStatusDel();
   EXPECT_EQ( assertionText( [ & ] { sm->propagateQuiescedNotification(); } ),
              "inputProcessedStatus must be initialized" );

   // A GR-tracked name whose table is no longer the LDP table.
   owner->inputProcessedStatusIs( status );
   owner->tunnelTypeToTunnelIdMapIs( "sr", TunnelTableIdentifier::srTable );
   EXPECT_EQ( assertionText( [ & ] { entities->tunnelTableDel( "sr" ); } ), "" );
   file< IsisSrTunnelTable >();
   EXPECT_EQ( assertionText( [ & ] { entities->tunnelTableDel( "sr" ); } ),
              "should not be here when GR is not supported for this tunnelId" );
}

// The mount machine and a table-entry owner together: an owner sees a
// table's entries exactly while the table is described and wanted.
TEST( Ingestion, OwnerFollowsDescriptionsAndFilter ) {
   auto infos = tunnelTableInfoCollectionFactory();
   auto filter = tunnelTableTypeFilterFactory();
   auto entityManager = Vel::make< Statix::EntityManager >();
   auto entities = tunnelTableEntitiesFactory();
   auto mountSm = tunnelTablesMountSmFactory( infos, filter, entityManager, entities );
   auto owner = Vel::make< RecordingOwner >( entities, nullptr );
   owner->handleTunnelTableEntity();

   // The producer publishes before anyone wants the table.
   auto produced = entityManager->mount< BgpLuTunnelTable >( "tunnel/table/bgpLu" );
   const TunnelId a( TunnelType::bgpLuTunnel, 1 );
   produced->entryIs( a, {} );
   infos->tableInfoIs( "bgpLu", TunnelTableMounter::tableInfo( "bgpLu" ) );
   EXPECT_TRUE( owner->calls.empty() );
   filter->tableIs( "bgpLu" );
   EXPECT_EQ( owner->calls, ( Calls{ { a, TunnelTableIdentifier::bgpLuTable, false } } ) );
   filter->tableDel( "bgpLu" );
   EXPECT_EQ( owner->calls.back(), ( Call{ a, TunnelTableIdentifier::bgpLuTable, true } ) );
   owner->calls.clear();
   produced->entryDel( a );
   EXPECT_TRUE( owner->calls.empty() );
}

} // namespace
