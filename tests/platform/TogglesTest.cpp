#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include <unistd.h>

#include "platform/toggles/FeatureToggles.h"

namespace {

using Toggles::FeatureToggles;

TEST( Toggles, ParsesAFlatObjectOfBooleansOnly ) {
   std::map< std::string, bool > values;
   EXPECT_TRUE( FeatureToggles::parse(
      " {\n \"TunnelUnflatten\": true, \"MplsL3VpnSso\" :false }\n", values ) );
   EXPECT_EQ( values, ( std::map< std::string, bool >{ { "TunnelUnflatten", true },
                                                        { "MplsL3VpnSso", false } } ) );
   for ( const char * bad : { "", "{", "{ \"A\": true", "{ \"A\": 1 }", "{ \"A\": true, }",
                              "{ A: true }", "{ \"A\": true } x", "[ true ]" } ) {
      EXPECT_FALSE( FeatureToggles::parse( bad, values ) ) << bad;
   }
   EXPECT_EQ( values.size(), 2u ); // untouched by the failures
   EXPECT_TRUE( FeatureToggles::parse( "{}", values ) );
   EXPECT_TRUE( values.empty() );
}

TEST( Toggles, ReadsTheFileOnceAndCachesIt ) {
   auto dir = std::filesystem::temp_directory_path() / ( "togglesTest" + std::to_string( getpid() ) );
   std::filesystem::create_directories( dir );
   auto write = [ & ]( const std::string & text ) { std::ofstream( dir / "Tunnel.json" ) << text; };
   setenv( "TUNNEL_TOGGLE_DIR", dir.c_str(), 1 );
   FeatureToggles & toggles = FeatureToggles::instance();

   write( "{ \"TunnelUnflatten\": true }" );
   toggles.reset();
   EXPECT_TRUE( Toggles::toggleEnabled( "TunnelUnflatten" ) );
   EXPECT_FALSE( Toggles::toggleEnabled( "MplsL3VpnSso" ) );
   write( "{ \"TunnelUnflatten\": false }" );
   EXPECT_TRUE( Toggles::toggleEnabled( "TunnelUnflatten" ) );
   toggles.toggleIs( "MplsL3VpnSso", true );
   EXPECT_TRUE( Toggles::toggleEnabled( "MplsL3VpnSso" ) );
   toggles.reset();
   EXPECT_FALSE( Toggles::toggleEnabled( "TunnelUnflatten" ) );
   EXPECT_FALSE( Toggles::toggleEnabled( "MplsL3VpnSso" ) );

   // A malformed or missing file leaves every toggle off.
   write( "{ \"TunnelUnflatten\": yes }" );
   toggles.reset();
   EXPECT_FALSE( Toggles::toggleEnabled( "TunnelUnflatten" ) );
   std::filesystem::remove_all( dir );
   toggles.reset();
   EXPECT_FALSE( Toggles::toggleEnabled( "TunnelUnflatten" ) );

   unsetenv( "TUNNEL_TOGGLE_DIR" );
   toggles.reset();
}

} // namespace
