#pragma once

#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/Question.h"
#include "tools/tunnelsim/Scenario.h"
#include "tools/tunnelsim/Snapshot.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelSim {

enum class Format { json, table };

struct RunOptions {
   Format format = Format::json;
   SnapshotOptions snapshot;
   // Trace level 0-9; tracing stays as the environment set it when absent.
   std::optional< int > traceLevel;
   // Tasks end their slice after this many units of work; when absent they
   // never yield, so every run slices its work the same way.
   std::optional< std::uint64_t > yieldAfter;
   // Questions about the state the script leaves, answered instead of its
   // prints: explanations in the output format, or the graph alone.
   std::vector< Question > lastState;
   enum class GraphFormat { dot, svg };
   std::optional< GraphFormat > graph;
   // Limits the graph to what this tunnel rests on and what rests on it.
   std::optional< Tunnel::TunnelTable::TunnelId > graphTunnel;
};

// Exit statuses of tunnelsim.
constexpr int exitOk = 0;
constexpr int exitUsage = 1;
constexpr int exitMalformed = 2;
constexpr int exitStopped = 3;

// Plays scenarios on a freshly assembled agent and writes what they print.
class Runner {
 public:
   Runner( RunOptions options, std::ostream & out, std::ostream & err );

   // Reads and checks a scenario file without running it.
   int check( const std::string & file );
   // Plays a scenario file and prints its snapshots.
   int play( const std::string & file );
   // Sets up from the file when one is given, then applies one step per line
   // of `in`, writing the RIB changes of each as JSON lines.
   int stream( const std::optional< std::string > & file, std::istream & in );

 private:
   std::optional< Scenario > load( const std::string & file );
   void configure( Tunnel::TunnelAgent & agent ) const;
   // Runs f; a failure of the agent's own (an assertion, a range error) is
   // returned as the reason the run stops.
   std::optional< std::string > guarded( const std::function< void() > & f ) const;
   void apply( Tunnel::TunnelAgent & agent, const Step & step ) const;
   Snapshot snapshotAt( const Tunnel::TunnelAgent & agent, const Step * step ) const;
   // Answers the questions of the command line about the last state.
   int answerLastState( const Tunnel::TunnelAgent & agent, const std::string & file );
   // After a failure the library may be half-way through a change, so it is
   // not torn down: the output is flushed and the process ends here.
   [[noreturn]] void abandon() const;

   RunOptions options_;
   std::ostream & out_;
   std::ostream & err_;
};

} // namespace TunnelSim
