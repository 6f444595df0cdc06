#include "tools/tunneld/ScenarioExport.h"

#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelD {

using TunnelSim::Json;

Json scenarioOf( const KeySchema & schema, const std::map< std::string, std::string > & inputs,
                 const std::function< void( const std::string &, const std::string & ) > & refuse ) {
   Json scenario = Json::object();
   scenario[ "comment" ] = "the inputs under " + schema.inputs() + " as tunneld read them";
   Json tables = Json::object();
   Json ribs = Json::object();
   Json complete = Json::object();
   auto table = [ & ]( const std::string & name ) -> Json & {
      if ( !tables.contains( name ) ) {
         tables[ name ] = { { "described", false }, { "entries", Json::array() } };
      }
      return tables[ name ];
   };
   const std::string prefix = schema.inputs();
   for ( const auto & [ key, text ] : inputs ) {
      const std::string name = key.substr( prefix.size() );
      if ( name == "sync" ) {
         continue;
      }
      try {
         // Refuses what tunneld would refuse.
         readInputKey( schema, key, text );
         Json value = TunnelSim::parseJson( text );
         auto rest = [ & ]( std::size_t head ) { return name.substr( head ); };
         if ( name.starts_with( "table:" ) ) {
            std::string tail = rest( 6 );
            table( tail.substr( 0, tail.find( ':' ) ) )[ "entries" ].push_back( std::move( value ) );
         } else if ( name.starts_with( "described:" ) ) {
            table( rest( 10 ) )[ "described" ] = value;
         } else if ( name.starts_with( "tableComplete:" ) ) {
            complete[ rest( 14 ) ] = value;
         } else if ( name.starts_with( "rib:" ) ) {
            ribs[ rest( 4 ) ] = std::move( value );
         } else {
            scenario[ name ] = std::move( value );
         }
      } catch ( const TunnelSim::ScenarioError & e ) {
         refuse( key, e.what() );
      }
   }
   scenario[ "tables" ] = std::move( tables );
   scenario[ "ribs" ] = std::move( ribs );
   scenario[ "script" ] = Json::array();
   if ( !complete.empty() ) {
      scenario[ "script" ].push_back( { { "tableComplete", std::move( complete ) } } );
   }
   scenario[ "script" ].push_back( "run" );
   return scenario;
}

} // namespace TunnelD
