#include "tools/tunneld/InputKeys.h"

#include "agent/TunnelAgent.h"
#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/Scenario.h"
#include "tools/tunnelsim/ScenarioError.h"
#include "tools/tunnelsim/ValueReaders.h"
#include "types/TunnelTableMounter.h"

namespace TunnelD {

using TunnelSim::Action;
using TunnelSim::Json;
using TunnelSim::JsonValue;
using TunnelSim::ScenarioError;

namespace {

[[noreturn]] void refuseKey( const std::string & problem ) { throw ScenarioError( "$", problem ); }

// Reads a value as the argument of a script step, so the step readers check
// it; paths in refusals are made relative to the value again.
Action readAsStep( const std::string & verb, const std::optional< std::string > & member,
                   const Json & value ) {
   Json step = Json::object();
   std::string prefix = TunnelSim::memberPath( "$", verb );
   if ( member ) {
      step[ verb ] = Json::object();
      step[ verb ][ *member ] = value;
      prefix = TunnelSim::memberPath( prefix, *member );
   } else {
      step[ verb ] = value;
   }
   try {
      return TunnelSim::readStep( JsonValue( step, "$" ), true ).change;
   } catch ( const ScenarioError & e ) {
      std::string path = e.path();
      if ( path.starts_with( prefix ) ) {
         path = "$" + path.substr( prefix.size() );
      }
      throw ScenarioError( path, e.problem() );
   }
}

Action readTableEntryKey( const std::string & rest, const std::optional< std::string > & value ) {
   auto colon = rest.find( ':' );
   if ( colon == std::string::npos ) {
      refuseKey( "a table entry key ends in <table>:<tunnel id>" );
   }
   const std::string tableName = rest.substr( 0, colon );
   const Json idText = rest.substr( colon + 1 );
   const TunnelSim::TableKind & kind =
      TunnelSim::readTableKind( JsonValue( Json( tableName ), "$" ), tableName );
   const auto id = kind.readId( JsonValue( idText, "$" ) );
   if ( !value ) {
      return kind.deleteEntry( id );
   }
   Json json = TunnelSim::parseJson( *value );
   JsonValue entry( json, "$" );
   if ( entry.isObject() && json.contains( "id" ) ) {
      JsonValue field = entry.member( "id" );
      if ( TunnelSim::readTunnelId( field ) != id ) {
         field.fail( "the tunnel id of the key, " + id.stringValue() );
      }
   }
   return kind.readEntry( entry );
}

Action readDescribedKey( const std::string & tableName,
                         const std::optional< std::string > & value ) {
   const TunnelSim::TableKind & kind =
      TunnelSim::readTableKind( JsonValue( Json( tableName ), "$" ), tableName );
   bool described = false;
   if ( value ) {
      Json json = TunnelSim::parseJson( *value );
      described = JsonValue( json, "$" ).boolean();
   }
   std::string name( kind.name );
   if ( described ) {
      return [ name ]( Tunnel::TunnelAgent & agent ) {
         agent.tableInfo->tableInfoIs(
            name, Tunnel::TunnelTable::TunnelTableMounter::tableInfo( name ) );
      };
   }
   return [ name ]( Tunnel::TunnelAgent & agent ) { agent.tableInfo->tableInfoDel( name ); };
}

} // namespace

Action readInputKey( const KeySchema & schema, const std::string & key,
                     const std::optional< std::string > & value ) {
   const std::string inputs = schema.inputs();
   if ( !key.starts_with( inputs ) ) {
      refuseKey( "not an input key: expected the prefix " + TunnelSim::quotedName( inputs ) );
   }
   const std::string name = key.substr( inputs.size() );
   auto after = [ & ]( std::string_view head ) -> std::optional< std::string > {
      if ( name.starts_with( head ) && name.size() > head.size() ) {
         return name.substr( head.size() );
      }
      return std::nullopt;
   };
   auto parsed = [ & ] { return TunnelSim::parseJson( *value ); };

   if ( auto rest = after( "table:" ) ) {
      return readTableEntryKey( *rest, value );
   }
   if ( auto table = after( "described:" ) ) {
      return readDescribedKey( *table, value );
   }
   if ( auto table = after( "tableComplete:" ) ) {
      return readAsStep( "tableComplete", *table, value ? parsed() : Json( false ) );
   }
   if ( auto rib = after( "rib:" ) ) {
      if ( !value ) {
         return readAsStep( "ribDelete", std::nullopt, Json::array( { *rib } ) );
      }
      return readAsStep( "rib", *rib, parsed() );
   }
   // Deleting a setting puts back what an agent starts with.
   if ( name == "mplsTunnelConfig" ) {
      return readAsStep( name, std::nullopt,
                         value ? parsed() : Json{ { "entropyLabelPush", false } } );
   }
   if ( name == "bgpLuConvergence" ) {
      return readAsStep( name, std::nullopt, value ? parsed() : Json{ { "converged", false } } );
   }
   if ( name == "gracefulRestart" ) {
      return readAsStep( name, std::nullopt,
                         value ? parsed()
                               : Json{ { "restartTracking", false }, { "restartComplete", false } } );
   }
   if ( name == "toggles" ) {
      // Toggles are read once, when tunneld starts; checked here so a bad
      // value is reported when it is written.
      if ( value ) {
         Json toggles = Json::object();
         toggles[ "toggles" ] = parsed();
         TunnelSim::readScenario( JsonValue( toggles, "$" ) );
      }
      return []( Tunnel::TunnelAgent & ) {};
   }
   refuseKey( "unknown input key; expected " + inputs +
              "table:<table>:<tunnel id>, described:<table>, tableComplete:<table>, "
              "rib:<name>, mplsTunnelConfig, bgpLuConvergence, gracefulRestart or toggles" );
}

} // namespace TunnelD
