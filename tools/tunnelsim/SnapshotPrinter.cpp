#include "tools/tunnelsim/SnapshotPrinter.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <vector>

#include "tools/tunnelsim/AlignedRows.h"
#include "tools/tunnelsim/FibPrinter.h"
#include "tools/tunnelsim/GrPrinter.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

std::string tunnelIdsText( const TunnelRibEntry & entry, const char * separator ) {
   std::string text;
   for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
      text += ( i ? separator : "" ) + entry.tunnelId( i ).stringValue();
   }
   return text;
}

std::string timeText( double time ) {
   std::ostringstream os;
   os << roundedTime( time );
   return os.str();
}

Json ribJson( const RibView & rib ) {
   Json entries = Json::array();
   for ( const TunnelRibEntry & entry : rib.entries ) {
      entries.push_back( ribEntryJson( entry ) );
   }
   Json json = Json::object();
   json[ "name" ] = rib.name.empty() ? Json() : Json( rib.name );
   json[ "id" ] = rib.id.value();
   json[ "colored" ] = rib.colored;
   json[ "entries" ] = std::move( entries );
   return json;
}

// A per-type RIB only lists which tunnels of its type reach each endpoint.
enum class Columns { all, tunnelIdsOnly };

std::string ribTable( const RibView & rib, bool showColor, Columns columns = Columns::all ) {
   if ( rib.entries.empty() ) {
      return "  (no entries)\n";
   }
   Row header = { "endpoint" };
   if ( showColor ) {
      header.push_back( "color" );
   }
   if ( columns == Columns::tunnelIdsOnly ) {
      header.push_back( "tunnel ids" );
   } else {
      for ( const char * column :
            { "pref", "tunnel ids", "m", "metric type", "m2", "igp cost pref", "p2" } ) {
         header.push_back( column );
      }
   }
   std::vector< Row > rows = { header };
   for ( const TunnelRibEntry & entry : rib.entries ) {
      Row row = { entry.tep().stringValue() };
      if ( showColor ) {
         row.push_back( entry.coloredTep().colored()
                           ? std::to_string( entry.coloredTep().color() )
                           : "-" );
      }
      if ( columns == Columns::tunnelIdsOnly ) {
         row.push_back( tunnelIdsText( entry, ", " ) );
         rows.push_back( std::move( row ) );
         continue;
      }
      for ( const std::string & cell :
            { std::to_string( entry.pref().value() ), tunnelIdsText( entry, ", " ),
              std::to_string( entry.m() ), std::to_string( entry.metricType() ),
              std::to_string( entry.m2() ), std::to_string( entry.igpCostPref() ),
              std::to_string( entry.p2() ) } ) {
         row.push_back( cell );
      }
      rows.push_back( std::move( row ) );
   }
   return alignedRows( rows, "  " );
}

bool anyColor( const RibView & rib ) {
   return rib.colored || std::any_of( rib.entries.begin(), rib.entries.end(),
                                      []( const TunnelRibEntry & e ) {
                                         return e.coloredTep().colored();
                                      } );
}

} // namespace

// Time to the microsecond: the scheduler's delays are sums of short decimal
// steps that binary fractions only approximate.
double roundedTime( double time ) { return std::round( time * 1e6 ) / 1e6; }

Json ribEntryJson( const TunnelRibEntry & entry ) {
   Json ids = Json::array();
   for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
      ids.push_back( entry.tunnelId( i ).stringValue() );
   }
   const ColoredTunnelEndpoint & tep = entry.coloredTep();
   Json json = Json::object();
   json[ "endpoint" ] = tep.tep().stringValue();
   json[ "color" ] = tep.colored() ? Json( tep.color() ) : Json();
   json[ "preference" ] = entry.pref().value();
   json[ "tunnelIds" ] = std::move( ids );
   json[ "m" ] = entry.m();
   json[ "metricType" ] = entry.metricType();
   json[ "m2" ] = entry.m2();
   json[ "igpCostPref" ] = entry.igpCostPref();
   json[ "p2" ] = entry.p2();
   return json;
}

Json snapshotJson( const Snapshot & snapshot ) {
   Json json = Json::object();
   if ( !snapshot.label.empty() ) {
      json[ "label" ] = snapshot.label;
   }
   json[ "step" ] = snapshot.step.empty() ? Json() : Json( snapshot.step );
   json[ "time" ] = roundedTime( snapshot.time );
   json[ "ribs" ] = Json::array();
   for ( const RibView & rib : snapshot.ribs ) {
      json[ "ribs" ].push_back( ribJson( rib ) );
   }
   if ( !snapshot.protocolRibs.empty() ) {
      Json protocolRibs = Json::object();
      for ( const auto & [ type, rib ] : snapshot.protocolRibs ) {
         Json entries = Json::array();
         for ( const TunnelRibEntry & entry : rib.entries ) {
            Json json = ribEntryJson( entry );
            entries.push_back( Json{ { "endpoint", json[ "endpoint" ] },
                                     { "color", json[ "color" ] },
                                     { "tunnelIds", json[ "tunnelIds" ] } } );
         }
         protocolRibs[ stringValue( type ) ] = std::move( entries );
      }
      json[ "protocolRibs" ] = std::move( protocolRibs );
   }
   json[ "convergence" ] = Json::object();
   for ( const auto & [ id, seqno ] : snapshot.convergence ) {
      json[ "convergence" ][ id.stringValue() ] = seqno;
   }
   if ( snapshot.gracefulRestart ) {
      json[ "gracefulRestart" ] = gracefulRestartJson( *snapshot.gracefulRestart );
   }
   json[ "fib" ] = snapshot.fib ? fibJson( *snapshot.fib ) : Json();
   if ( !snapshot.dump.empty() ) {
      json[ "dump" ] = snapshot.dump;
   }
   return json;
}

std::string snapshotTable( const Snapshot & snapshot ) {
   std::string title = snapshot.label;
   std::string where = snapshot.step.empty() ? "end of script" : snapshot.step;
   if ( title.empty() ) {
      title = snapshot.step.empty() ? "final state" : snapshot.verb;
   }
   std::string out =
      "== " + title + " (" + where + ", time " + timeText( snapshot.time ) + " s) ==\n";
   for ( const RibView & rib : snapshot.ribs ) {
      out += "RIB " + ( rib.name.empty() ? std::string( "(unnamed)" ) : rib.name ) + " (id " +
             rib.id.stringValue() + ( rib.colored ? ", colored" : "" ) + ")\n";
      out += ribTable( rib, anyColor( rib ) );
   }
   if ( snapshot.ribs.empty() ) {
      out += "(no tunnel RIBs)\n";
   }
   for ( const auto & [ type, rib ] : snapshot.protocolRibs ) {
      if ( !rib.entries.empty() ) {
         out += "per-type RIB " + stringValue( type ) + " (of the system RIB)\n";
         out += ribTable( rib, anyColor( rib ), Columns::tunnelIdsOnly );
      }
   }
   for ( const auto & [ id, seqno ] : snapshot.convergence ) {
      out += "converged with BGP-LU: RIB id " + id.stringValue() + " at sequence number " +
             std::to_string( seqno ) + "\n";
   }
   if ( snapshot.gracefulRestart ) {
      out += gracefulRestartTable( *snapshot.gracefulRestart );
   }
   out += snapshot.fib ? fibTable( *snapshot.fib ) : "FIB: off\n";
   if ( !snapshot.dump.empty() ) {
      out += "-- state dump --\n" + snapshot.dump;
      if ( !snapshot.dump.ends_with( '\n' ) ) {
         out += "\n";
      }
   }
   return out;
}

} // namespace TunnelSim
