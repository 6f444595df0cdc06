#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/statix/EntityManager.h"
#include "platform/vel/RangeException.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"
#include "types/TunnelRibEntry.h"

using namespace Tunnel::TunnelTable;

namespace {

Korvo::IpGenPrefix prefix( const char * text ) { return *Korvo::IpGenPrefix::parse( text ); }

TunnelId ldp( std::uint64_t index ) { return TunnelId( TunnelType::ldpTunnel, index ); }

std::vector< TunnelId > ids( const TunnelRibEntry & e ) {
   std::vector< TunnelId > out;
   for ( unsigned i = 0; i < e.tunnelIdCount(); ++i ) {
      out.push_back( e.tunnelId( i ) );
   }
   return out;
}

std::string rangeText( const std::function< void() > & f ) {
   try {
      f();
   } catch ( const Vel::RangeException & e ) {
      return e.what();
   }
   return "";
}

const std::string indexRange =
   "TunnelIdCollIndex::value < TunnelIdCollIndex::min or > TunnelIdCollIndex::max not allowed";

TEST( TunnelRibEntry, TunnelIdSlots ) {
   TunnelRibEntry e( ColoredTunnelEndpoint( prefix( "10.0.0.1/32" ) ) );
   EXPECT_TRUE( e.empty() );
   e.addTunnelId( ldp( 1 ) );
   e.addTunnelId( ldp( 2 ) );
   e.addTunnelId( ldp( 1 ) );
   e.addTunnelId( ldp( 3 ) );
   EXPECT_EQ( ids( e ), ( std::vector{ ldp( 1 ), ldp( 2 ), ldp( 3 ) } ) );

   // The last id moves into the gap.
   e.delTunnelId( ldp( 1 ) );
   EXPECT_EQ( ids( e ), ( std::vector{ ldp( 3 ), ldp( 2 ) } ) );
   TunnelRibEntry before = e;
   e.delTunnelId( ldp( 9 ) );
   EXPECT_EQ( e, before );
   e.delTunnelId( ldp( 2 ) );
   e.delTunnelId( ldp( 3 ) );
   EXPECT_TRUE( e.empty() );

   e.tunnelIdIs( 0, ldp( 5 ) );
   e.tunnelIdIs( 1, ldp( 6 ) );
   e.tunnelIdIs( 0, ldp( 7 ) );
   EXPECT_EQ( ids( e ), ( std::vector{ ldp( 7 ), ldp( 6 ) } ) );
   EXPECT_EQ( rangeText( [ & ] { e.tunnelIdIs( 3, ldp( 8 ) ); } ), indexRange );
   EXPECT_EQ( rangeText( [ & ] { e.tunnelId( 2 ); } ), indexRange );
   EXPECT_EQ( rangeText( [ & ] { e.tunnelIdDel( 2 ); } ), indexRange );
   e.tunnelIdDel( 1 );
   EXPECT_EQ( ids( e ), ( std::vector{ ldp( 7 ) } ) );
}

TEST( TunnelRibEntry, HoldsAtMost600Ids ) {
   TunnelRibEntry e;
   for ( unsigned i = 0; i < maxTunnelIdsPerRibEntry; ++i ) {
      e.addTunnelId( ldp( i ) );
   }
   EXPECT_EQ( rangeText( [ & ] { e.addTunnelId( ldp( 600 ) ); } ), indexRange );
   EXPECT_EQ( e.tunnelIdCount(), 600u );
   e.addTunnelId( ldp( 599 ) ); // already listed: no growth, no error
   e.delTunnelId( ldp( 0 ) );
   EXPECT_EQ( e.tunnelId( 0 ), ldp( 599 ) );
   EXPECT_EQ( e.tunnelIdCount(), 599u );
}

TunnelRibEntry sampleEntry() {
   TunnelRibEntry e( ColoredTunnelEndpoint( prefix( "2001:db8::/32" ), 0xA0B0C0D0u ) );
   e.addTunnelId( TunnelId( TunnelType::srTunnel, 1 ) );
   e.addTunnelId( TunnelId( TunnelType::isisFlexAlgoTunnel, 0xFFFFFFFFFFFull ) );
   e.prefIs( 200 );
   e.mIs( 0xFFFFFFFFu );
   e.metricTypeIs( 2 );
   e.m2Is( 7 );
   e.igpCostPrefIs( 0x01020304u );
   e.p2Is( 9 );
   return e;
}

TEST( TunnelRibEntry, MarshalRoundTrip ) {
   TunnelRibEntry v4( ColoredTunnelEndpoint( prefix( "10.1.0.0/16" ) ) );
   v4.addTunnelId( ldp( 4 ) );
   for ( const TunnelRibEntry & e : { sampleEntry(), v4, TunnelRibEntry() } ) {
      auto bytes = e.serialize();
      EXPECT_EQ( bytes.size(), e.serializeLen() );
      EXPECT_EQ( TunnelRibEntry::deserializeLen( bytes ), bytes.size() );
      bytes.push_back( 0xEE ); // whatever follows the entry is not read
      TunnelRibEntry back( ColoredTunnelEndpoint( prefix( "1.1.1.1/32" ) ) );
      ASSERT_TRUE( back.deserialize( bytes ) );
      EXPECT_EQ( back, e ) << back;
   }
   EXPECT_EQ( v4.serializeLen(), 3u + 4 + 28 + 8 );
}

TEST( TunnelRibEntry, RefusesShortOrMalformedBuffers ) {
   const TunnelRibEntry original = sampleEntry();
   const auto good = original.serialize();
   const TunnelRibEntry untouched( ColoredTunnelEndpoint( prefix( "1.1.1.1/32" ) ) );
   auto refused = [ & ]( std::span< const std::uint8_t > buffer ) {
      TunnelRibEntry e = untouched;
      return !e.deserialize( buffer ) && e == untouched;
   };
   for ( std::size_t len = 0; len < good.size(); ++len ) {
      EXPECT_TRUE( refused( std::span( good ).first( len ) ) ) << len;
   }
   auto patched = [ & ]( std::size_t at, std::uint8_t value ) {
      auto bytes = good;
      bytes[ at ] = value;
      return bytes;
   };
   const std::size_t colorAt = 3 + 16 + 1, countAt = 3 + 16 + 26, idsAt = countAt + 2;
   EXPECT_TRUE( refused( patched( 0, 2 ) ) );             // unknown version
   EXPECT_TRUE( refused( patched( 1, 5 ) ) );             // unknown family
   EXPECT_TRUE( refused( patched( 2, 129 ) ) );           // length beyond the family
   EXPECT_TRUE( refused( patched( 7, 1 ) ) );             // host bits under a /32
   EXPECT_TRUE( refused( patched( colorAt - 1, 2 ) ) );   // colored flag not 0/1
   EXPECT_TRUE( refused( patched( idsAt + 7, 0x02 ) ) );  // id above TunnelId::maxValue
   EXPECT_EQ( TunnelRibEntry::deserializeLen( std::span( good ).first( 10 ) ), 0u );

   // More than 600 ids, buffer long enough for all of them.
   auto many = good;
   many[ countAt ] = 601 & 0xFF;
   many[ countAt + 1 ] = 601 >> 8;
   many.resize( idsAt + 8 * 601 );
   EXPECT_TRUE( refused( many ) );
}

TEST( TunnelRib, KeyedByPrefixAndToldEachChangedKey ) {
   Statix::EntityManager manager;
   Vel::Ptr< TunnelRibBase > base = manager.mount< TunnelRib >( "tunnel/tunnelRibs/status/0" );
   auto rib = Vel::dynamicCast< TunnelRib >( base );
   ASSERT_TRUE( rib );
   EXPECT_FALSE( base->isColored() );
   std::vector< Korvo::IpGenPrefix > told;
   auto reactor = rib->entry().react( [ & ]( const Korvo::IpGenPrefix & p ) { told.push_back( p ); } );

   const ColoredTunnelEndpoint red( prefix( "10.0.0.1/32" ), 1 );
   const ColoredTunnelEndpoint plain( prefix( "10.0.0.1/32" ) );
   EXPECT_EQ( base->tunnelRibEntry( red ), TunnelRibEntry( red ) );
   TunnelRibEntry e( plain );
   e.addTunnelId( ldp( 1 ) );
   base->tunnelRibEntryIs( e );
   EXPECT_EQ( base->tunnelRibEntry( red ), e ); // a color addresses its prefix's entry
   EXPECT_EQ( base->size(), 1u );
   EXPECT_EQ( base->sequenceNumber(), 1u );

   base->tunnelRibEntryDel( ColoredTunnelEndpoint( prefix( "10.0.0.2/32" ) ) );
   EXPECT_EQ( base->sequenceNumber(), 1u );
   base->tunnelRibEntryDel( red );
   EXPECT_TRUE( base->tunnelRibEntry( plain ).empty() );
   EXPECT_EQ( told, ( std::vector{ plain.tep(), plain.tep() } ) );

   base->tunnelRibEntryIs( e );
   manager.cleanup( "tunnel/tunnelRibs/status/0" );
   EXPECT_EQ( rib->size(), 0u );

   // A corrupted table reads as absent and is reported.
   base->tunnelRibEntryIs( e );
   int reports = 0;
   rib->corruptionHandlerIs( [ & ]( const std::string & ) { ++reports; } );
   rib->corruptedIs( true );
   EXPECT_EQ( base->tunnelRibEntry( plain ), TunnelRibEntry( plain ) );
   EXPECT_EQ( reports, 1 );
}

TEST( ColoredTunnelRib, KeepsEachColorApart ) {
   auto rib = coloredTunnelRibFactory();
   EXPECT_TRUE( rib->isColored() );
   rib->idIs( TunnelRibId::systemColoredTunnelRib );
   EXPECT_EQ( rib->tunnelRibId(), TunnelRibId( 1 ) );
   const ColoredTunnelEndpoint red( prefix( "10.0.0.1/32" ), 1 );
   const ColoredTunnelEndpoint blue( prefix( "10.0.0.1/32" ), 2 );
   TunnelRibEntry r( red ), b( blue );
   r.addTunnelId( ldp( 1 ) );
   b.addTunnelId( ldp( 2 ) );
   rib->entryIs( r );
   rib->entryIs( b );
   EXPECT_EQ( rib->size(), 2u );
   EXPECT_EQ( rib->tunnelRibEntry( red ), r );
   EXPECT_EQ( rib->tunnelRibEntry( blue ), b );
   EXPECT_TRUE( rib->tunnelRibEntry( ColoredTunnelEndpoint( red.tep() ) ).empty() );
   rib->entryDel( red );
   EXPECT_EQ( rib->entry().begin()->first, blue );
}

} // namespace
