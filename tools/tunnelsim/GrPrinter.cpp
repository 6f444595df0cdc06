#include "tools/tunnelsim/GrPrinter.h"

#include <vector>

#include "tools/tunnelsim/AlignedRows.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

std::string tableName( TunnelTableIdentifier id ) {
   auto named = TableIdToNameMap.find( id );
   if ( named != TableIdToNameMap.end() && !named->second.empty() ) {
      return named->second;
   }
   return "table " + std::to_string( static_cast< unsigned >( id ) );
}

Json recordJson( const GrRecordView & record ) {
   Json json = Json::object();
   json[ "backlogEmpty" ] = record.backlogEmpty;
   json[ "tunnelTablesProcessed" ] = record.tunnelTablesProcessed;
   json[ "input" ] = Json();
   if ( record.input ) {
      Json quiesced = Json::object();
      for ( const auto & [ tableId, done ] : record.input->tablesQuiesced ) {
         quiesced[ tableName( tableId ) ] = done;
      }
      json[ "input" ] = Json{ { "backlogsEmpty", record.input->backlogsEmpty },
                              { "tablesQuiesced", std::move( quiesced ) },
                              { "inputProcessedSm", record.input->inputProcessedSm } };
   }
   return json;
}

const char * yesNo( bool flag ) { return flag ? "yes" : "no"; }

Row recordRow( const std::string & name, const GrRecordView & record ) {
   Row row = { name, yesNo( record.backlogEmpty ),
               std::to_string( record.tunnelTablesProcessed ) };
   if ( !record.input ) {
      row.insert( row.end(), { "-", "-", "-" } );
      return row;
   }
   std::string quiesced;
   for ( const auto & [ tableId, done ] : record.input->tablesQuiesced ) {
      quiesced += ( quiesced.empty() ? "" : ", " ) + tableName( tableId ) + " " + yesNo( done );
   }
   row.push_back( yesNo( record.input->backlogsEmpty ) );
   row.push_back( quiesced.empty() ? "none" : quiesced );
   row.push_back( record.input->inputProcessedSm ? "present" : "gone" );
   return row;
}

} // namespace

Json gracefulRestartJson( const GracefulRestartView & view ) {
   Json ribs = Json::object();
   for ( const auto & [ id, record ] : view.ribs ) {
      ribs[ id.stringValue() ] = recordJson( record );
   }
   Json json = Json::object();
   json[ "restartTracking" ] = view.restartTracking;
   json[ "restartComplete" ] = view.restartComplete;
   json[ "ribs" ] = std::move( ribs );
   json[ "fib" ] = view.fib ? recordJson( *view.fib ) : Json();
   return json;
}

std::string gracefulRestartTable( const GracefulRestartView & view ) {
   std::string out = std::string( "graceful restart: restartTracking " ) +
                     yesNo( view.restartTracking ) + ", restartComplete " +
                     yesNo( view.restartComplete ) + "\n";
   std::vector< Row > rows = { { "record", "backlog empty", "tables processed", "backlogs empty",
                                 "quiesced", "input machine" } };
   for ( const auto & [ id, record ] : view.ribs ) {
      rows.push_back( recordRow( "RIB " + id.stringValue(), record ) );
   }
   if ( view.fib ) {
      rows.push_back( recordRow( "FIB", *view.fib ) );
   }
   if ( rows.size() > 1 ) {
      out += alignedRows( rows, "  " );
   }
   return out;
}

} // namespace TunnelSim
