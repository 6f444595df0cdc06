#pragma once

#include <csignal>
#include <cstdint>
#include <iosfwd>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "tools/tunneld/InputKeys.h"
#include "tools/tunneld/OutputMirror.h"
#include "tools/tunneld/RedisLink.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelD {

struct DaemonOptions {
   std::string host = "127.0.0.1";
   int port = 6379;
   std::string prefix = "tunnel";
   // Retries of a lost server start at the first delay and double up to the
   // longest.
   double firstRetrySeconds = 0.05;
   double longestRetrySeconds = 2.0;
};

// Set by SIGTERM or SIGINT; the loop ends cleanly at its next turn.
extern volatile std::sig_atomic_t stopRequested;

// The agent hosted over the store: reads every input key at start and after
// every reconnection, follows changes through keyspace notifications, runs
// the machines in real time and mirrors the outputs.
class Daemon {
 public:
   Daemon( DaemonOptions options, std::ostream & log );
   ~Daemon();

   // Runs until stopped; the exit status.
   int run();

 private:
   // Connects both links and subscribes to the inputs' notifications; false
   // when the server cannot be reached.
   bool connect();
   void disconnect( const std::string & reason );
   void readToggles();
   // Reads every input and brings the outputs to the tables: at start, over
   // the outputs published before, and after every reconnection.
   void synchronise();
   void resyncInputs();
   void applyKeys( const std::vector< std::string > & keys );
   void apply( const std::string & key, const std::optional< std::string > & value );
   void refuse( const std::string & key, const std::string & reason );
   void readNotifications();
   void runMachines();
   void publish( const std::vector< OutputWrite > & writes );
   void reconcileOutputs();
   void writeStatus();

   DaemonOptions options_;
   KeySchema schema_;
   std::ostream & log_;
   std::unique_ptr< Tunnel::TunnelAgent > agent_;
   std::unique_ptr< OutputMirror > mirror_;
   std::unique_ptr< RedisLink > link_;
   std::unique_ptr< RedisLink > notifications_;
   // The input values the agent holds, as written in the store.
   std::unordered_map< std::string, std::string > applied_;
   // Keys refused, with the reason last logged.
   std::map< std::string, std::string > refused_;
   std::vector< std::string > dirty_;
   std::uint64_t refusals_ = 0;
   std::uint64_t resyncs_ = 0;
   std::optional< std::string > syncToken_;
   std::vector< std::string > lastStatus_;
   // Whether the outputs published before are in the output tables.
   bool loaded_ = false;
};

} // namespace TunnelD
