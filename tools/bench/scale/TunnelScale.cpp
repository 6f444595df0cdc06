// tunnel_scale: cold start, change cost and memory of the whole agent at
// router scale. N/2 endpoints each reached by an LDP and an IS-IS SR tunnel
// (one via out of an Ethernet interface, one label), plus N/10 BGP-LU tunnels
// to endpoints of their own, each over one SR tunnel; the system RIB takes
// ldp, sr and bgpLu, and the FIB is on. The cold start ends once every RIB
// and the FIB have been read in order, as their first reader would.

#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <random>
#include <string>
#include <vector>

#include "agent/TunnelAgent.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/TunnelRib.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableMounter.h"

using namespace Tunnel::TunnelTable;

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince( Clock::time_point start ) {
   return std::chrono::duration< double >( Clock::now() - start ).count();
}

// Resident and peak resident bytes of this process.
struct Memory {
   std::size_t resident = 0;
   std::size_t peak = 0;
};
Memory memory() {
   Memory m;
   std::ifstream status( "/proc/self/status" );
   std::string key;
   while ( status >> key ) {
      std::size_t kib = 0;
      if ( key == "VmRSS:" && status >> kib ) {
         m.resident = kib * 1024;
      } else if ( key == "VmHWM:" && status >> kib ) {
         m.peak = kib * 1024;
      }
   }
   return m;
}

Korvo::IpGenPrefix loopback( unsigned i ) {
   return Korvo::IpGenPrefix( Korvo::IpGenAddr::ipv4( 0x0A000000u + i ), 32 );
}

Korvo::MplsLabelOperation push( Korvo::MplsLabel label ) {
   return Korvo::MplsLabelOperation( Korvo::MplsLabelAction::push, { label } );
}

struct Figures {
   unsigned tunnels = 0;
   unsigned ribs = 0;
   double coldStartSeconds = 0;
   double changeMeanMicros = 0;
   double changeP99Micros = 0;
   double bytesPerTunnel = 0;
   double tableBytesPerTunnel = 0;
   std::size_t orderedEntries = 0;
};

class Workload {
 public:
   Workload( unsigned tunnels, unsigned ribs )
         : endpoints_( tunnels / 2 ), bgpLuTunnels_( tunnels / 10 ), ribs_( ribs ) {}

   Figures run( unsigned changes, std::uint32_t seed ) {
      Figures figures;
      figures.tunnels = endpoints_ * 2 + bgpLuTunnels_;
      figures.ribs = ribs_;
      const Memory before = memory();
      const auto start = Clock::now();
      publish();
      const Memory tables = memory();
      configure();
      agent_.start();
      agent_.scheduler->runUntilIdle();
      figures.orderedEntries = readInOrder();
      figures.coldStartSeconds = secondsSince( start );

      std::mt19937 random( seed );
      std::vector< double > micros;
      micros.reserve( changes );
      for ( unsigned i = 0; i < changes; ++i ) {
         const auto changeStart = Clock::now();
         change( random );
         agent_.scheduler->runUntilIdle();
         micros.push_back( secondsSince( changeStart ) * 1e6 );
      }
      if ( !micros.empty() ) {
         double sum = 0;
         for ( double m : micros ) {
            sum += m;
         }
         figures.changeMeanMicros = sum / micros.size();
         std::sort( micros.begin(), micros.end() );
         figures.changeP99Micros = micros[ std::min( micros.size() - 1, micros.size() * 99 / 100 ) ];
      }
      const Memory after = memory();
      figures.bytesPerTunnel = double( after.peak - before.resident ) / figures.tunnels;
      figures.tableBytesPerTunnel = double( tables.resident - before.resident ) / figures.tunnels;
      return figures;
   }

 private:
   static TunnelId ldpId( unsigned i ) { return TunnelId( TunnelType::ldpTunnel, i ); }
   static TunnelId srId( unsigned i ) { return TunnelId( TunnelType::srTunnel, i ); }
   static TunnelId bgpLuId( unsigned i ) { return TunnelId( TunnelType::bgpLuTunnel, i ); }

