#include "tools/tunnelsim/TableKind.h"

#include <algorithm>
#include <cstdint>
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

bool someTableHolds( TunnelId id ) {
   return std::any_of( tableKinds().begin(), tableKinds().end(),
                       [ id ]( const TableKind & kind ) { return kind.acceptsId( id ); } );
}

void refuseTablelessId( const JsonValue & value, std::string_view expected, TunnelId id ) {
   std::string names;
   for ( std::uint32_t number = 0; number <= maxTunnelTypeValue; ++number ) {
      auto type = static_cast< TunnelType >( number );
      if ( isTunnelType( number ) && someTableHolds( TunnelId( type, 1 ) ) ) {
         names += ( names.empty() ? "" : ", " ) + stringValue( type );
      }
   }
   auto type = static_cast< std::uint32_t >( id.tunnelType() );
   value.fail( std::string( expected ) + " of a type that a table holds (" + names + ")",
               isTunnelType( type )
                  ? "of type " + stringValue( id.tunnelType() )
                  : "of type " + std::to_string( type ) + ", which is no tunnel type" );
}

TunnelId readTableTunnelId( const JsonValue & value ) {
   TunnelId id = readTunnelId( value );
   if ( !someTableHolds( id ) ) {
      refuseTablelessId( value, "a tunnel id", id );
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
   throw ScenarioError( where.path(), "unknown table " + quotedName( name ) + "; expected one of: " + names );
}

} // namespace TunnelSim
