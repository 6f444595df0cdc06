#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace TunnelD::Harness {

// A child process, killed (SIGKILL) when dropped if still running.
class ChildProcess {
 public:
   ChildProcess() = default;
   // Throws std::runtime_error when the program cannot be started.
   explicit ChildProcess( const std::vector< std::string > & argv, const std::string & logFile = "" );
   ~ChildProcess();
   ChildProcess( ChildProcess && other ) noexcept;
   ChildProcess & operator=( ChildProcess && other ) noexcept;

   pid_t pid() const noexcept { return pid_; }
   bool running();
   void signal( int number );
   // Waits for the end; the exit status, or 128 + the signal that ended it.
   int wait();

 private:
   pid_t pid_ = -1;
};

// A port on the loopback interface that nothing listens on now.
int freeLoopbackPort();

// A redis-server of its own, on a free loopback port, in a temporary
// directory, without persistence unless asked for by `restart`.
class LocalRedis {
 public:
   // Throws std::runtime_error, saying so, when redis-server is missing.
   LocalRedis();
   ~LocalRedis();
   LocalRedis( const LocalRedis & ) = delete;
   LocalRedis & operator=( const LocalRedis & ) = delete;

   int port() const noexcept { return port_; }
   const std::string & dir() const noexcept { return dir_; }
   // Saves the data set, stops the server and starts it again on the same
   // port over the saved data.
   void restart();

 private:
   void start();
   void stop( bool save );

   std::string dir_;
   int port_ = 0;
   ChildProcess server_;
};

} // namespace TunnelD::Harness
