#include "tools/tunneld/Daemon.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <ostream>
#include <unordered_set>

#include "agent/TunnelAgent.h"
#include "platform/mox/TaskScheduler.h"
#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/Scenario.h"
#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelD {

volatile std::sig_atomic_t stopRequested = 0;

namespace {

// Output writes per command, and commands per flush: enough to amortise
// round trips, few enough to keep commands and replies modest.
constexpr std::size_t writesPerCommand = 1000;
constexpr std::size_t commandsPerFlush = 100;

// Adds the keyspace events tunneld needs to those already configured:
// keyspace channels for string and generic commands and expiry.
std::string withKeyspaceEvents( std::string flags ) {
   auto has = [ & ]( char flag ) { return flags.find( flag ) != std::string::npos; };
   const bool everyClass = has( 'A' );
   for ( char flag : std::string( "K$gx" ) ) {
      if ( !has( flag ) && ( flag == 'K' || !everyClass ) ) {
         flags += flag;
      }
   }
   return flags;
}

void pause( double seconds ) { ::poll( nullptr, 0, static_cast< int >( seconds * 1000 ) ); }

} // namespace

Daemon::Daemon( DaemonOptions options, std::ostream & log )
      : options_( std::move( options ) ), schema_( options_.prefix ), log_( log ) {}

Daemon::~Daemon() = default;

bool Daemon::connect() {
   try {
      link_ = std::make_unique< RedisLink >( options_.host, options_.port );
      auto current = link_->command( { "CONFIG", "GET", "notify-keyspace-events" } );
      std::string flags = current.elements.size() == 2 ? current.elements[ 1 ].text : "";
      if ( std::string wanted = withKeyspaceEvents( flags ); wanted != flags ) {
         auto reply = link_->command( { "CONFIG", "SET", "notify-keyspace-events", wanted } );
         if ( reply.error ) {
            throw RedisError( "cannot enable keyspace notifications: " + reply.text );
         }
      }
      notifications_ = std::make_unique< RedisLink >( options_.host, options_.port );
      auto reply = notifications_->command(
         { "PSUBSCRIBE", "__keyspace@0__:" + schema_.inputs() + "*" } );
      if ( reply.error ) {
         throw RedisError( "cannot subscribe: " + reply.text );
      }
   } catch ( const RedisError & e ) {
      disconnect( e.what() );
      return false;
   }
   log_ << "tunneld: connected to " << options_.host << ":" << options_.port << std::endl;
   return true;
}

void Daemon::disconnect( const std::string & reason ) {
   if ( link_ || notifications_ ) {
      log_ << "tunneld: lost the store: " << reason << "; retrying" << std::endl;
   }
   link_.reset();
   notifications_.reset();
   dirty_.clear();
   lastStatus_.clear();
}

void Daemon::refuse( const std::string & key, const std::string & reason ) {
   auto [ it, added ] = refused_.try_emplace( key, reason );
   if ( !added && it->second == reason ) {
      return;
   }
   it->second = reason;
   ++refusals_;
   log_ << "tunneld: refused " << key << ": " << reason << std::endl;
   if ( link_ ) {
      link_->append( { "HSET", schema_.refused(), key, reason } );
   }
}

void Daemon::apply( const std::string & key, const std::optional< std::string > & value ) {
   if ( key == schema_.inputs() + "sync" ) {
      syncToken_ = value.value_or( "" );
      return;
   }
   auto applied = applied_.find( key );
   const bool wasRefused = refused_.count( key ) != 0;
   if ( applied != applied_.end() ? value && *value == applied->second && !wasRefused
                                  : !value && !wasRefused ) {
      return;
   }
   bool ok = false;
   if ( !value && applied == applied_.end() ) {
      // A refused key deleted before it was ever applied: nothing to undo.
      ok = true;
   } else {
      try {
         readInputKey( schema_, key, value )( *agent_ );
         ok = true;
      } catch ( const TunnelSim::ScenarioError & e ) {
         refuse( key, e.what() );
      } catch ( const std::exception & e ) {
         refuse( key, std::string( "cannot be applied: " ) + e.what() );
      }
   }
   if ( !ok ) {
      return;
   }
   if ( value ) {
      applied_[ key ] = *value;
   } else {
      applied_.erase( key );
   }
   if ( wasRefused ) {
      refused_.erase( key );
      if ( link_ ) {
         link_->append( { "HDEL", schema_.refused(), key } );
      }
   }
}

