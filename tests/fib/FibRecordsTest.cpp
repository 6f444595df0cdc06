#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "fib/TunnelFibCalcResult.h"
#include "fib/TunnelFibWriter.h"
#include "tests/fib/FibValues.h"
#include "types/MplsVia.h"

using namespace FibValues;

namespace {

const std::string defaultPayloads =
   "'ipsecGreTunnelInfo': Value('Tunnel::IpsecGreTunnelInfo', ** {'gre': "
   "Value('Tunnel::GreTunnelInfo', ** {'src': , 'dst': , 'ttl': 0, 'tos': 0}), "
   "'ipsecProfile': ''}), "
   "'ipsecVtiTunnelInfo': Value('Tunnel::IpsecVtiTunnelInfo', ** {'src': , 'dst': , "
   "'ipsecProfile': ''}), "
   "'greTunnelInfo': Value('Tunnel::GreTunnelInfo', ** {'src': , 'dst': , 'ttl': 0, 'tos': 0})";

const std::string labelStackRecordText =
   "Value('Tunnel::TunnelTable::ViaAndTunnelInfo', ** {'via': "
   "Value('Tunnel::TunnelTable::Via', ** {'hop': 10.0.0.1, 'intfId': Ethernet1}), "
   "'type': mpls, 'labelStack': push [100 200], " +
   defaultPayloads + "})";

// Records of every type and shape, defaults included, that must read back.
std::vector< ViaAndTunnelInfo > sampleRecords() {
   std::vector< ViaAndTunnelInfo > records = {
      ViaAndTunnelInfo(),
      ViaAndTunnelInfo( via( "0.0.0.0" ), EncapType::invalidEncap ),
      ViaAndTunnelInfo( Via( {}, Korvo::IntfId::dynamicTunnel( 0x300000000001 ) ),
                        EncapType::invalidEncap ),
      ViaAndTunnelInfo( Via( addr( "2001:db8::1" ), Korvo::IntfId::nexthopGroup( 5 ) ),
                        EncapType::reservedEncap ),
      ViaAndTunnelInfo( via( "10.0.0.9", "Ethernet1/2.100" ), EncapType( 9 ) ),
      labelStackRecord( via( "10.0.0.1" ), push( { 100, 200 } ) ),
      labelStackRecord( via( "10.0.0.1" ), MplsLabelOperation( MplsLabelAction::pop, {} ) ),
      labelStackRecord( via( "::" ), MplsLabelOperation( MplsLabelAction::swap, { 16 } ) ),
   };
   MplsLabelOperation withEntropy = push( { 100, 200 } );
   withEntropy.entropyLabelAndIndicatorIs( 1 );
   records.push_back( labelStackRecord( via( "10.0.0.2" ), withEntropy ) );
   ViaAndTunnelInfo greRecord( via( "10.0.0.3" ), EncapType::greEncap );
   greRecord.greTunnelInfoIs( GreTunnelInfo( addr( "1.1.1.1" ), addr( "2001:db8::2" ), 64, 3 ) );
   records.push_back( greRecord );
   ViaAndTunnelInfo ipsecGreRecord( via( "10.0.0.4" ), EncapType::ipsecGreEncap );
   ipsecGreRecord.ipsecGreTunnelInfoIs( ipsecGre( "1.1.1.1", "2.2.2.2", "it's, {a} \\ (b)" ) );
   records.push_back( ipsecGreRecord );
   ViaAndTunnelInfo ipsecVtiRecord( via( "10.0.0.5" ), EncapType::ipsecVtiEncap );
   ipsecVtiRecord.ipsecVtiTunnelInfoIs( ipsecVti( "1.1.1.1", "2.2.2.2", "'})" ) );
   records.push_back( ipsecVtiRecord );
   // Payloads that the type does not use are carried and read back all the same.
   ViaAndTunnelInfo everything = ipsecGreRecord;
   everything.labelStackIs( push( { 7 } ) );
   everything.ipsecVtiTunnelInfoIs( ipsecVti( "3.3.3.3", "4.4.4.4", "" ) );
   everything.greTunnelInfoIs( gre( "5.5.5.5", "6.6.6.6" ) );
   records.push_back( everything );
   return records;
}

TEST( ConsolidatedTunnelFibEntry, SetsMergeIdenticalRecordsAndKeepRecordOrder ) {
   const ViaAndTunnelInfo a = labelStackRecord( via( "10.0.0.1", "Ethernet1" ), push( { 100 } ) );
   const ViaAndTunnelInfo b = labelStackRecord( via( "10.0.0.1", "Ethernet2" ), push( { 100 } ) );
   ViaAndTunnelInfo c( via( "10.0.0.1", "Ethernet1" ), EncapType::greEncap );
   c.greTunnelInfoIs( gre( "1.1.1.1", "2.2.2.2" ) );

   ConsolidatedTunnelFibEntry first( ldp( 1 ) );
   first.insertLabelStackVia( a.via(), a.labelStack() );
   first.insertLabelStackVia( a.via(), a.labelStack() );
   EXPECT_EQ( first.viaInfos(), 1u );
   first.viaInfoIs( b );
   first.insertGreVia( c.via(), c.greTunnelInfo() );
   first.insertBackupLabelStackVia( b.via(), b.labelStack() );
   first.backupViaInfoIs( a );

   ConsolidatedTunnelFibEntry second( ldp( 1 ) );
   second.backupViaInfoIs( a );
   second.viaInfoIs( b );
   second.viaInfoIs( c );
   second.viaInfoIs( a );
   second.backupViaInfoIs( b );
   second.backupViaInfoIs( b );
   EXPECT_EQ( first, second );
   // Interface first, then the type: a (Ethernet1, GRE) sorts before
   // (Ethernet1, MPLS), and Ethernet2 last.
   std::vector< ViaAndTunnelInfo > order( second.viaInfo().begin(), second.viaInfo().end() );
   EXPECT_EQ( order, ( std::vector{ c, a, b } ) );

   EXPECT_TRUE( second.viaInfoHas( c ) );
   second.viaInfoDel( c );
   second.viaInfoDel( c );
   EXPECT_FALSE( second.viaInfoHas( c ) );
   EXPECT_NE( first, second );
   second.backupViaInfoDelAll();
   EXPECT_FALSE( second.backupViaInfoHas( a ) );
   EXPECT_EQ( second.backupViaInfos(), 0u );
}

TEST( ConsolidatedTunnelFibEntry, RebuiltFromTheFibEntryItWasWrittenAs ) {
   auto fib = Tunnel::TunnelFib::tunnelFibFactory();
   auto writer = tunnelFibWriterFactory( fib );
   ConsolidatedTunnelFibEntry cons( ldp( 4 ) );
   cons.insertLabelStackVia( via( "10.0.0.1" ), push( { 100 } ) );
   cons.insertGreVia( via( "10.0.0.2" ), gre( "1.1.1.1", "2.2.2.2" ) );
   cons.insertIpsecGreVia( via( "10.0.0.3" ), ipsecGre( "1.1.1.1", "3.3.3.3", "p" ) );
   cons.insertIpsecVtiVia( via( "10.0.0.4" ), ipsecVti( "1.1.1.1", "4.4.4.4", "q" ) );
   cons.insertInvalidVia( via( "10.0.0.5" ) );
   cons.insertBackupLabelStackVia( via( "10.0.0.6" ), push( { 100 } ) );
   cons.arePrimaryViasUsableIs( true );
   cons.seqNoIs( 9 );
   writer->addFibEntry( cons );

   const Tunnel::TunnelFib::TunnelFibEntry fibEntry = fib->entry( ldp( 4 ) );
   ConsolidatedTunnelFibEntry rebuilt = ConsolidatedTunnelFibEntry::fromTunnelFibEntry( fibEntry, fib );
   EXPECT_EQ( rebuilt, cons );
   EXPECT_TRUE( rebuilt.isProgrammedAs( fibEntry, fib ) );
   EXPECT_EQ( writer->registerConsFibEntryForWriting( rebuilt ), fibEntry );
   writer->deregisterEncaps( fibEntry );
   EXPECT_EQ( writer->encapIdRefCount( encapId( EncapType::mplsLabelStackEncap, 0 ) ), 2u );
}

// A FIB entry whose vias are out of record order or repeat one (never
// written so by the writer) reads back as its sorted set.
TEST( ConsolidatedTunnelFibEntry, ProgrammedAsWhateverTheFibOrder ) {
   auto fib = Tunnel::TunnelFib::tunnelFibFactory();
   const EncapId id = encapId( EncapType::mplsLabelStackEncap, 3 );
   fib->labelStackEncapIs( Tunnel::TunnelFib::LabelStackEncap( id, push( { 100 } ) ) );
   const Tunnel::TunnelFib::TunnelVia first( via( "10.0.0.1" ), id );
   const Tunnel::TunnelFib::TunnelVia second( via( "10.0.0.2" ), id );
   auto fibEntry = [ & ]( std::initializer_list< Tunnel::TunnelFib::TunnelVia > vias ) {
      Tunnel::TunnelFib::TunnelFibEntry e( ldp( 1 ) );
      for ( const auto & v : vias ) {
         e.backupTunnelViaIs( e.backupTunnelVia().size(), v );
      }
      return e;
   };
   ConsolidatedTunnelFibEntry both( ldp( 1 ) );
   both.insertBackupLabelStackVia( first.via(), push( { 100 } ) );
   both.insertBackupLabelStackVia( second.via(), push( { 100 } ) );
   ConsolidatedTunnelFibEntry one( ldp( 1 ) );
   one.insertBackupLabelStackVia( first.via(), push( { 100 } ) );

   for ( const auto & e : { fibEntry( { first, second } ), fibEntry( { second, first } ),
                            fibEntry( { first, second, first } ), fibEntry( { first, first } ),
                            fibEntry( { second } ), fibEntry( {} ) } ) {
      for ( const auto & cons : { both, one } ) {
         EXPECT_EQ( cons.isProgrammedAs( e, fib ),
                    ConsolidatedTunnelFibEntry::fromTunnelFibEntry( e, fib ) == cons )
            << e << " as " << cons;
      }
   }
   EXPECT_TRUE( both.isProgrammedAs( fibEntry( { second, first, second } ), fib ) );
   Tunnel::TunnelFib::TunnelFibEntry used = fibEntry( { first, second } );
   used.arePrimaryViasUsableIs( true );
   EXPECT_FALSE( both.isProgrammedAs( used, fib ) );
}

TEST( FibRecords, DefaultsEqualityAndTruth ) {
   EXPECT_EQ( MplsVia(), MplsVia() );
   EXPECT_EQ( MplsVia(), MplsVia( Via(), push( {} ) ) );
   EXPECT_NE( MplsVia(), MplsVia( Via(), push( { 100 } ) ) );
   EXPECT_NE( MplsVia(), MplsVia( Via(), MplsLabelOperation( MplsLabelAction::pop, {} ) ) );
   EXPECT_NE( MplsVia(), MplsVia( Via( {}, *Korvo::IntfId::parse( "Ethernet1" ) ), {} ) );
   EXPECT_NE( MplsVia(), MplsVia( Via( addr( "0.0.0.0" ), {} ), {} ) );

   EXPECT_FALSE( ViaAndTunnelInfo() );
   EXPECT_TRUE( ViaAndTunnelInfo( Via(), EncapType::greEncap ) );
   EXPECT_TRUE( ViaAndTunnelInfo( via( "0.0.0.0" ), EncapType::invalidEncap ) );
   EXPECT_FALSE( ConsolidatedTunnelFibEntry() );
   EXPECT_TRUE( ConsolidatedTunnelFibEntry( ldp( 1 ) ) );
   ConsolidatedTunnelFibEntry seqOnly;
   seqOnly.seqNoIs( 1 );
   EXPECT_TRUE( seqOnly );
   EXPECT_FALSE( Tunnel::TunnelFib::TunnelFibEntry() );
   EXPECT_TRUE( Tunnel::TunnelFib::TunnelFibEntry( ldp( 1 ) ) );
   EXPECT_FALSE( Tunnel::TunnelFib::GreEncap() );
   EXPECT_TRUE( Tunnel::TunnelFib::GreEncap( EncapId(), gre( "1.1.1.1", "2.2.2.2" ) ) );

   EXPECT_EQ( TunnelFibViaCalcResult( 1 ) | TunnelFibViaCalcResult( 32 ), TunnelFibViaCalcResult( 33 ) );
   EXPECT_NE( ( TunnelFibCalcResult{ {}, true, false } ), ( TunnelFibCalcResult{ {}, false, false } ) );
   EXPECT_NE( ( TunnelFibCalcResult{ {}, false, true } ), TunnelFibCalcResult() );
}

TEST( FibRecords, StringForms ) {
   EXPECT_EQ( labelStackRecord( via( "10.0.0.1" ), push( { 100, 200 } ) ).stringValue(),
              labelStackRecordText );
   EXPECT_EQ( ViaAndTunnelInfo().stringValue(),
              "Value('Tunnel::TunnelTable::ViaAndTunnelInfo', ** {'via': "
              "Value('Tunnel::TunnelTable::Via', ** {'hop': , 'intfId': }), "
              "'type': invalid, 'labelStack': push [], " +
                 defaultPayloads + "})" );

   ConsolidatedTunnelFibEntry cons( ldp( 3 ) );
   cons.insertLabelStackVia( via( "10.0.0.1" ), push( { 100, 200 } ) );
   cons.arePrimaryViasUsableIs( true );
   cons.seqNoIs( 7 );
   EXPECT_EQ( cons.stringValue(),
              "Value('Tunnel::TunnelTable::ConsolidatedTunnelFibEntry', ** {'tunnelId': ldp:3, "
              "'viaInfo': [" +
                 labelStackRecordText +
                 "], 'backupViaInfo': [], 'arePrimaryViasUsable': True, 'seqNo': 7})" );

   const std::string viaResultText =
      "Value('Tunnel::TunnelTable::TunnelFibViaCalcResult', ** {'recTunNotReady': True, "
      "'recTunUnprogrammable': False, 'recTunMissing': True, 'recTunNonContrib': False, "
      "'recTunFlattenError': False, 'recTunCycle': True})";
   const TunnelFibViaCalcResult viaResult( TunnelFibViaCalcResult::recTunNotReady |
                                           TunnelFibViaCalcResult::recTunMissing |
                                           TunnelFibViaCalcResult::recTunCycle );
   EXPECT_EQ( viaResult.stringValue(), viaResultText );
   EXPECT_EQ( ( TunnelFibCalcResult{ viaResult, false, true } ).stringValue(),
              "Value('Tunnel::TunnelTable::TunnelFibCalcResult', ** {'viaResult': " +
                 viaResultText + ", 'tunnelTableEntryDeleted': False, 'tunnelContributing': True})" );

   EXPECT_EQ( ipsecVti( "1.1.1.1", "2.2.2.2", "it's \\" ).stringValue(),
              "Value('Tunnel::IpsecVtiTunnelInfo', ** {'src': 1.1.1.1, 'dst': 2.2.2.2, "
              "'ipsecProfile': 'it\\'s \\\\'})" );
   EXPECT_EQ( failureText( [] { ConsolidatedTunnelFibEntry( "anything" ); } ),
              "No String constructor for ConsolidatedTunnelFibEntry - has collection" );
}

TEST( FibRecords, StringFormsReadBack ) {
   for ( const ViaAndTunnelInfo & record : sampleRecords() ) {
      EXPECT_EQ( ViaAndTunnelInfo::parse( record.stringValue() ), record ) << record;
      EXPECT_EQ( Via::parse( record.via().stringValue() ), record.via() );
   }
   for ( unsigned flags = 0; flags < 64; ++flags ) {
      TunnelFibViaCalcResult viaResult( static_cast< std::uint8_t >( flags ) );
      EXPECT_EQ( TunnelFibViaCalcResult::parse( viaResult.stringValue() ), viaResult );
      for ( bool deleted : { false, true } ) {
         TunnelFibCalcResult result{ viaResult, deleted, !deleted };
         EXPECT_EQ( TunnelFibCalcResult::parse( result.stringValue() ), result );
      }
   }

   const std::string text = labelStackRecordText;
   auto replaced = [ & ]( const std::string & from, const std::string & to ) {
      std::string s = text;
      return s.replace( s.find( from ), from.size(), to );
   };
   for ( const std::string & bad : {
            std::string(), text + " ", text.substr( 0, text.size() - 1 ), "x" + text,
            replaced( "'type': mpls", "'type': vxlan" ),
            replaced( "'type': mpls, 'labelStack'", "'labelStack'" ),
            replaced( "push [100 200]", "push [100 200" ),
            replaced( "push [100 200]", "push 100" ), replaced( "10.0.0.1", "10.0.0.300" ),
            replaced( "Ethernet1", "9Ethernet" ), replaced( "'tos': 0})", "'tos': 256})" ),
            replaced( "'ipsecProfile': ''", "'ipsecProfile': '''" ),
            replaced( "'ipsecProfile': ''", "'ipsecProfile': x" ),
            replaced( "TunnelTable::Via'", "TunnelTable::MplsVia'" ) } ) {
      EXPECT_FALSE( ViaAndTunnelInfo::parse( bad ) ) << bad;
   }
   EXPECT_FALSE( TunnelFibViaCalcResult::parse(
      "Value('Tunnel::TunnelTable::TunnelFibViaCalcResult', ** {'recTunNotReady': true})" ) );
   EXPECT_FALSE( TunnelFibCalcResult::parse( TunnelFibViaCalcResult().stringValue() ) );
}

TEST( TunnelViaList, IndexesBeyondTheListOrItsBoundsAreRangeErrors ) {
   const std::string rangeText =
      "TunnelViaIndex::value < TunnelViaIndex::min or > TunnelViaIndex::max not allowed";
   Tunnel::TunnelFib::TunnelFibEntry e( ldp( 1 ) );
   const Tunnel::TunnelFib::TunnelVia v( via( "10.0.0.1" ), EncapId() );
   EXPECT_EQ( failureText( [ & ] { e.tunnelViaIs( 600, v ); } ), rangeText );
   EXPECT_EQ( failureText( [ & ] { e.tunnelViaIs( 1, v ); } ), rangeText );
   e.tunnelViaIs( 0, v );
   EXPECT_EQ( failureText( [ & ] { e.tunnelVia( 1 ); } ), rangeText );
   EXPECT_EQ( failureText( [ & ] { e.backupTunnelVia( 0 ); } ), rangeText );
   Tunnel::TunnelFib::TunnelViaList full;
   for ( unsigned i = 0; i < 600; ++i ) {
      full.add( Tunnel::TunnelFib::TunnelVia( via( "10.0.0.1" ), encapId( EncapType::greEncap, i ) ) );
   }
   full.viaIs( 599, v );
   EXPECT_EQ( full.size(), 600u );
   EXPECT_EQ( full[ 599 ], v );
   EXPECT_EQ( full[ 0 ].encapId(), encapId( EncapType::greEncap, 0 ) );
   EXPECT_EQ( failureText( [ & ] { full.add( v ); } ), rangeText );
   EXPECT_EQ( failureText( [ & ] { full[ 600 ]; } ), rangeText );
}

// Random writes, copies, moves and clears of both list kinds against a plain
// vector: the lists move between their inline via and the heap both ways.
template< class List >
void checkListAgainstVector( std::uint32_t seed ) {
   using Tunnel::TunnelFib::TunnelVia;
   std::mt19937 rng( seed );
   auto pick = [ & ]( unsigned n ) { return unsigned( rng() % n ); };
   auto randomVia = [ & ] {
      return TunnelVia( via( pick( 2 ) ? "10.0.0.1" : "10.0.0.2" ),
                        encapId( EncapType::mplsLabelStackEncap, pick( 4 ) ) );
   };
   List list;
   std::vector< TunnelVia > model;
   for ( int step = 0; step < 2000; ++step ) {
      switch ( pick( 8 ) ) {
      case 0:
      case 1:
      case 2:
         if ( model.size() < 7 ) {
            const TunnelVia v = randomVia();
            list.add( v );
            model.push_back( v );
         }
         break;
      case 3:
         if ( !model.empty() ) {
            const unsigned i = pick( unsigned( model.size() ) );
            model[ i ] = randomVia();
            list.viaIs( i, model[ i ] );
         }
         break;
      case 4: {
         List copy = list;
         ASSERT_EQ( copy, list );
         if ( !model.empty() ) {
            // The copy owns its vias: writing it leaves the original alone.
            copy.viaIs( 0, TunnelVia( via( "10.9.9.9" ), EncapId() ) );
            ASSERT_FALSE( copy == list );
         }
         List assigned;
         assigned.add( randomVia() );
         assigned = list;
         List moved = std::move( assigned );
         list = moved;
         break;
      }
      case 5:
         if ( pick( 4 ) == 0 ) {
            list.delAll();
            model.clear();
         }
         break;
      case 6:
         list.reserve( pick( 6 ) );
         break;
      default: {
         List rebuilt;
         for ( const TunnelVia & v : model ) {
            rebuilt.add( v );
         }
         ASSERT_EQ( rebuilt, list );
         break;
      }
      }
      ASSERT_EQ( list.size(), model.size() );
      ASSERT_EQ( list.empty(), model.empty() );
      ASSERT_TRUE( std::equal( list.begin(), list.end(), model.begin(), model.end() ) )
         << "step " << step;
      for ( unsigned i = 0; i < model.size(); ++i ) {
         ASSERT_EQ( list[ i ], model[ i ] );
      }
      ASSERT_THROW( list[ unsigned( model.size() ) ], Vel::RangeException );
   }
}

TEST( TunnelViaList, BehavesAsAVectorInlineOrSpilled ) {
   for ( std::uint32_t seed = 1; seed <= 20; ++seed ) {
      checkListAgainstVector< Tunnel::TunnelFib::TunnelViaList >( seed );
      checkListAgainstVector< Tunnel::TunnelFib::BackupTunnelViaList >( seed );
   }
}

} // namespace
