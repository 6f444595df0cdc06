#include "tools/tunnelsim/Runner.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <sstream>

#include "platform/mox/TaskScheduler.h"
#include "platform/vel/Assert.h"
#include "platform/vel/RangeException.h"
#include "platform/vel/Trace.h"
#include "agent/TunnelAgent.h"
#include "tools/tunnelsim/ExplainPrinter.h"
#include "tools/tunnelsim/Explanation.h"
#include "tools/tunnelsim/GraphPrinter.h"
#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/JsonPrint.h"
#include "tools/tunnelsim/ScenarioError.h"
#include "tools/tunnelsim/SnapshotPrinter.h"

namespace TunnelSim {

namespace {

std::optional< std::string > readFile( const std::string & file, std::string & text ) {
   std::ifstream in( file, std::ios::binary );
   if ( !in ) {
      return std::strerror( errno );
   }
   std::ostringstream contents;
   contents << in.rdbuf();
   if ( in.bad() ) {
      return std::strerror( errno );
   }
   text = contents.str();
   return std::nullopt;
}

// The changes between two states of all RIBs, as stream lines.
std::vector< Json > ribChanges( std::size_t line, const Snapshot & before,
                                const Snapshot & after ) {
   auto old = ribEntriesByKey( before );
   auto now = ribEntriesByKey( after );
   std::map< Tunnel::TunnelTable::TunnelRibId, std::string > names;
   for ( const Snapshot * snapshot : { &before, &after } ) {
      for ( const RibView & rib : snapshot->ribs ) {
         names[ rib.id ] = rib.name;
      }
   }
   auto change = [ & ]( const RibEntryKey & key, const char * what ) {
      Json json = Json::object();
      json[ "line" ] = line;
      json[ "rib" ] = names[ key.first ].empty() ? Json() : Json( names[ key.first ] );
      json[ "ribId" ] = key.first.value();
      json[ "change" ] = what;
      return json;
   };
   std::vector< Json > result;
   for ( const auto & [ key, entry ] : old ) {
      if ( !now.count( key ) ) {
         Json json = change( key, "delete" );
         json[ "endpoint" ] = key.second.tep().stringValue();
         json[ "color" ] = key.second.colored() ? Json( key.second.color() ) : Json();
         result.push_back( std::move( json ) );
      }
   }
   for ( const auto & [ key, entry ] : now ) {
      auto previous = old.find( key );
      if ( previous == old.end() || !( *previous->second == *entry ) ) {
         Json json = change( key, "set" );
         json[ "entry" ] = ribEntryJson( *entry );
         result.push_back( std::move( json ) );
      }
   }
   return result;
}

} // namespace

Runner::Runner( RunOptions options, std::ostream & out, std::ostream & err )
      : options_( std::move( options ) ), out_( out ), err_( err ) {}

std::optional< Scenario > Runner::load( const std::string & file ) {
   std::string text;
   if ( auto problem = readFile( file, text ) ) {
      err_ << file << ": cannot be read: " << *problem << "\n";
      return std::nullopt;
   }
   try {
      Json json = parseJson( text );
      return readScenario( JsonValue( json, "$" ) );
   } catch ( const ScenarioError & e ) {
      err_ << file << ": " << e.what() << "\n";
      return std::nullopt;
   }
}

void Runner::configure( Tunnel::TunnelAgent & agent ) const {
   if ( options_.traceLevel ) {
      Vel::traceLevelIs( *options_.traceLevel );
   }
   if ( options_.yieldAfter ) {
      agent.scheduler->yieldPolicyIs( Mox::yieldAfterUnits( *options_.yieldAfter ) );
   } else {
      agent.scheduler->yieldPolicyIs( []( std::uint64_t, double ) { return false; } );
   }
}

std::optional< std::string > Runner::guarded( const std::function< void() > & f ) const {
   try {
      f();
   } catch ( const Vel::AssertionError & e ) {
      return std::string( "assertion failed: " ) + e.what();
   } catch ( const Vel::RangeException & e ) {
      return std::string( "range error: " ) + e.what();
   } catch ( const std::exception & e ) {
      return std::string( "error: " ) + e.what();
   }
   return std::nullopt;
}

void Runner::apply( Tunnel::TunnelAgent & agent, const Step & step ) const {
   switch ( step.kind ) {
   case Step::Kind::change:
      step.change( agent );
      break;
   case Step::Kind::run:
      agent.scheduler->runUntilIdle();
      break;
   case Step::Kind::advance:
      agent.scheduler->runFor( step.seconds );
      break;
   case Step::Kind::stop:
      agent.stop();
      break;
   case Step::Kind::start:
      if ( !agent.running() ) {
         agent.start();
      }
      break;
   case Step::Kind::restart:
      agent.restart();
      break;
   case Step::Kind::print:
   case Step::Kind::dump:
   case Step::Kind::explain:
   case Step::Kind::graph:
      break;
   }
}

Snapshot Runner::snapshotAt( const Tunnel::TunnelAgent & agent, const Step * step ) const {
   SnapshotOptions options = options_.snapshot;
   options.dump = options.dump || ( step && step->kind == Step::Kind::dump );
   Snapshot snapshot = takeSnapshot( agent, options );
   if ( step ) {
      snapshot.step = step->path;
      snapshot.verb = step->verb;
      snapshot.label = step->label;
   }
   return snapshot;
}

void Runner::abandon() const {
   out_.flush();
   err_.flush();
   std::fflush( nullptr );
   std::_Exit( exitStopped );
}

int Runner::check( const std::string & file ) {
   if ( !load( file ) ) {
      return exitMalformed;
   }
   out_ << file << ": well-formed\n";
   return exitOk;
}

int Runner::play( const std::string & file ) {
   auto scenario = load( file );
   if ( !scenario ) {
      return exitMalformed;
   }
   Tunnel::TunnelAgent agent( Tunnel::TunnelAgent::Options{ scenario->tunnelFib } );
   configure( agent );
   // Questions about the last state replace what the script prints.
   const bool lastStateOnly = !options_.lastState.empty() || options_.graph;
   Json snapshots = Json::array();
   Json explanations = Json::array();
   auto separator = [ & ] { return snapshots.empty() && explanations.empty() ? "" : "\n"; };
   auto emit = [ & ]( const Snapshot & snapshot ) {
      if ( lastStateOnly ) {
         return;
      }
      if ( options_.format == Format::table ) {
         out_ << separator() << snapshotTable( snapshot ) << std::flush;
      }
      snapshots.push_back( snapshotJson( snapshot ) );
   };
   auto answer = [ & ]( const Step * step, const Question & question ) {
      Explanation explanation = explain( agent, question );
      explanation.step = step ? step->path : "";
      if ( options_.format == Format::table ) {
         out_ << separator() << explanationText( explanation ) << std::flush;
      }
      explanations.push_back( explanationJson( explanation ) );
   };
   auto stop = [ & ]( const std::string & where, const std::string & reason ) {
      err_ << file << ": " << where << ": stopped: " << reason << "\n";
      if ( options_.format == Format::json && !options_.graph ) {
         Json document = Json::object();
         if ( !lastStateOnly ) {
            document[ "snapshots" ] = std::move( snapshots );
         }
         if ( !explanations.empty() ) {
            document[ "explanations" ] = std::move( explanations );
         }
         document[ "stopped" ] = Json{ { "step", where }, { "reason", reason } };
         out_ << prettyJson( document ) << "\n";
      }
      abandon();
   };

   if ( auto failure = guarded( [ & ] {
           scenario->setup( agent );
           agent.start();
           agent.scheduler->runUntilIdle();
        } ) ) {
      stop( "$", *failure );
   }
   for ( const Step & step : scenario->script ) {
      if ( auto failure = guarded( [ & ] { apply( agent, step ); } ) ) {
         stop( step.path, *failure );
      }
      if ( step.kind == Step::Kind::print || step.kind == Step::Kind::dump ) {
         emit( snapshotAt( agent, &step ) );
      }
      if ( !lastStateOnly &&
           ( step.kind == Step::Kind::explain || step.kind == Step::Kind::graph ) ) {
         answer( &step, step.question );
      }
   }
   if ( lastStateOnly ) {
      if ( auto failure = guarded( [ & ] { agent.scheduler->runUntilIdle(); } ) ) {
         stop( "$", *failure );
      }
      if ( options_.graph ) {
         return answerLastState( agent, file );
      }
      for ( const Question & question : options_.lastState ) {
         answer( nullptr, question );
      }
      if ( options_.format == Format::json ) {
         Json document = Json::object();
         document[ "explanations" ] = std::move( explanations );
         document[ "stopped" ] = Json();
         out_ << prettyJson( document ) << "\n";
      }
      return exitOk;
   }
   if ( !scenario->printsAnything ) {
      if ( auto failure = guarded( [ & ] { agent.scheduler->runUntilIdle(); } ) ) {
         stop( "$", *failure );
      }
      emit( snapshotAt( agent, nullptr ) );
   }
   if ( options_.format == Format::json ) {
      Json document = Json::object();
      document[ "snapshots" ] = std::move( snapshots );
      // Only scenarios that ask anything carry the member.
      if ( !explanations.empty() ) {
         document[ "explanations" ] = std::move( explanations );
      }
      document[ "stopped" ] = Json();
      out_ << prettyJson( document ) << "\n";
   }
   return exitOk;
}

int Runner::answerLastState( const Tunnel::TunnelAgent & agent, const std::string & file ) {
   if ( !agent.tunnelFibEnabled() ) {
      err_ << file << ": no graph: the scenario runs without the tunnel FIB\n";
      return exitMalformed;
   }
   Question question;
   question.kind = Question::Kind::graph;
   question.tunnel = options_.graphTunnel;
   const std::string dot = graphDot( explain( agent, question ).graph );
   if ( *options_.graph == RunOptions::GraphFormat::dot ) {
      out_ << dot << std::flush;
      return exitOk;
   }
   // Graphviz writes the picture straight to our standard output.
   out_.flush();
   std::fflush( stdout );
   FILE * render = popen( "dot -Tsvg", "w" );
   if ( !render ) {
      err_ << "cannot run Graphviz's dot: " << std::strerror( errno ) << "\n";
      return exitUsage;
   }
   std::fwrite( dot.data(), 1, dot.size(), render );
   const int status = pclose( render );
   if ( status != 0 ) {
      err_ << "Graphviz's dot failed to render the graph (is it installed?)\n";
      return exitUsage;
   }
   return exitOk;
}

int Runner::stream( const std::optional< std::string > & file, std::istream & in ) {
   std::optional< Scenario > scenario;
   if ( file ) {
      scenario = load( *file );
      if ( !scenario ) {
         return exitMalformed;
      }
   }
   // Without a file the agent is a router's: the FIB runs.
   bool tunnelFib = !scenario || scenario->tunnelFib;
   Tunnel::TunnelAgent agent( Tunnel::TunnelAgent::Options{ tunnelFib } );
   configure( agent );
   auto write = [ this ]( const Json & json ) {
      out_ << json.dump( -1, ' ', false, Json::error_handler_t::replace ) << "\n" << std::flush;
   };
   auto stop = [ & ]( std::size_t line, const std::string & reason ) {
      err_ << ( line ? "<stdin>:" + std::to_string( line ) : file.value_or( "<setup>" ) )
           << ": stopped: " << reason << "\n";
      write( Json{ { "line", line }, { "stopped", reason } } );
      abandon();
   };
   // Applies a step and runs the agent until idle; prints answer at once.
   auto play = [ & ]( std::size_t line, const Step & step ) {
      if ( auto failure = guarded( [ & ] {
              apply( agent, step );
              agent.scheduler->runUntilIdle();
           } ) ) {
         stop( line, *failure );
      }
      if ( step.kind == Step::Kind::print || step.kind == Step::Kind::dump ) {
         Json snapshot = snapshotJson( snapshotAt( agent, &step ) );
         write( Json{ { "line", line }, { "snapshot", std::move( snapshot ) } } );
      }
      if ( step.kind == Step::Kind::explain || step.kind == Step::Kind::graph ) {
         Explanation explanation = explain( agent, step.question );
         explanation.step = step.path;
         Json json = explanationJson( explanation );
         const char * key = step.kind == Step::Kind::graph ? "graph" : "explain";
         write( Json{ { "line", line }, { key, std::move( json ) } } );
      }
   };
   auto finish = [ & ]( std::size_t line, const Snapshot & before ) {
      Snapshot after = takeSnapshot( agent, {} );
      auto changes = ribChanges( line, before, after );
      for ( const Json & change : changes ) {
         write( change );
      }
      write( Json{ { "line", line },
                   { "done", true },
                   { "changes", changes.size() },
                   { "time", roundedTime( agent.scheduler->now() ) } } );
      return after;
   };

   Snapshot state;
   if ( auto failure = guarded( [ & ] {
           if ( scenario ) {
              scenario->setup( agent );
           } else {
              // No file: every toggle off, as in a scenario that names none.
              readScenario( JsonValue( Json::object(), "$" ) ).setup( agent );
           }
           agent.start();
           agent.scheduler->runUntilIdle();
        } ) ) {
      stop( 0, *failure );
   }
   if ( scenario ) {
      for ( const Step & step : scenario->script ) {
         play( 0, step );
      }
   }
   state = finish( 0, state );

   std::string text;
   for ( std::size_t line = 1; std::getline( in, text ); ++line ) {
      if ( text.find_first_not_of( " \t\r" ) == std::string::npos ) {
         continue;
      }
      std::optional< Step > step;
      try {
         // Kept alive while the step is read; the step keeps copies only.
         Json json = parseJson( text );
         step = readStep( JsonValue( json, "$" ), tunnelFib );
      } catch ( const ScenarioError & e ) {
         write( Json{ { "line", line },
                      { "refused", "<stdin>:" + std::to_string( line ) + ": " + e.what() } } );
         continue;
      }
      play( line, *step );
      state = finish( line, state );
   }
   return exitOk;
}

} // namespace TunnelSim
