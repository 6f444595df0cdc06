#include "tools/tunneld/harness/LocalRedis.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <thread>
#include <utility>

#include "tools/tunneld/RedisLink.h"

namespace TunnelD::Harness {

ChildProcess::ChildProcess( const std::vector< std::string > & argv, const std::string & logFile ) {
   std::vector< char * > args;
   for ( const std::string & arg : argv ) {
      args.push_back( const_cast< char * >( arg.c_str() ) );
   }
   args.push_back( nullptr );
   // The child reports a failed exec through this pipe.
   int report[ 2 ];
   if ( ::pipe2( report, O_CLOEXEC ) != 0 ) {
      throw std::runtime_error( "cannot make a pipe" );
   }
   pid_ = ::fork();
   if ( pid_ < 0 ) {
      throw std::runtime_error( "cannot fork" );
   }
   if ( pid_ == 0 ) {
      ::close( report[ 0 ] );
      // A test that dies leaves no server or daemon behind.
      ::prctl( PR_SET_PDEATHSIG, SIGKILL );
      if ( !logFile.empty() ) {
         int fd = ::open( logFile.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644 );
         if ( fd >= 0 ) {
            ::dup2( fd, 1 );
            ::dup2( fd, 2 );
         }
      }
      ::execvp( args[ 0 ], args.data() );
      int error = errno;
      [[maybe_unused]] auto written = ::write( report[ 1 ], &error, sizeof error );
      ::_exit( 127 );
   }
   ::close( report[ 1 ] );
   int error = 0;
   auto got = ::read( report[ 0 ], &error, sizeof error );
   ::close( report[ 0 ] );
   if ( got == sizeof error ) {
      ::waitpid( pid_, nullptr, 0 );
      pid_ = -1;
      throw std::runtime_error( "cannot run " + argv[ 0 ] + ": " + std::strerror( error ) );
   }
}

ChildProcess::~ChildProcess() {
   if ( pid_ > 0 ) {
      signal( SIGKILL );
      wait();
   }
}

ChildProcess::ChildProcess( ChildProcess && other ) noexcept
      : pid_( std::exchange( other.pid_, -1 ) ) {}

ChildProcess & ChildProcess::operator=( ChildProcess && other ) noexcept {
   if ( this != &other ) {
      if ( pid_ > 0 ) {
         signal( SIGKILL );
         wait();
      }
      pid_ = std::exchange( other.pid_, -1 );
   }
   return *this;
}

bool ChildProcess::running() {
   if ( pid_ <= 0 ) {
      return false;
   }
   int status = 0;
   if ( ::waitpid( pid_, &status, WNOHANG ) == pid_ ) {
      pid_ = -1;
      return false;
   }
   return true;
}

void ChildProcess::signal( int number ) {
   if ( pid_ > 0 ) {
      ::kill( pid_, number );
   }
}

int ChildProcess::wait() {
   if ( pid_ <= 0 ) {
      return -1;
   }
   int status = 0;
   ::waitpid( pid_, &status, 0 );
   pid_ = -1;
   return WIFEXITED( status ) ? WEXITSTATUS( status ) : 128 + WTERMSIG( status );
}

int freeLoopbackPort() {
   int fd = ::socket( AF_INET, SOCK_STREAM, 0 );
   sockaddr_in address{};
   address.sin_family = AF_INET;
   address.sin_addr.s_addr = htonl( INADDR_LOOPBACK );
   address.sin_port = 0;
   socklen_t length = sizeof address;
   if ( fd < 0 || ::bind( fd, reinterpret_cast< sockaddr * >( &address ), sizeof address ) != 0 ||
        ::getsockname( fd, reinterpret_cast< sockaddr * >( &address ), &length ) != 0 ) {
      throw std::runtime_error( "cannot find a free loopback port" );
   }
   ::close( fd );
   return ntohs( address.sin_port );
}

LocalRedis::LocalRedis() {
   std::string pattern = ( std::filesystem::temp_directory_path() / "tunneld-redis-XXXXXX" ).string();
   if ( !::mkdtemp( pattern.data() ) ) {
      throw std::runtime_error( "cannot make a temporary directory" );
   }
   dir_ = pattern;
   port_ = freeLoopbackPort();
   start();
}

LocalRedis::~LocalRedis() {
   stop( false );
   std::error_code ignored;
   std::filesystem::remove_all( dir_, ignored );
}

void LocalRedis::start() {
   try {
      server_ = ChildProcess( { "redis-server", "--port", std::to_string( port_ ), "--bind",
                                "127.0.0.1", "--save", "", "--appendonly", "no", "--dir", dir_,
                                "--logfile", dir_ + "/redis.log" } );
   } catch ( const std::runtime_error & e ) {
      throw std::runtime_error( std::string( e.what() ) +
                                " (redis-server comes with tools/install-deps)" );
   }
   for ( int attempt = 0; attempt < 200; ++attempt ) {
      try {
         RedisLink link( "127.0.0.1", port_ );
         if ( link.command( { "PING" } ).text == "PONG" ) {
            return;
         }
      } catch ( const RedisError & ) {
      }
      if ( !server_.running() ) {
         throw std::runtime_error( "redis-server ended at start; see " + dir_ + "/redis.log" );
      }
      std::this_thread::sleep_for( std::chrono::milliseconds( 25 ) );
   }
   throw std::runtime_error( "redis-server does not answer on port " + std::to_string( port_ ) );
}

void LocalRedis::stop( bool save ) {
   if ( !server_.running() ) {
      return;
   }
   try {
      RedisLink link( "127.0.0.1", port_ );
      link.append( { "SHUTDOWN", save ? "SAVE" : "NOSAVE" } );
      link.flush();
   } catch ( const RedisError & ) {
      // The connection ends with the server.
   }
   server_.wait();
}

void LocalRedis::restart() {
   stop( true );
   start();
}

} // namespace TunnelD::Harness