   template< class Entry >
   Entry igpEntry( TunnelId id, unsigned endpoint, std::uint32_t metric, Korvo::MplsLabel label,
                   TunnelEntryPref pref ) const {
      Entry entry( id, pref );
      entry.endpointAdd( loopback( endpoint ) );
      entry.mIs( metric );
      entry.mplsViaAdd( MplsVia( Via( Korvo::IpGenAddr::ipv4( 0x0A010000u + endpoint % 64 ),
                                      interfaces_[ endpoint % 64 ] ),
                                 push( label ) ) );
      return entry;
   }
   void publishLdp( unsigned i, std::uint32_t metric = 10, TunnelEntryPref pref = 55 ) {
      ldp_->entryIs( ldpId( i ), igpEntry< LdpTunnelTableEntry >( ldpId( i ), i, metric, 24000 + i % 100000, pref ) );
   }
   void publishSr( unsigned i, std::uint32_t metric = 10, Korvo::MplsLabel label = 0 ) {
      sr_->entryIs( srId( i ), igpEntry< SrTunnelTableEntry >(
                                  srId( i ), i, metric, label ? label : 16000 + i % 100000, 65 ) );
   }
   void publishBgpLu( unsigned i, std::uint32_t metric = 100 ) {
      BgpLuTunnelTableEntry entry( bgpLuId( i ), 85 );
      entry.endpointAdd( loopback( endpoints_ + i ) );
      entry.viaAdd( Via( Korvo::IpGenAddr(), Korvo::IntfId::dynamicTunnel( srId( i % endpoints_ ).value() ) ) );
      entry.labelOperationIs( push( 100000 + i % 100000 ) );
      entry.contributionIs( BgpLuContribution::contributing );
      entry.mIs( metric );
      bgpLu_->entryIs( entry.tunnelId(), entry );
   }

   void publish() {
      for ( unsigned i = 0; i < endpoints_; ++i ) {
         publishLdp( i );
         publishSr( i );
      }
      for ( unsigned i = 0; i < bgpLuTunnels_; ++i ) {
         publishBgpLu( i );
      }
   }

   // Walks every RIB, the per-protocol RIBs and the FIB in key order; the
   // entries seen, so that the walk cannot be left out.
   std::size_t readInOrder() const {
      std::size_t entries = 0;
      const auto walk = [ & ]( const auto & table ) {
         for ( const auto & entry : table ) {
            entries += entry.second.tunnelIdCount() > 0;
         }
      };
      agent_.entityManager->forEachPath( [ & ]( const std::string & path ) {
         if ( !path.starts_with( TunnelRibConfigDirSm::statusPathPrefix ) ) {
            return;
         }
         if ( auto rib = agent_.entityManager->lookup< TunnelRib >( path ) ) {
            walk( rib->entry() );
         }
      } );
      for ( const auto & [ type, wrapper ] : agent_.protocolRibs->protocolTunnelRib() ) {
         if ( wrapper->tunnelRib() ) {
            walk( wrapper->tunnelRib()->entry() );
         }
      }
      for ( const auto & entry : agent_.tunnelFib->entry() ) {
         entries += entry.first != TunnelId();
      }
      return entries;
   }

   void configure() {
      for ( const char * name : { "ldp", "sr", "bgpLu" } ) {
         agent_.tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      }
      const char * names[] = { TunnelRibNameIdMap::systemTunnelRibName, "second-tunnel-rib" };
      for ( unsigned r = 0; r < ribs_ && r < 2; ++r ) {
         auto config = agent_.ribConfigDir->tunnelRibConfigIs( names[ r ] );
         for ( TunnelTableIdentifier table : { TunnelTableIdentifier::ldpTable,
                                               TunnelTableIdentifier::srTable,
                                               TunnelTableIdentifier::bgpLuTable } ) {
            config->entryIs( table );
         }
      }
   }

   // One random change of the kinds a network makes.
   void change( std::mt19937 & random ) {
      const unsigned i = random() % endpoints_;
      switch ( random() % 5 ) {
      case 0:
         publishLdp( i, 10 + random() % 100 );
         break;
      case 1:
         publishLdp( i, 10, TunnelEntryPref( 50 + random() % 20 ) );
         break;
      case 2:
         ldp_->entryDel( ldpId( i ) );
         agent_.scheduler->runUntilIdle();
         publishLdp( i );
         break;
      case 3:
         publishSr( i, 10 + random() % 100 );
         break;
      default:
         // A new label for an SR tunnel re-flattens the BGP-LU tunnels over it.
         publishSr( i % std::max( 1u, bgpLuTunnels_ ), 10, 20000 + random() % 100000 );
         break;
      }
   }

