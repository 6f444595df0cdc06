#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/mirra/Collection.h"

namespace {

using Table = Mirra::Collection< int, std::string >;

TEST( MirraCollection, EveryWriteAdvancesTheSequenceAndNotifiesItsKey ) {
   Table table;
   std::vector< int > keys;
   auto r = table.react( [ & ]( const int & k ) { keys.push_back( k ); } );
   table.entryIs( 1, "a" );
   table.entryIs( 1, "a" );
   table.entryIs( 2, "b" );
   EXPECT_EQ( table.sequenceNumber(), 3u );
   table.entryDel( 9 );
   EXPECT_EQ( table.sequenceNumber(), 3u );
   table.entryDel( 1 );
   EXPECT_EQ( table.sequenceNumber(), 4u );
   table.entryDelAll();
   EXPECT_EQ( table.sequenceNumber(), 5u );
   EXPECT_EQ( keys, ( std::vector< int >{ 1, 1, 2, 1, 2 } ) );
}

TEST( MirraCollection, ControlPresenceSaysTheTableIsDeclared ) {
   Table table;
   int changes = 0;
   auto r = table.control().react( [ & ] { ++changes; } );
   EXPECT_FALSE( table.control()() );
   auto control = Vel::make< Mirra::CollectionControl >();
   table.controlIs( control );
   EXPECT_EQ( changes, 1 );
   EXPECT_FALSE( table.control()()->tableComplete()() );
   control->tableCompleteIs( true );
   EXPECT_TRUE( table.control()()->tableComplete()() );
   table.controlIs( nullptr );
   EXPECT_EQ( changes, 2 );
}

TEST( MirraCollection, CorruptedLookupsThrowOrReportToTheHandler ) {
   Table table;
   table.entryIs( 1, "a" );
   std::vector< std::string > reports;
   table.corruptionHandlerIs( [ & ]( const std::string & m ) { reports.push_back( m ); } );
   table.corruptedIs( true );
   EXPECT_THROW( table.find( 1 ), Mirra::CorruptionError );
   EXPECT_THROW( table.has( 1 ), Mirra::CorruptionError );
   EXPECT_EQ( table.lookup( 1 ), "" );
   ASSERT_EQ( reports.size(), 1u );
   EXPECT_EQ( reports[ 0 ], "Mirra::Collection: corrupted table" );
   EXPECT_EQ( table.corruptionReports(), 1u );
   table.corruptedIs( false );
   EXPECT_EQ( table.lookup( 1 ), "a" );
   EXPECT_EQ( table.corruptionReports(), 1u );
}

} // namespace
