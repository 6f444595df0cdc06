#pragma once

#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

struct redisContext;

namespace TunnelD {

// The server went away or answered with an error the caller cannot go on from.
class RedisError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

// A reply as plain values; `nil` for a missing key, `error` for an error reply.
struct RedisReply {
   bool nil = false;
   bool error = false;
   long long integer = 0;
   std::string text;
   std::vector< RedisReply > elements;
};

// One connection to the server. Commands block for their reply; pipelined
// commands are queued with `append` and their replies read by `flush`, so a
// burst of writes costs one round trip.
class RedisLink {
 public:
   // Throws RedisError when the server cannot be reached within a few seconds.
   RedisLink( const std::string & host, int port );
   ~RedisLink();
   RedisLink( const RedisLink & ) = delete;
   RedisLink & operator=( const RedisLink & ) = delete;

   RedisReply command( const std::vector< std::string > & args );
   void append( const std::vector< std::string_view > & args );
   std::size_t pending() const noexcept { return pending_; }
   // Sends what is queued and reads every reply; error replies are counted,
   // not thrown, so one refused write does not hide the others.
   std::size_t flush();
   // Sends what is queued and returns the replies in order.
   std::vector< RedisReply > flushReplies();

   // For a subscribed connection: the socket to wait on, a read of what has
   // arrived, and the next message already read.
   int fd() const;
   void readAvailable();
   std::optional< RedisReply > nextMessage();

 private:
   RedisReply readReply();

   std::unique_ptr< redisContext, void ( * )( redisContext * ) > context_;
   std::size_t pending_ = 0;
};

// The values of the keys, pipelined; none for a key that is absent or holds
// no string.
std::vector< std::optional< std::string > > readValues( RedisLink & link,
                                                        const std::vector< std::string > & keys );
// Every string key that matches the pattern, with its value.
std::map< std::string, std::string > readMatching( RedisLink & link, const std::string & pattern );

} // namespace TunnelD
