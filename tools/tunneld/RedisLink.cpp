#include "tools/tunneld/RedisLink.h"

#include <sys/time.h>

#include <algorithm>

#include <hiredis/hiredis.h>

namespace TunnelD {

namespace {

RedisReply convert( const redisReply & reply ) {
   RedisReply result;
   switch ( reply.type ) {
   case REDIS_REPLY_NIL:
      result.nil = true;
      break;
   case REDIS_REPLY_ERROR:
      result.error = true;
      result.text.assign( reply.str, reply.len );
      break;
   case REDIS_REPLY_INTEGER:
      result.integer = reply.integer;
      break;
   case REDIS_REPLY_STRING:
   case REDIS_REPLY_STATUS:
      result.text.assign( reply.str, reply.len );
      break;
   case REDIS_REPLY_ARRAY:
      result.elements.reserve( reply.elements );
      for ( std::size_t i = 0; i < reply.elements; ++i ) {
         result.elements.push_back( convert( *reply.element[ i ] ) );
      }
      break;
   default:
      break;
   }
   return result;
}

RedisReply take( void * raw ) {
   std::unique_ptr< redisReply, void ( * )( void * ) > reply( static_cast< redisReply * >( raw ),
                                                               freeReplyObject );
   return convert( *reply );
}

} // namespace

RedisLink::RedisLink( const std::string & host, int port ) : context_( nullptr, redisFree ) {
   timeval connectTimeout{ 2, 0 };
   context_.reset( redisConnectWithTimeout( host.c_str(), port, connectTimeout ) );
   if ( !context_ ) {
      throw RedisError( "cannot allocate a connection" );
   }
   if ( context_->err ) {
      throw RedisError( "cannot connect to " + host + ":" + std::to_string( port ) + ": " +
                        context_->errstr );
   }
   // A server that stops answering counts as gone rather than hanging the agent.
   timeval commandTimeout{ 10, 0 };
   redisSetTimeout( context_.get(), commandTimeout );
   redisEnableKeepAlive( context_.get() );
}

RedisLink::~RedisLink() = default;

RedisReply RedisLink::readReply() {
   void * raw = nullptr;
   if ( redisGetReply( context_.get(), &raw ) != REDIS_OK || !raw ) {
      throw RedisError( std::string( "connection lost: " ) + context_->errstr );
   }
   return take( raw );
}

RedisReply RedisLink::command( const std::vector< std::string > & args ) {
   std::vector< std::string_view > views( args.begin(), args.end() );
   append( views );
   auto replies = flushReplies();
   return std::move( replies.back() );
}

void RedisLink::append( const std::vector< std::string_view > & args ) {
   std::vector< const char * > argv;
   std::vector< std::size_t > lengths;
   argv.reserve( args.size() );
   lengths.reserve( args.size() );
   for ( std::string_view arg : args ) {
      argv.push_back( arg.data() );
      lengths.push_back( arg.size() );
   }
   if ( redisAppendCommandArgv( context_.get(), static_cast< int >( argv.size() ), argv.data(),
                                lengths.data() ) != REDIS_OK ) {
      throw RedisError( std::string( "cannot queue a command: " ) + context_->errstr );
   }
   ++pending_;
}

std::size_t RedisLink::flush() {
   std::size_t errors = 0;
   while ( pending_ > 0 ) {
      --pending_;
      errors += readReply().error ? 1 : 0;
   }
   return errors;
}

std::vector< RedisReply > RedisLink::flushReplies() {
   std::vector< RedisReply > replies;
   replies.reserve( pending_ );
   while ( pending_ > 0 ) {
      --pending_;
      replies.push_back( readReply() );
   }
   return replies;
}

int RedisLink::fd() const { return context_->fd; }

void RedisLink::readAvailable() {
   if ( redisBufferRead( context_.get() ) != REDIS_OK ) {
      throw RedisError( std::string( "connection lost: " ) + context_->errstr );
   }
}

std::optional< RedisReply > RedisLink::nextMessage() {
   void * raw = nullptr;
   if ( redisGetReplyFromReader( context_.get(), &raw ) != REDIS_OK ) {
      throw RedisError( std::string( "unreadable reply: " ) + context_->errstr );
   }
   if ( !raw ) {
      return std::nullopt;
   }
   return take( raw );
}

std::vector< std::optional< std::string > > readValues( RedisLink & link,
                                                        const std::vector< std::string > & keys ) {
   // Keys per MGET: enough to amortise round trips, few enough to keep each
   // reply modest.
   constexpr std::size_t chunk = 1000;
   std::vector< std::optional< std::string > > values;
   values.reserve( keys.size() );
   for ( std::size_t begin = 0; begin < keys.size(); begin += chunk ) {
      std::vector< std::string_view > args = { "MGET" };
      std::size_t end = std::min( keys.size(), begin + chunk );
      args.insert( args.end(), keys.begin() + begin, keys.begin() + end );
      link.append( args );
   }
   for ( const RedisReply & reply : link.flushReplies() ) {
      if ( reply.error ) {
         throw RedisError( "cannot read keys: " + reply.text );
      }
      for ( const RedisReply & value : reply.elements ) {
         values.push_back( value.nil ? std::nullopt : std::optional( value.text ) );
      }
   }
   return values;
}

std::map< std::string, std::string > readMatching( RedisLink & link, const std::string & pattern ) {
   std::vector< std::string > keys;
   std::string cursor = "0";
   do {
      auto reply = link.command( { "SCAN", cursor, "MATCH", pattern, "COUNT", "1000" } );
      if ( reply.error || reply.elements.size() != 2 ) {
         throw RedisError( "cannot scan keys: " + reply.text );
      }
      cursor = reply.elements[ 0 ].text;
      for ( const RedisReply & key : reply.elements[ 1 ].elements ) {
         keys.push_back( key.text );
      }
   } while ( cursor != "0" );
   // SCAN may return a key twice.
   std::sort( keys.begin(), keys.end() );
   keys.erase( std::unique( keys.begin(), keys.end() ), keys.end() );
   auto values = readValues( link, keys );
   std::map< std::string, std::string > matching;
   for ( std::size_t i = 0; i < keys.size(); ++i ) {
      if ( values[ i ] ) {
         matching.emplace( keys[ i ], std::move( *values[ i ] ) );
      }
   }
   return matching;
}

} // namespace TunnelD