   Tunnel::TunnelAgent agent_;
   Vel::Ptr< LdpTunnelTable > ldp_ = agent_.producerTable< LdpTunnelTable >();
   Vel::Ptr< IsisSrTunnelTable > sr_ = agent_.producerTable< IsisSrTunnelTable >();
   Vel::Ptr< BgpLuTunnelTable > bgpLu_ = agent_.producerTable< BgpLuTunnelTable >();
   unsigned endpoints_;
   unsigned bgpLuTunnels_;
   unsigned ribs_;
   // Named once, as a producer holds its interfaces.
   const std::vector< Korvo::IntfId > interfaces_ = [] {
      std::vector< Korvo::IntfId > interfaces;
      for ( unsigned i = 0; i < 64; ++i ) {
         interfaces.push_back( Korvo::IntfId::ordinary( "Ethernet" + std::to_string( i ) ) );
      }
      return interfaces;
   }();
};

void printJson( const Figures & f ) {
   std::printf( "{\"tunnels\": %u, \"ribs\": %u, \"coldStartSeconds\": %.3f, "
                "\"changeMeanMicros\": %.1f, \"changeP99Micros\": %.1f, "
                "\"bytesPerTunnel\": %.0f, \"tableBytesPerTunnel\": %.0f}\n",
                f.tunnels, f.ribs, f.coldStartSeconds, f.changeMeanMicros, f.changeP99Micros,
                f.bytesPerTunnel, f.tableBytesPerTunnel );
}

void printRow( const Figures & f ) {
   std::printf( "%10u  %4u  %10.2f  %11.1f  %10.1f  %14.0f  %12.0f\n", f.tunnels, f.ribs,
                f.coldStartSeconds, f.changeMeanMicros, f.changeP99Micros, f.bytesPerTunnel,
                f.tableBytesPerTunnel );
   std::fflush( stdout );
}

} // namespace

int main( int argc, char ** argv ) {
   CLI::App app( "Cold start, change cost and memory of the tunnel agent at scale. The cold "
                 "start runs from publishing the tables until every RIB and the FIB have been "
                 "read once in key order. With "
                 "--tunnels, one run (a table row, or JSON with --json); without, a table for "
                 "10k, 100k and 1M tunnels with one and two RIBs, each in a process of its own "
                 "so that peak memory is its own." );
   unsigned tunnels = 0;
   unsigned ribs = 1;
   unsigned changes = 10000;
   std::uint32_t seed = 1;
   bool json = false;
   app.add_option( "--tunnels", tunnels, "LDP and SR tunnels (half the endpoints each)" );
   app.add_option( "--ribs", ribs, "tunnel RIBs over the same tables (1 or 2)" )
      ->check( CLI::Range( 1, 2 ) );
   app.add_option( "--changes", changes, "random single changes timed after the cold start" );
   app.add_option( "--seed", seed, "seed of the changes" );
   app.add_flag( "--json", json, "print the figures as one JSON object" );
   CLI11_PARSE( app, argc, argv );

   if ( tunnels == 0 ) {
      std::printf( "%10s  %4s  %10s  %11s  %10s  %14s  %12s\n", "tunnels", "ribs", "cold (s)",
                   "change (us)", "p99 (us)", "bytes/tunnel", "table bytes" );
      std::fflush( stdout );
      for ( unsigned n : { 10000u, 100000u, 1000000u } ) {
         for ( unsigned r : { 1u, 2u } ) {
            const std::string command = std::string( argv[ 0 ] ) + " --tunnels " +
                                        std::to_string( n ) + " --ribs " + std::to_string( r ) +
                                        " --changes " + std::to_string( changes ) + " --seed " +
                                        std::to_string( seed );
            if ( std::system( command.c_str() ) != 0 ) {
               return 1;
            }
         }
      }
      return 0;
   }
   Figures figures = Workload( tunnels, ribs ).run( changes, seed );
   if ( json ) {
      printJson( figures );
   } else {
      printRow( figures );
   }
   return 0;
}
