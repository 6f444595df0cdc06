#include <gtest/gtest.h>

#include <algorithm>

#include <array>
#include <string>
#include <vector>

#include "fib/TunnelFibWriter.h"
#include "platform/vel/Trace.h"
#include "tests/fib/FibValues.h"

using namespace FibValues;
using Tunnel::TunnelFib::TunnelFib;

namespace {

const std::string writerScope = "Tunnel::TunnelTable::TunnelFibWriter::";
const std::string insertLabelStack =
   "Tunnel::TunnelFib::EncapId " + writerScope +
   "insertLabelStackEncap(const Korvo::MplsLabelOperation&)";
const std::string deleteEntry =
   "void " + writerScope + "deleteFibEntry(const Tunnel::TunnelTable::TunnelId&)";

struct WriterTest : ::testing::Test {
   Vel::Ptr< TunnelFib > fib = Tunnel::TunnelFib::tunnelFibFactory();
   Vel::Ptr< TunnelFibWriter > writer = tunnelFibWriterFactory( fib );
   // What the FIB's tables were told, in order: "entry ldp:1", "mpls:0 published",
   // "mpls:0 withdrawn".
   std::vector< std::string > writes;
   std::vector< Vel::Reactor > reactors;

   void watchWrites() {
      reactors.push_back( fib->entry().react(
         [ this ]( const TunnelId & id ) { writes.push_back( "entry " + id.stringValue() ); } ) );
      auto encap = [ this ]( const auto & table ) {
         return table.react( [ this, &table ]( const EncapId & id ) {
            writes.push_back( id.stringValue() + ( table.has( id ) ? " published" : " withdrawn" ) );
         } );
      };
      reactors.push_back( encap( fib->labelStackEncap() ) );
      reactors.push_back( encap( fib->greEncap() ) );
      reactors.push_back( encap( fib->ipsecGreEncap() ) );
      reactors.push_back( encap( fib->ipsecVtiEncap() ) );
   }

