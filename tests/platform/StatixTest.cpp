#include <gtest/gtest.h>

#include <string>

#include "platform/mirra/Collection.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Assert.h"

namespace {

struct Table : Statix::Mountable, Mirra::Collection< int, std::string > {
   void cleanup() override { entryDelAll(); }
};

struct OtherTable : Statix::Mountable {
   void cleanup() override {}
};

TEST( StatixEntityManager, MountsShareOneEntityPerPath ) {
   auto manager = Vel::make< Statix::EntityManager >();
   auto producer = manager->mount< Table >( "tunnel/table/ldp" );
   auto consumer = manager->mount< Table >( "tunnel/table/ldp" );
   EXPECT_EQ( producer, consumer );
   producer->entryIs( 1, "a" );
   EXPECT_EQ( consumer->lookup( 1 ), "a" );
   EXPECT_EQ( manager->lookup< Table >( "tunnel/table/ldp" ), producer );
   EXPECT_EQ( manager->lookup< OtherTable >( "tunnel/table/ldp" ), nullptr );
   EXPECT_EQ( manager->lookup< Table >( "tunnel/table/sr" ), nullptr );
   try {
      manager->mount< OtherTable >( "tunnel/table/ldp" );
      FAIL();
   } catch ( const Vel::AssertionError & e ) {
      EXPECT_STREQ( e.what(), "Path mounted with another type" );
   }

   manager->cleanup( "tunnel/table/ldp" );
   EXPECT_TRUE( consumer->empty() );
   // Unmounting drops only the manager's reference; a new mount is a new entity.
   consumer->entryIs( 2, "b" );
   manager->unmount( "tunnel/table/ldp" );
   EXPECT_FALSE( manager->mounted( "tunnel/table/ldp" ) );
   EXPECT_EQ( consumer->lookup( 2 ), "b" );
   auto fresh = manager->mount< OtherTable >( "tunnel/table/ldp" );
   EXPECT_EQ( manager->mountCount(), 1u );
}

} // namespace
