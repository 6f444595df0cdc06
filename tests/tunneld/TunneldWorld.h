#pragma once

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "tools/tunneld/InputKeys.h"
#include "tools/tunneld/RedisLink.h"
#include "tools/tunneld/harness/LocalRedis.h"
#include "tools/tunneld/harness/StoreHarness.h"
#include "tools/tunnelsim/JsonValue.h"

namespace TunneldTest {

using TunnelD::KeySchema;
using TunnelD::RedisLink;
using TunnelSim::Json;

// The published outputs in terms two agents can share: RIB entries with
// their ECMP sets sorted, FIB vias with the encapsulation they carry instead
// of its encap id, and what is wrong with the keys as a set (a FIB entry
// naming an unpublished encap, an encap nobody names, a RIB entry without
// its RIB).
struct Published {
   std::map< std::string, Json > ribEntries;
   std::set< std::string > fibVias;
   std::set< std::string > unprogrammable;
   // Protocol RIB entries, RIB records and convergence, by key.
   std::map< std::string, Json > others;
   // Encap id to what it carries.
   std::map< std::string, std::string > encaps;
   std::vector< std::string > problems;

   bool sameOutputs( const Published & other ) const {
      return ribEntries == other.ribEntries && fibVias == other.fibVias &&
             unprogrammable == other.unprogrammable && others == other.others;
   }
};

// From the keys under "<prefix>:out:" (the prefix already cut).
Published publishedOf( const std::map< std::string, std::string > & outputs );
// From the last snapshot tunnelsim prints as JSON; `others` stays empty.
Published printedOf( const Json & tunnelsimOutput );
// A description of how two views differ, for a failure message.
std::string difference( const Published & expected, const Published & actual );

// tunnelsim's JSON output for a scenario file.
Json runTunnelsim( const std::string & scenarioFile );

// A redis-server and a client of its own, and tunneld over them.
class World {
 public:
   explicit World( std::string prefix = "tunnel" );

   const KeySchema & schema() const noexcept { return schema_; }
   RedisLink & client() { return *client_; }
   TunnelD::Harness::LocalRedis & redis() { return redis_; }
   TunnelD::Harness::ChildProcess & tunneld() { return tunneld_; }
   std::string log() const;

   void startTunneld();
   // SIGTERM, and the exit status.
   int stopTunneld();
   void killTunneld();
   // Syncs and reads the outputs; fails the test when tunneld does not catch up.
   std::map< std::string, std::string > outputs( double seconds = 20 );
   // Reconnects the client, after the server was restarted.
   void reconnect();
   void set( const std::string & inputKey, const std::string & value );
   void del( const std::string & inputKey );
   bool sync( double seconds = 20 );

 private:
   KeySchema schema_;
   TunnelD::Harness::LocalRedis redis_;
   std::unique_ptr< RedisLink > client_;
   TunnelD::Harness::ChildProcess tunneld_;
   std::uint64_t syncs_ = 0;
};

} // namespace TunneldTest