   std::array< std::uint64_t, 5 > sequenceNumbers() const {
      return { fib->entry().sequenceNumber(), fib->labelStackEncap().sequenceNumber(),
               fib->greEncap().sequenceNumber(), fib->ipsecGreEncap().sequenceNumber(),
               fib->ipsecVtiEncap().sequenceNumber() };
   }
   // Compilers differ only in the blank before '&' in the signature text.
   static std::string normalized( std::string line ) {
      for ( auto at = line.find( " &" ); at != std::string::npos; at = line.find( " &", at ) ) {
         line.erase( at, 1 );
      }
      return line;
   }
   static bool has( const Vel::TestTraceSink & trace, const std::string & line ) {
      return std::any_of( trace.lines().begin(), trace.lines().end(),
                          [ & ]( const std::string & traced ) {
                             return normalized( traced ) == normalized( line );
                          } );
   }
};

TEST_F( WriterTest, SharedLabelStackIsCountedAndWithdrawnAfterItsLastEntry ) {
   const EncapId mpls0 = encapId( EncapType::mplsLabelStackEncap, 0 );
   watchWrites();
   Vel::TestTraceSink trace( 9 );
   writer->addFibEntry( labelStackEntry( ldp( 1 ), via( "10.0.0.1" ), push( { 100 } ) ) );
   writer->addFibEntry( labelStackEntry( ldp( 2 ), via( "10.0.0.2" ), push( { 100 } ) ) );
   EXPECT_TRUE( has( trace, insertLabelStack + " labelOp: push [100]" ) );
   EXPECT_TRUE( has( trace, insertLabelStack + "  Created MPLS encapId mpls:0" ) );
   EXPECT_TRUE( has( trace, insertLabelStack + "  Found existing MPLS encapId mpls:0" ) );
   EXPECT_TRUE( has( trace, insertLabelStack + "  EncapId mpls:0 refCount: 2" ) );
   EXPECT_EQ( fib->labelStackEncap().size(), 1u );
   EXPECT_EQ( fib->entry( ldp( 2 ) ).tunnelVia( 0 ).encapId(), mpls0 );
   EXPECT_EQ( writer->encapIdRefCount( mpls0 ), 2u );

   writer->deleteFibEntry( ldp( 1 ) );
   EXPECT_TRUE( has( trace, deleteEntry + "ldp:1" ) );
   EXPECT_TRUE( has( trace, deleteEntry + "  tunnelId ldp:1 entry deleted" ) );
   EXPECT_EQ( fib->labelStackEncap( mpls0 ).info(), push( { 100 } ) );
   EXPECT_EQ( writer->encapIdRefCount( mpls0 ), 1u );

   writer->deleteFibEntry( ldp( 2 ) );
   EXPECT_TRUE( fib->labelStackEncap().empty() );
   EXPECT_TRUE( writer->labelStackEncapSet( push( { 100 } ) ).isNull() );
   EXPECT_TRUE( writer->encapIdRefCount().empty() );
   // Published before the first entry that names it, withdrawn only once the
   // last one is gone from the FIB.
   EXPECT_EQ( writes, ( std::vector< std::string >{ "mpls:0 published", "entry ldp:1",
                                                    "entry ldp:2", "entry ldp:1", "entry ldp:2",
                                                    "mpls:0 withdrawn" } ) );

   const auto before = sequenceNumbers();
   writer->deleteFibEntry( ldp( 2 ) );
   EXPECT_EQ( sequenceNumbers(), before );
}

TEST_F( WriterTest, UnchangedEntryWritesNothing ) {
   ConsolidatedTunnelFibEntry cons( ldp( 1 ) );
   cons.insertLabelStackVia( via( "10.0.0.1" ), push( { 100 } ) );
   cons.insertGreVia( via( "10.0.0.2" ), gre( "1.1.1.1", "2.2.2.2" ) );
   cons.insertIpsecGreVia( via( "10.0.0.3" ), ipsecGre( "1.1.1.1", "3.3.3.3", "p" ) );
   cons.insertIpsecVtiVia( via( "10.0.0.4" ), ipsecVti( "1.1.1.1", "4.4.4.4", "p" ) );
   cons.insertInvalidVia( via( "10.0.0.5" ) );
   cons.insertBackupLabelStackVia( via( "10.0.0.6" ), push( { 100 } ) );
   cons.arePrimaryViasUsableIs( true );
   writer->addFibEntry( cons );
   const auto before = sequenceNumbers();
   const auto counts = writer->encapIdRefCount();

   // The same records given in another order are the same entry.
   ConsolidatedTunnelFibEntry same( ldp( 1 ) );
   for ( auto it = cons.viaInfo().end(); it != cons.viaInfo().begin(); ) {
      same.viaInfoIs( *--it );
   }
   same.insertBackupLabelStackVia( via( "10.0.0.6" ), push( { 100 } ) );
   same.arePrimaryViasUsableIs( true );
   watchWrites();
   writer->addFibEntry( same );
   EXPECT_EQ( sequenceNumbers(), before );
   EXPECT_EQ( writer->encapIdRefCount(), counts );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 0 ) ), 2u );

   // A new sequence number rewrites the entry and nothing else.
   same.seqNoIs( 1 );
   writer->addFibEntry( same );
   EXPECT_EQ( writes, std::vector< std::string >{ "entry ldp:1" } );
   EXPECT_EQ( fib->entry( ldp( 1 ) ).seqNo(), 1u );
   EXPECT_EQ( writer->encapIdRefCount(), counts );
}

