#include "tests/tunneld/TunneldWorld.h"

#include <gtest/gtest.h>

#include <signal.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "tools/tunneld/OutputCodec.h"
#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/ValueReaders.h"

namespace TunneldTest {

namespace {

Json sortedIds( Json entry ) {
   auto & ids = entry[ "tunnelIds" ];
   std::sort( ids.begin(), ids.end() );
   return entry;
}

// What an encapsulation carries, in the fields tunnelsim prints in a via.
Json encapFields( const std::string & holds, const std::string & encapId ) {
   Json record = { { "encapId", encapId }, { "type", "" }, { "holds", holds } };
   auto value = TunnelD::readEncap( TunnelSim::JsonValue( record, "$" ) );
   Json json = Json::object();
   std::visit(
      [ & ]( const auto & encap ) {
         const auto & info = encap.info();
         using Info = std::decay_t< decltype( info ) >;
         if constexpr ( std::is_same_v< Info, Korvo::MplsLabelOperation > ) {
            if ( info.action() == Korvo::MplsLabelAction::swap ) {
               json[ "action" ] = "swap";
            } else if ( info.action() == Korvo::MplsLabelAction::pop ) {
               json[ "action" ] = "pop";
            }
            Json labels = Json::array();
            for ( std::size_t i = 0; i < info.stackSize(); ++i ) {
               auto label = info.label( i );
               labels.push_back( label == Korvo::MplsLabelOperation::entropyLabel ? Json( "EL" )
                                                                                  : Json( label ) );
            }
            json[ "labels" ] = labels;
         } else if constexpr ( std::is_same_v< Info, Tunnel::GreTunnelInfo > ) {
            json[ "src" ] = info.src().stringValue();
            json[ "dst" ] = info.dst().stringValue();
            json[ "ttl" ] = info.ttl();
            json[ "tos" ] = info.tos();
         } else if constexpr ( std::is_same_v< Info, Tunnel::IpsecGreTunnelInfo > ) {
            json[ "src" ] = info.gre().src().stringValue();
            json[ "dst" ] = info.gre().dst().stringValue();
            json[ "ttl" ] = info.gre().ttl();
            json[ "tos" ] = info.gre().tos();
            json[ "ipsecProfile" ] = info.ipsecProfile();
         } else {
            json[ "src" ] = info.src().stringValue();
            json[ "dst" ] = info.dst().stringValue();
            json[ "ipsecProfile" ] = info.ipsecProfile();
         }
      },
      value );
   return json;
}

std::string viaLine( const std::string & tunnel, const char * kind, const Json & via,
                     const Json & fields ) {
   return tunnel + " " + kind + " " + via[ "hop" ].get< std::string >() + " " +
          via[ "intf" ].get< std::string >() + " " + fields.dump();
}

} // namespace

Published publishedOf( const std::map< std::string, std::string > & outputs ) {
   Published view;
   std::set< std::string > named;
   std::set< std::string > ribs;
   for ( const auto & [ key, text ] : outputs ) {
      if ( key.starts_with( "encap:" ) ) {
         view.encaps[ key.substr( 6 ) ] = Json::parse( text )[ "holds" ];
      } else if ( key.starts_with( "ribs:" ) ) {
         ribs.insert( key.substr( 5 ) );
      }
   }
   for ( const auto & [ key, text ] : outputs ) {
      if ( key.starts_with( "rib:" ) ) {
         view.ribEntries[ key ] = sortedIds( Json::parse( text ) );
         if ( !ribs.count( key.substr( 4, key.find( ':', 4 ) - 4 ) ) ) {
            view.problems.push_back( key + " has no RIB record" );
         }
      } else if ( key.starts_with( "fib:" ) ) {
         Json entry = Json::parse( text );
         std::string tunnel = entry[ "tunnelId" ];
         bool any = false;
         for ( const char * list : { "vias", "backupVias" } ) {
            for ( const Json & via : entry[ list ] ) {
               any = true;
               Json fields = Json::object();
               if ( !via[ "encapId" ].is_null() ) {
                  std::string id = via[ "encapId" ];
                  named.insert( id );
                  auto encap = view.encaps.find( id );
                  if ( encap == view.encaps.end() ) {
                     view.problems.push_back( key + " names the unpublished encap " + id );
                     fields = { { "unpublished", id } };
                  } else {
                     fields = encapFields( encap->second, id );
                  }
               }
               view.fibVias.insert(
                  viaLine( tunnel, list == std::string( "vias" ) ? "primary" : "backup", via, fields ) );
            }
         }
         if ( !any ) {
            view.fibVias.insert( tunnel + " (no vias)" );
         }
      } else if ( key.starts_with( "unprogrammable:" ) ) {
         if ( text == "true" ) {
            view.unprogrammable.insert( key.substr( 15 ) );
         }
      } else if ( key.starts_with( "protocolRib:" ) ) {
         view.others[ key ] = sortedIds( Json::parse( text ) );
      } else if ( !key.starts_with( "encap:" ) ) {
         view.others[ key ] = Json::parse( text );
      }
   }
   for ( const auto & [ id, holds ] : view.encaps ) {
      if ( !named.count( id ) ) {
         view.problems.push_back( "the encap " + id + " (" + holds + ") is named by no FIB entry" );
      }
   }
   return view;
}

Published printedOf( const Json & output ) {
   Published view;
   const Json & snapshot = output.at( "snapshots" ).back();
   for ( const Json & rib : snapshot.at( "ribs" ) ) {
      for ( const Json & entry : rib.at( "entries" ) ) {
         Json endpoint = entry;
         auto tep = TunnelSim::readPrefix( TunnelSim::JsonValue( entry[ "endpoint" ], "$" ) );
         Tunnel::TunnelTable::ColoredTunnelEndpoint key =
            entry[ "color" ].is_null()
               ? Tunnel::TunnelTable::ColoredTunnelEndpoint( tep )
               : Tunnel::TunnelTable::ColoredTunnelEndpoint( tep, entry[ "color" ].get< std::uint32_t >() );
         view.ribEntries[ TunnelD::ribEntryKey( rib[ "id" ].get< std::uint32_t >(), key ) ] =
            sortedIds( entry );
      }
   }
   if ( !snapshot.contains( "fib" ) ) {
      return view;
   }
   for ( const Json & entry : snapshot[ "fib" ][ "entries" ] ) {
      std::string tunnel = entry[ "tunnelId" ];
      bool any = false;
      for ( const char * list : { "vias", "backupVias" } ) {
         for ( Json via : entry[ list ] ) {
            any = true;
            Json fields = via;
            for ( const char * field : { "hop", "intf", "tunnel", "encapId" } ) {
               fields.erase( field );
            }
            view.fibVias.insert(
               viaLine( tunnel, list == std::string( "vias" ) ? "primary" : "backup", via, fields ) );
         }
      }
      if ( !any ) {
         view.fibVias.insert( tunnel + " (no vias)" );
      }
   }
   for ( const Json & id : snapshot[ "fib" ][ "unprogrammable" ] ) {
      view.unprogrammable.insert( id.get< std::string >() );
   }
   return view;
}

std::string difference( const Published & expected, const Published & actual ) {
   std::ostringstream out;
   auto lines = [ & ]( const char * what, const auto & want, const auto & got ) {
      for ( const auto & line : want ) {
         if ( !got.count( line ) ) {
            out << "missing " << what << ": " << line << "\n";
         }
      }
      for ( const auto & line : got ) {
         if ( !want.count( line ) ) {
            out << "extra " << what << ": " << line << "\n";
         }
      }
   };
   auto maps = [ & ]( const char * what, const auto & want, const auto & got ) {
      for ( const auto & [ key, value ] : want ) {
         auto it = got.find( key );
         if ( it == got.end() ) {
            out << "missing " << what << " " << key << ": " << value.dump() << "\n";
         } else if ( it->second != value ) {
            out << what << " " << key << ": expected " << value.dump() << ", got "
                << it->second.dump() << "\n";
         }
      }
      for ( const auto & [ key, value ] : got ) {
         if ( !want.count( key ) ) {
            out << "extra " << what << " " << key << ": " << value.dump() << "\n";
         }
      }
   };
   maps( "RIB entry", expected.ribEntries, actual.ribEntries );
   lines( "FIB via", expected.fibVias, actual.fibVias );
   lines( "unprogrammable", expected.unprogrammable, actual.unprogrammable );
   maps( "key", expected.others, actual.others );
   return out.str();
}

Json runTunnelsim( const std::string & scenarioFile ) {
   std::string command = std::string( TUNNELSIM_PATH ) + " " + scenarioFile;
   FILE * pipe = ::popen( command.c_str(), "r" );
   std::string text;
   char buffer[ 4096 ];
   while ( std::size_t got = std::fread( buffer, 1, sizeof buffer, pipe ) ) {
      text.append( buffer, got );
   }
   EXPECT_EQ( ::pclose( pipe ), 0 ) << "tunnelsim " << scenarioFile;
   return Json::parse( text );
}

World::World( std::string prefix ) : schema_( std::move( prefix ) ) { reconnect(); }

void World::reconnect() { client_ = std::make_unique< RedisLink >( "127.0.0.1", redis_.port() ); }

std::string World::log() const {
   std::ifstream in( redis_.dir() + "/tunneld.log" );
   std::ostringstream text;
   text << in.rdbuf();
   return text.str();
}

void World::startTunneld() {
   tunneld_ = TunnelD::Harness::ChildProcess(
      { TUNNELD_PATH, "--port", std::to_string( redis_.port() ), "--prefix", schema_.prefix() },
      redis_.dir() + "/tunneld.log" );
}

int World::stopTunneld() {
   tunneld_.signal( SIGTERM );
   return tunneld_.wait();
}

void World::killTunneld() {
   tunneld_.signal( SIGKILL );
   tunneld_.wait();
}

void World::set( const std::string & inputKey, const std::string & value ) {
   client_->command( { "SET", schema_.inputs() + inputKey, value } );
}

void World::del( const std::string & inputKey ) {
   client_->command( { "DEL", schema_.inputs() + inputKey } );
}

bool World::sync( double seconds ) {
   return TunnelD::Harness::synced( *client_, schema_, "sync " + std::to_string( ++syncs_ ),
                                    seconds );
}

std::map< std::string, std::string > World::outputs( double seconds ) {
   EXPECT_TRUE( sync( seconds ) ) << "tunneld did not catch up; its log:\n" << log();
   std::map< std::string, std::string > outputs;
   const std::string prefix = schema_.outputs();
   for ( auto & [ key, value ] :
         TunnelD::Harness::readAtOnce( *client_, prefix + "*" ) ) {
      outputs.emplace( key.substr( prefix.size() ), std::move( value ) );
   }
   return outputs;
}

} // namespace TunneldTest
