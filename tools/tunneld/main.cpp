// tunneld: the tunnel agent as a daemon over a Redis store. It reads the
// protocol tables and configuration from input keys, follows their changes,
// and publishes the tunnel RIBs and the tunnel FIB as output keys. See
// docs/tunneld.md.
#include <csignal>
#include <fstream>
#include <iostream>

#include <CLI/CLI.hpp>

#include "tools/tunneld/Daemon.h"
#include "tools/tunneld/RedisLink.h"
#include "tools/tunneld/ScenarioExport.h"
#include "tools/tunnelsim/JsonPrint.h"

namespace {

void requestStop( int ) { TunnelD::stopRequested = 1; }

// Writes the store's inputs as a scenario file; the exit status.
int writeScenario( const TunnelD::DaemonOptions & options, const std::string & file ) {
   using namespace TunnelD;
   KeySchema schema( options.prefix );
   std::map< std::string, std::string > inputs;
   try {
      RedisLink link( options.host, options.port );
      inputs = readMatching( link, schema.inputs() + "*" );
   } catch ( const RedisError & e ) {
      std::cerr << "tunneld: " << e.what() << "\n";
      return 1;
   }
   auto scenario = scenarioOf( schema, inputs, []( const std::string & key, const std::string & why ) {
      std::cerr << "tunneld: left out " << key << ": " << why << "\n";
   } );
   std::ofstream out( file );
   out << TunnelSim::prettyJson( scenario ) << "\n";
   if ( !out ) {
      std::cerr << "tunneld: cannot write " << file << "\n";
      return 1;
   }
   return 0;
}

} // namespace

int main( int argc, char ** argv ) {
   CLI::App app( "Runs the tunnel agent over a Redis store: reads the protocol tunnel tables and "
                 "configuration from keys under <prefix>:in:, publishes the tunnel RIBs and the "
                 "tunnel FIB under <prefix>:out:.",
                 "tunneld" );
   TunnelD::DaemonOptions options;
   std::string scenarioFile;
   app.add_option( "--host", options.host, "The Redis server's address" )->capture_default_str();
   app.add_option( "--port", options.port, "The Redis server's port" )
      ->check( CLI::Range( 1, 65535 ) )
      ->capture_default_str();
   app.add_option( "--prefix", options.prefix, "The prefix of every key tunneld reads or writes" )
      ->capture_default_str();
   app.add_option( "--write-scenario", scenarioFile,
                   "Write the inputs in the store as a tunnelsim scenario file and exit" );
   CLI11_PARSE( app, argc, argv );

   if ( !scenarioFile.empty() ) {
      return writeScenario( options, scenarioFile );
   }
   struct sigaction action = {};
   action.sa_handler = requestStop;
   sigemptyset( &action.sa_mask );
   sigaction( SIGTERM, &action, nullptr );
   sigaction( SIGINT, &action, nullptr );
   std::signal( SIGPIPE, SIG_IGN );
   return TunnelD::Daemon( options, std::cerr ).run();
}