TEST_F( WriterTest, ChangeKeepsTheEncapsulationsBothVersionsShare ) {
   const Via hop1 = via( "10.0.0.1" ), hop2 = via( "10.0.0.2" );
   writer->addFibEntry( labelStackEntry( ldp( 1 ), hop1, push( { 100 } ) ) );
   writer->addFibEntry( labelStackEntry( ldp( 2 ), hop1, push( { 300 } ) ) );
   watchWrites();
   Vel::TestTraceSink trace( 9 );
   // Another next hop, the same label operation: the count goes to 2 and back.
   writer->addFibEntry( labelStackEntry( ldp( 1 ), hop2, push( { 100 } ) ) );
   EXPECT_TRUE( has( trace, insertLabelStack + "  EncapId mpls:0 refCount: 2" ) );
   EXPECT_EQ( writes, std::vector< std::string >{ "entry ldp:1" } );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 0 ) ), 1u );

   // Another label operation: the new one is published before the entry
   // names it, the old one withdrawn after.
   writes.clear();
   writer->addFibEntry( labelStackEntry( ldp( 1 ), hop2, push( { 200 } ) ) );
   EXPECT_EQ( writes, ( std::vector< std::string >{ "mpls:2 published", "entry ldp:1",
                                                    "mpls:0 withdrawn" } ) );
   // Moving to a label operation that another tunnel holds publishes nothing.
   writes.clear();
   writer->addFibEntry( labelStackEntry( ldp( 1 ), hop2, push( { 300 } ) ) );
   EXPECT_EQ( writes, ( std::vector< std::string >{ "entry ldp:1", "mpls:2 withdrawn" } ) );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 1 ) ), 2u );
   EXPECT_EQ( writer->encapIdRefCount().size(), 1u );
}

TEST_F( WriterTest, InvalidEncapViaGetsTheNullIdAndIsNeverCounted ) {
   ConsolidatedTunnelFibEntry cons( ldp( 1 ) );
   cons.insertInvalidVia( via( "10.0.0.1" ) );
   cons.backupViaInfoIs( ViaAndTunnelInfo( via( "10.0.0.2" ), EncapType::invalidEncap ) );
   watchWrites();
   writer->addFibEntry( cons );
   const auto entry = fib->entry( ldp( 1 ) );
   EXPECT_TRUE( entry.tunnelVia( 0 ).encapId().isNull() );
   EXPECT_TRUE( entry.backupTunnelVia( 0 ).encapId().isNull() );
   EXPECT_TRUE( writer->encapIdRefCount().empty() );
   writer->deleteFibEntry( ldp( 1 ) );
   writer->decrementEncapRef( encapId( EncapType::invalidEncap, 5 ) );
   // A decrement of an id without a count is ignored as well.
   writer->decrementEncapRef( encapId( EncapType::greEncap, 5 ) );
   EXPECT_EQ( writes, ( std::vector< std::string >{ "entry ldp:1", "entry ldp:1" } ) );
   EXPECT_TRUE( writer->encapIdRefCount().empty() );
}

TEST_F( WriterTest, FirstIdOfEachTypeHasIndexZero ) {
   Vel::TestTraceSink trace( 9 );
   ConsolidatedTunnelFibEntry cons( ldp( 1 ) );
   cons.insertLabelStackVia( via( "10.0.0.1" ), push( { 100 } ) );
   cons.insertGreVia( via( "10.0.0.2" ), gre( "1.1.1.1", "2.2.2.2" ) );
   cons.insertIpsecGreVia( via( "10.0.0.3" ), ipsecGre( "1.1.1.1", "3.3.3.3", "p" ) );
   cons.insertIpsecVtiVia( via( "10.0.0.4" ), ipsecVti( "1.1.1.1", "4.4.4.4", "p" ) );
   writer->addFibEntry( cons );
   std::vector< EncapId > ids;
   for ( const auto & v : fib->entryFind( ldp( 1 ) )->tunnelVia() ) {
      ids.push_back( v.encapId() );
   }
   EXPECT_EQ( ids, ( std::vector< EncapId >{ encapId( EncapType::mplsLabelStackEncap, 0 ),
                                             encapId( EncapType::greEncap, 0 ),
                                             encapId( EncapType::ipsecGreEncap, 0 ),
                                             encapId( EncapType::ipsecVtiEncap, 0 ) } ) );
   const std::string greInsert = "Tunnel::TunnelFib::EncapId " + writerScope +
                                 "insertGreEncap(const Tunnel::GreTunnelInfo&)";
   EXPECT_TRUE( has( trace, greInsert + " [ src: 1.1.1.1 dst: 2.2.2.2 ]" ) );
   EXPECT_TRUE( has( trace, greInsert + "  Created GRE encapId gre:0" ) );
   EXPECT_TRUE( has( trace, "Tunnel::TunnelFib::EncapId " + writerScope +
                               "insertIpsecGreEncap(const Tunnel::IpsecGreTunnelInfo&) [ src: "
                               "1.1.1.1 dst: 3.3.3.3 ]" ) );
   EXPECT_TRUE( trace.contains( "  Created IPsec+GRE encapId ipsecGre:0" ) );
   EXPECT_TRUE( trace.contains( "  Created IPsec VTI encapId ipsecVti:0" ) );
   EXPECT_EQ( writer->nextEncapIndex( EncapType::greEncap ), 0u );
   EXPECT_TRUE( writer->encapIdUsed( encapId( EncapType::greEncap, 0 ) ) );
   EXPECT_FALSE( writer->encapIdUsed( encapId( EncapType::greEncap, 1 ) ) );
}

