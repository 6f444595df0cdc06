// tunnelsim: runs the tunnel agent's machines over a scenario file and prints
// which tunnels each endpoint gets and what the tunnel FIB programs. See
// docs/scenario-format.md.
#include <iostream>
#include <map>

#include <CLI/CLI.hpp>

#include "platform/vel/Assert.h"
#include "tools/tunnelsim/Runner.h"
#include "tools/tunnelsim/ScenarioError.h"

int main( int argc, char ** argv ) {
   using namespace TunnelSim;

   CLI::App app( "Runs the tunnel agent's machines over a scenario and prints the tunnel RIBs "
                 "and the tunnel FIB.",
                 "tunnelsim" );
   std::string file;
   std::string format = "json";
   int traceLevel = -1;
   std::uint64_t yieldAfter = 0;
   bool dump = false;
   bool protocolRibs = false;
   bool stream = false;
   bool check = false;
   std::vector< std::string > explainTargets;
   std::optional< std::uint32_t > color;
   std::string graph;
   std::string graphTunnel;
   app.add_option( "scenario", file, "The scenario file (JSON)" );
   app.add_option( "--format", format, "How snapshots are printed: json or table" )
      ->check( CLI::IsMember( { "json", "table" } ) );
   app.add_option( "--trace", traceLevel, "Write trace lines up to this level (0-9) to stderr" )
      ->check( CLI::Range( 0, 9 ) );
   app.add_option( "--yield-after", yieldAfter,
                   "Tasks yield after this many units of work (default: never)" )
      ->check( CLI::Range( std::uint64_t( 1 ), std::uint64_t( 1 ) << 62 ) );
   app.add_flag( "--dump", dump, "Add the machines' state dump to every print" );
   app.add_flag( "--protocol-ribs", protocolRibs,
                 "Add the system RIB's per-type RIBs to every print" );
   app.add_flag( "--stream", stream,
                 "Read steps as JSON lines on stdin and write the RIB changes as JSON lines; "
                 "the scenario file, if given, sets up the start" );
   app.add_flag( "--check", check, "Only check that the scenario is well-formed" );
   auto * explainOption = app.add_option(
      "--explain", explainTargets,
      "Explain an endpoint (a prefix) or a tunnel (an id) in the state the script leaves, "
      "instead of printing; may be repeated" );
   app.add_option( "--color", color, "The color of the endpoints --explain names" )
      ->needs( explainOption );
   auto * graphOption =
      app.add_option( "--graph", graph,
                      "Write the tunnel-over-tunnel graph of the state the script leaves, in "
                      "Graphviz DOT or rendered as SVG (which needs Graphviz's dot), instead of "
                      "printing" )
         ->check( CLI::IsMember( { "dot", "svg" } ) )
         ->excludes( explainOption );
   app.add_option( "--graph-tunnel", graphTunnel,
                   "Limit the graph to what this tunnel rests on and what rests on it" )
      ->needs( graphOption );
   try {
      app.parse( argc, argv );
      if ( file.empty() && !stream ) {
         throw CLI::RequiredError( "scenario" );
      }
   } catch ( const CLI::ParseError & e ) {
      int status = app.exit( e );
      return status == 0 ? exitOk : exitUsage;
   }

   // The agent's assertions come back as exceptions, so a scenario that
   // drives it into one is reported instead of aborting the process.
   Vel::assertionHandlerIs( Vel::throwingAssertionHandler );

   RunOptions options;
   options.format = format == "table" ? Format::table : Format::json;
   options.snapshot.dump = dump;
   options.snapshot.protocolRibs = protocolRibs;
   if ( traceLevel >= 0 ) {
      options.traceLevel = traceLevel;
   }
   if ( yieldAfter > 0 ) {
      options.yieldAfter = yieldAfter;
   }
   // The command line's questions are read as the steps that ask them.
   std::string option;
   try {
      for ( const std::string & target : explainTargets ) {
         option = "--explain " + target;
         Json step = { { "explain", target } };
         if ( color ) {
            step[ "color" ] = *color;
         }
         options.lastState.push_back( *readQuestion( JsonValue( step, "$" ) ) );
      }
      if ( !graph.empty() ) {
         options.graph =
            graph == "svg" ? RunOptions::GraphFormat::svg : RunOptions::GraphFormat::dot;
         if ( !graphTunnel.empty() ) {
            option = "--graph-tunnel " + graphTunnel;
            Json step = { { "graph", "dot" }, { "tunnel", graphTunnel } };
            options.graphTunnel = readQuestion( JsonValue( step, "$" ) )->tunnel;
         }
      }
   } catch ( const ScenarioError & e ) {
      std::cerr << "tunnelsim: " << option << ": " << e.problem() << "\n";
      return exitUsage;
   }
   Runner runner( options, std::cout, std::cerr );
   if ( check ) {
      return runner.check( file );
   }
   if ( stream ) {
      return runner.stream( file.empty() ? std::nullopt : std::optional( file ), std::cin );
   }
   return runner.play( file );
}