void Daemon::applyKeys( const std::vector< std::string > & keys ) {
   auto values = TunnelD::readValues( *link_, keys );
   for ( std::size_t i = 0; i < keys.size(); ++i ) {
      apply( keys[ i ], values[ i ] );
   }
}

void Daemon::resyncInputs() {
   // The refused keys are written anew: the store may have lost them, or
   // hold some from a run that has since ended.
   link_->append( { "DEL", schema_.refused() } );
   for ( const auto & [ key, reason ] : refused_ ) {
      link_->append( { "HSET", schema_.refused(), key, reason } );
   }
   auto all = readMatching( *link_, schema_.inputs() + "*" );
   std::vector< std::string > gone;
   for ( const auto & [ key, value ] : applied_ ) {
      if ( !all.count( key ) ) {
         gone.push_back( key );
      }
   }
   for ( const auto & [ key, reason ] : refused_ ) {
      if ( !all.count( key ) && !applied_.count( key ) ) {
         gone.push_back( key );
      }
   }
   for ( const std::string & key : gone ) {
      apply( key, std::nullopt );
   }
   for ( const auto & [ key, value ] : all ) {
      apply( key, value );
   }
   ++resyncs_;
}

void Daemon::readNotifications() {
   notifications_->readAvailable();
   std::unordered_set< std::string > seen( dirty_.begin(), dirty_.end() );
   while ( auto message = notifications_->nextMessage() ) {
      if ( message->elements.size() != 4 || message->elements[ 0 ].text != "pmessage" ) {
         continue;
      }
      const std::string & channel = message->elements[ 2 ].text;
      auto start = channel.find( "__:" );
      if ( start == std::string::npos ) {
         continue;
      }
      std::string key = channel.substr( start + 3 );
      if ( seen.insert( key ).second ) {
         dirty_.push_back( std::move( key ) );
      }
   }
}

void Daemon::runMachines() {
   agent_->scheduler->runUntilIdle();
   // Timers that are due now.
   agent_->scheduler->runFor( 0 );
}

void Daemon::publish( const std::vector< OutputWrite > & writes ) {
   // A run of sets goes as one MSET and a run of deletes as one DEL: the
   // same writes in the same order, in far fewer commands.
   const std::string outputs = schema_.outputs();
   std::vector< std::string > keys;
   std::vector< std::string_view > args;
   std::size_t errors = 0;
   for ( std::size_t begin = 0; begin < writes.size(); ) {
      const bool sets = writes[ begin ].value.has_value();
      std::size_t end = begin;
      while ( end < writes.size() && end - begin < writesPerCommand &&
              writes[ end ].value.has_value() == sets ) {
         ++end;
      }
      keys.clear();
      for ( std::size_t i = begin; i < end; ++i ) {
         keys.push_back( outputs + writes[ i ].key );
      }
      args.assign( { sets ? "MSET" : "DEL" } );
      for ( std::size_t i = begin; i < end; ++i ) {
         args.push_back( keys[ i - begin ] );
         if ( sets ) {
            args.push_back( *writes[ i ].value );
         }
      }
      link_->append( args );
      if ( link_->pending() >= commandsPerFlush ) {
         errors += link_->flush();
      }
      begin = end;
   }
   errors += link_->flush();
   if ( errors ) {
      log_ << "tunneld: the store refused " << errors << " output writes" << std::endl;
   }
}

void Daemon::reconcileOutputs() {
   const std::string outputs = schema_.outputs();
   OutputState published;
   for ( auto & [ key, value ] : readMatching( *link_, outputs + "*" ) ) {
      published.emplace( key.substr( outputs.size() ), std::move( value ) );
   }
   mirror_->takeWrites();
   publish( mirror_->reconcile( published ) );
}