TEST_F( WriterTest, RestartAdoptsTheFibAndAllocatesAboveWhatSurvived ) {
   const std::array< GreTunnelInfo, 5 > tunnels = {
      gre( "1.1.1.1", "2.2.2.0" ), gre( "1.1.1.1", "2.2.2.1" ), gre( "1.1.1.1", "2.2.2.2" ),
      gre( "1.1.1.1", "2.2.2.3" ), gre( "1.1.1.1", "2.2.2.4" ) };
   auto greEntry = [ & ]( std::uint64_t tunnel, unsigned g ) {
      ConsolidatedTunnelFibEntry cons( ldp( tunnel ) );
      cons.insertGreVia( via( "10.0.0.1" ), tunnels[ g ] );
      return cons;
   };
   for ( unsigned g = 0; g < 3; ++g ) {
      writer->addFibEntry( greEntry( g, g ) );
   }
   ConsolidatedTunnelFibEntry shared = greEntry( 3, 1 );
   shared.insertBackupLabelStackVia( via( "10.0.0.2" ), push( { 100 } ) );
   shared.backupViaInfoIs( ViaAndTunnelInfo( via( "10.0.0.3" ), EncapType::invalidEncap ) );
   writer->addFibEntry( shared );
   const auto counts = writer->encapIdRefCount();

   writer = tunnelFibWriterFactory( fib );
   EXPECT_EQ( writer->encapIdRefCount(), counts );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::greEncap, 1 ) ), 2u );
   for ( std::uint32_t g = 0; g < 3; ++g ) {
      EXPECT_EQ( writer->greEncapSet( tunnels[ g ] ), encapId( EncapType::greEncap, g ) );
   }
   EXPECT_EQ( writer->labelStackEncapSet( push( { 100 } ) ),
              encapId( EncapType::mplsLabelStackEncap, 0 ) );
   EXPECT_EQ( writer->nextEncapIndex( EncapType::greEncap ), 0u );
   EXPECT_FALSE( writer->initialized() );

   const auto before = sequenceNumbers();
   writer->addFibEntry( shared );
   EXPECT_EQ( sequenceNumbers(), before );

   writer->addFibEntry( greEntry( 10, 3 ) );
   EXPECT_EQ( fib->entry( ldp( 10 ) ).tunnelVia( 0 ).encapId(), encapId( EncapType::greEncap, 3 ) );
   // Index 1 is freed below the cursor and stays unused.
   writer->deleteFibEntry( ldp( 1 ) );
   writer->deleteFibEntry( ldp( 3 ) );
   EXPECT_FALSE( fib->greEncap().has( encapId( EncapType::greEncap, 1 ) ) );
   EXPECT_TRUE( writer->greEncapSet( tunnels[ 1 ] ).isNull() );
   writer->addFibEntry( greEntry( 11, 4 ) );
   EXPECT_EQ( fib->entry( ldp( 11 ) ).tunnelVia( 0 ).encapId(), encapId( EncapType::greEncap, 4 ) );
   writer->addFibEntry( greEntry( 12, 1 ) );
   EXPECT_EQ( fib->entry( ldp( 12 ) ).tunnelVia( 0 ).encapId(), encapId( EncapType::greEncap, 5 ) );
}

