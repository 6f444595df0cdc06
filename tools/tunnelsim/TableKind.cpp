#include "tools/tunnelsim/TableKind.h"

#include <tuple>

#include "agent/TunnelAgent.h"
#include "platform/mirra/CollectionControl.h"
#include "tools/tunnelsim/EntryReaders.h"
#include "tools/tunnelsim/ScenarioError.h"
#include "tools/tunnelsim/ValueReaders.h"
#include "types/ProtocolTunnelTable.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

template< class Table >
TableKind kindOf() {
   TableKind kind{ Table::tableName, Table::tableId, Table::tableType, {}, {}, {} };
   kind.readEntry = [ kind ]( const JsonValue & value ) -> Action {
      auto entry = readTableEntry< typename Table::EntryType >( value, kind );
      return [ entry ]( Tunnel::TunnelAgent & agent ) {
         agent.producerTable< Table >()->entryIs( entry.tunnelId(), entry );
      };
   };
   kind.deleteEntry = []( TunnelId id ) -> Action {
      return [ id ]( Tunnel::TunnelAgent & agent ) { agent.producerTable< Table >()->entryDel( id ); };
   };
   kind.tableCompleteIs = []( bool complete ) -> Action {
      return [ complete ]( Tunnel::TunnelAgent & agent ) {
         auto table = agent.producerTable< Table >();
         if ( !table->entry().control()() ) {
            table->controlIs( Vel::make< Mirra::CollectionControl >() );
         }
         table->entry().control()()->tableCompleteIs( complete );
      };
   };
   return kind;
}

template< class... Table >
std::vector< TableKind > kindsOf( std::tuple< Table... > * ) {
   return { kindOf< Table >()... };
}

} // namespace

bool TableKind::acceptsId( TunnelId id ) const {
   return id.tunnelType() == type || ( type == TunnelType::rsvpFrrTunnel &&
                                       id.tunnelType() == TunnelType::rsvpFrrBackupTunnel );
}

TunnelId TableKind::readId( const JsonValue & value ) const {
   TunnelId id = readTunnelId( value );
   if ( !acceptsId( id ) ) {
      std::string expected = "a tunnel id of type " + stringValue( type );
      if ( type == TunnelType::rsvpFrrTunnel ) {
         expected += " or " + stringValue( TunnelType::rsvpFrrBackupTunnel );
      }
      value.fail( expected + " for the \"" + std::string( name ) + "\" table, such as \"" +
                  TunnelId( type, 1 ).stringValue() + "\"" );
   }
   return id;
}

const std::vector< TableKind > & tableKinds() {
   static const std::vector< TableKind > kinds =
      kindsOf( static_cast< ProtocolTunnelTables * >( nullptr ) );
   return kinds;
}

const TableKind & readTableKind( const JsonValue & where, const std::string & name ) {
   for ( const TableKind & kind : tableKinds() ) {
      if ( kind.name == name ) {
         return kind;
      }
   }
   std::string names;
   for ( const TableKind & kind : tableKinds() ) {
      names += ( names.empty() ? "" : ", " ) + std::string( kind.name );
   }
   throw ScenarioError( where.path(), "unknown table \"" + name + "\"; expected one of: " + names );
}

} // namespace TunnelSim