void Daemon::writeStatus() {
   std::vector< std::string > fields = {
      "refusedKeys", std::to_string( refused_.size() ), "refusals", std::to_string( refusals_ ),
      "resyncs",     std::to_string( resyncs_ ),        "inputs",   std::to_string( applied_.size() ),
      "pid",         std::to_string( ::getpid() ) };
   if ( fields != lastStatus_ ) {
      const std::string status = schema_.status();
      std::vector< std::string_view > args = { "HSET", status };
      args.insert( args.end(), fields.begin(), fields.end() );
      link_->append( args );
      lastStatus_ = fields;
   }
   if ( syncToken_ ) {
      // Everything written before the token is applied and published.
      link_->append( { "HSET", schema_.status(), "sync", *syncToken_ } );
      syncToken_.reset();
   }
   if ( link_->pending() ) {
      link_->flush();
   }
}

void Daemon::readToggles() {
   TunnelSim::Json scenario = TunnelSim::Json::object();
   auto toggles = link_->command( { "GET", schema_.toggles() } );
   if ( !toggles.nil ) {
      try {
         scenario[ "toggles" ] = TunnelSim::parseJson( toggles.text );
         TunnelSim::readScenario( TunnelSim::JsonValue( scenario, "$" ) ).setup( *agent_ );
         return;
      } catch ( const TunnelSim::ScenarioError & e ) {
         refuse( schema_.toggles(), e.what() );
      }
   }
   // Every toggle off, as in a scenario that names none.
   TunnelSim::readScenario( TunnelSim::JsonValue( TunnelSim::Json::object(), "$" ) ).setup( *agent_ );
}

void Daemon::synchronise() {
   if ( !loaded_ ) {
      // Before any machine exists: toggles are read once, and the outputs
      // published before go back into the output tables.
      readToggles();
      const std::string outputs = schema_.outputs();
      OutputState published;
      for ( auto & [ key, value ] : readMatching( *link_, outputs + "*" ) ) {
         published.emplace( key.substr( outputs.size() ), std::move( value ) );
      }
      mirror_->load( published, [ this ]( const std::string & key, const std::string & reason ) {
         log_ << "tunneld: dropped the published " << key << ": " << reason << std::endl;
      } );
      loaded_ = true;
   }
   resyncInputs();
   agent_->start();
   runMachines();
   mirror_->attach();
   mirror_->sweep();
   reconcileOutputs();
   writeStatus();
}

int Daemon::run() {
   agent_ = std::make_unique< Tunnel::TunnelAgent >();
   agent_->scheduler->realTimeIs( true );
   // Long drains give way now and then, so timers stay on time.
   agent_->scheduler->yieldPolicyIs( Mox::yieldAfterSeconds( 0.05 ) );
   mirror_ = std::make_unique< OutputMirror >( *agent_ );

   double retry = options_.firstRetrySeconds;
   while ( !stopRequested ) {
      if ( !link_ ) {
         if ( agent_->running() ) {
            // The machines go on with their timers; what they write is
            // published by the reconciliation once the store is back.
            runMachines();
            mirror_->takeWrites();
         }
         if ( !connect() ) {
            pause( retry );
            retry = std::min( retry * 2, options_.longestRetrySeconds );
            continue;
         }
         retry = options_.firstRetrySeconds;
         try {
            synchronise();
         } catch ( const RedisError & e ) {
            disconnect( e.what() );
         }
         continue;
      }
      try {
         pollfd wait{ notifications_->fd(), POLLIN, 0 };
         int timeout = agent_->scheduler->idle() ? 500 : 10;
         if ( ::poll( &wait, 1, timeout ) > 0 ) {
            if ( wait.revents & ( POLLERR | POLLHUP | POLLNVAL ) && !( wait.revents & POLLIN ) ) {
               throw RedisError( "the notification connection closed" );
            }
            readNotifications();
         }
         if ( !dirty_.empty() ) {
            applyKeys( std::exchange( dirty_, {} ) );
         }
         runMachines();
         mirror_->sweep();
         publish( mirror_->takeWrites() );
         writeStatus();
      } catch ( const RedisError & e ) {
         disconnect( e.what() );
      }
   }
   log_ << "tunneld: stopping" << std::endl;
   return 0;
}

} // namespace TunnelD