// A FIB left by a run that stopped between writes can name an id it never
// published; its record reads as the default value, which a live id may hold.
TEST_F( WriterTest, WithdrawingAnUnpublishedIdLeavesLiveValuesAlone ) {
   const EncapId published = encapId( EncapType::greEncap, 0 );
   fib->greEncapIs( Tunnel::TunnelFib::GreEncap( published, GreTunnelInfo() ) );
   Tunnel::TunnelFib::TunnelFibEntry user( ldp( 1 ) );
   user.tunnelViaIs( 0, Tunnel::TunnelFib::TunnelVia( via( "10.0.0.1" ), published ) );
   fib->entryIs( user );
   Tunnel::TunnelFib::TunnelFibEntry dangling( ldp( 2 ) );
   dangling.tunnelViaIs( 0, Tunnel::TunnelFib::TunnelVia( via( "10.0.0.2" ),
                                                          encapId( EncapType::greEncap, 7 ) ) );
   fib->entryIs( dangling );

   writer = tunnelFibWriterFactory( fib );
   writer->deleteFibEntry( ldp( 2 ) );
   EXPECT_EQ( writer->greEncapSet( GreTunnelInfo() ), published );
   ConsolidatedTunnelFibEntry cons( ldp( 3 ) );
   cons.insertGreVia( via( "10.0.0.3" ), GreTunnelInfo() );
   writer->addFibEntry( cons );
   EXPECT_EQ( fib->entry( ldp( 3 ) ).tunnelVia( 0 ).encapId(), published );
   EXPECT_EQ( fib->greEncap().size(), 1u );
   EXPECT_EQ( writer->encapIdRefCount( published ), 2u );
}

TEST_F( WriterTest, Assertions ) {
   const std::string invalidText = "This function should not be used for checking invalidEncaps.";
   const std::string notImplemented = "encap type not implemented";
   EXPECT_EQ( failureText( [ & ] { writer->encapIdUsed( EncapId() ); } ), invalidText );
   EXPECT_EQ( failureText( [ & ] { writer->nextFreeEncapId( EncapType::invalidEncap ); } ),
              invalidText );
   EXPECT_EQ( failureText( [ & ] { writer->encapIdUsed( encapId( EncapType::reservedEncap, 0 ) ); } ),
              notImplemented );
   EXPECT_EQ( failureText( [ & ] {
                 writer->registerViaAndTunnelInfo(
                    ViaAndTunnelInfo( via( "10.0.0.1" ), EncapType::reservedEncap ) );
              } ),
              notImplemented );

   // 600 vias fit; the 601st is refused before anything is counted.
   ConsolidatedTunnelFibEntry primaries( ldp( 1 ) ), backups( ldp( 2 ) );
   for ( std::uint32_t i = 0; i < 601; ++i ) {
      Via v( Korvo::IpGenAddr::ipv4( 0x0A000000u + i ), {} );
      ( i < 600 ? primaries.insertLabelStackVia( v, push( { 100 } ) )
                : backups.insertLabelStackVia( v, push( { 100 } ) ) );
      backups.insertBackupLabelStackVia( v, push( { 100 } ) );
   }
   writer->addFibEntry( primaries );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 0 ) ), 600u );
   primaries.insertLabelStackVia( Via(), push( { 100 } ) );
   EXPECT_EQ( failureText( [ & ] { writer->addFibEntry( primaries ); } ),
              "consFibEntry.viaInfos() <= TunnelViaIndex::maxSize()" );
   EXPECT_EQ( failureText( [ & ] { writer->addFibEntry( backups ); } ),
              "consFibEntry.backupViaInfos() <= TunnelViaIndex::maxSize()" );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 0 ) ), 600u );

   // The reserved type reaches the withdrawal only through a FIB adopted
   // with such an id.
   Tunnel::TunnelFib::TunnelFibEntry reserved( ldp( 3 ) );
   reserved.tunnelViaIs( 0, Tunnel::TunnelFib::TunnelVia( via( "10.0.0.1" ),
                                                          encapId( EncapType::reservedEncap, 0 ) ) );
   fib->entryIs( reserved );
   writer = tunnelFibWriterFactory( fib );
   EXPECT_EQ( failureText( [ & ] { writer->deleteFibEntry( ldp( 3 ) ); } ), notImplemented );
}

} // namespace
