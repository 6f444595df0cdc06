#include "tools/tunneld/harness/StoreHarness.h"

#include <chrono>
#include <thread>

namespace TunnelD::Harness {

using TunnelSim::Json;

KeyValues scenarioInputKeys( const KeySchema & schema, const Json & scenario ) {
   const std::string in = schema.inputs();
   KeyValues keys;
   auto dump = []( const Json & json ) { return json.dump(); };
   for ( const char * setting : { "toggles", "mplsTunnelConfig", "gracefulRestart" } ) {
      if ( scenario.contains( setting ) ) {
         keys.emplace_back( in + setting, dump( scenario[ setting ] ) );
      }
   }
   if ( scenario.contains( "tables" ) ) {
      for ( const auto & [ name, table ] : scenario[ "tables" ].items() ) {
         for ( const Json & entry : table.value( "entries", Json::array() ) ) {
            keys.emplace_back( in + "table:" + name + ":" + entry[ "id" ].get< std::string >(),
                               dump( entry ) );
         }
         if ( table.value( "described", true ) ) {
            keys.emplace_back( in + "described:" + name, "true" );
         }
      }
   }
   if ( scenario.contains( "bgpLuConvergence" ) ) {
      keys.emplace_back( in + "bgpLuConvergence", dump( scenario[ "bgpLuConvergence" ] ) );
   }
   if ( scenario.contains( "ribs" ) ) {
      for ( const auto & [ name, config ] : scenario[ "ribs" ].items() ) {
         keys.emplace_back( in + "rib:" + name, dump( config ) );
      }
   }
   return keys;
}

void writeAll( RedisLink & link, const KeyValues & keys ) {
   for ( const auto & [ key, value ] : keys ) {
      link.append( { "SET", key, value } );
   }
   link.flush();
}

std::map< std::string, std::string > readAtOnce( RedisLink & link, const std::string & pattern ) {
   static const std::string script = R"(
      local out = {}
      for _, key in ipairs( redis.call( 'KEYS', ARGV[ 1 ] ) ) do
         if redis.call( 'TYPE', key ).ok == 'string' then
            out[ #out + 1 ] = key
            out[ #out + 1 ] = redis.call( 'GET', key )
         end
      end
      return out )";
   auto reply = link.command( { "EVAL", script, "0", pattern } );
   if ( reply.error ) {
      throw RedisError( "cannot read " + pattern + ": " + reply.text );
   }
   std::map< std::string, std::string > values;
   for ( std::size_t i = 0; i + 1 < reply.elements.size(); i += 2 ) {
      values[ reply.elements[ i ].text ] = reply.elements[ i + 1 ].text;
   }
   return values;
}

bool synced( RedisLink & link, const KeySchema & schema, const std::string & token,
             double seconds ) {
   link.command( { "SET", schema.inputs() + "sync", token } );
   auto deadline = std::chrono::steady_clock::now() + std::chrono::duration< double >( seconds );
   while ( std::chrono::steady_clock::now() < deadline ) {
      if ( link.command( { "HGET", schema.status(), "sync" } ).text == token ) {
         return true;
      }
      std::this_thread::sleep_for( std::chrono::microseconds( 200 ) );
   }
   return false;
}

} // namespace TunnelD::Harness
