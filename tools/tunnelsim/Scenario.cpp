#include "tools/tunnelsim/Scenario.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <optional>

#include "platform/toggles/FeatureToggles.h"
#include "agent/TunnelAgent.h"
#include "tools/tunnelsim/ScenarioError.h"
#include "tools/tunnelsim/ValueReaders.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableMounter.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

constexpr std::uint64_t u8Max = std::numeric_limits< std::uint8_t >::max();
constexpr std::uint64_t u32Max = std::numeric_limits< std::uint32_t >::max();
constexpr std::uint64_t u64Max = std::numeric_limits< std::uint64_t >::max();

const std::vector< std::string_view > toggleNames = { "TunnelUnflatten", "MplsL3VpnSso" };

Action sequence( std::vector< Action > actions ) {
   return [ actions = std::move( actions ) ]( Tunnel::TunnelAgent & agent ) {
      for ( const Action & action : actions ) {
         action( agent );
      }
   };
}

// { "<table>": [ entry, ... ], ... }
Action readEntryWrites( const JsonValue & value ) {
   std::vector< Action > actions;
   for ( const auto & [ name, entries ] : value.members( "an object of table names to entries" ) ) {
      const TableKind & kind = readTableKind( entries, name );
      for ( const JsonValue & entry : entries.elements( "a list of table entries" ) ) {
         actions.push_back( kind.readEntry( entry ) );
      }
   }
   return sequence( std::move( actions ) );
}

// { "<table>": [ tunnel id, ... ], ... }
Action readEntryDeletes( const JsonValue & value ) {
   std::vector< Action > actions;
   for ( const auto & [ name, ids ] : value.members( "an object of table names to tunnel ids" ) ) {
      const TableKind & kind = readTableKind( ids, name );
      for ( const JsonValue & id : ids.elements( "a list of tunnel ids" ) ) {
         actions.push_back( kind.deleteEntry( kind.readId( id ) ) );
      }
   }
   return sequence( std::move( actions ) );
}

Action describeTable( const TableKind & kind, bool described ) {
   std::string name( kind.name );
   if ( described ) {
      return [ name ]( Tunnel::TunnelAgent & agent ) {
         agent.tableInfo->tableInfoIs( name, TunnelTableMounter::tableInfo( name ) );
      };
   }
   return [ name ]( Tunnel::TunnelAgent & agent ) { agent.tableInfo->tableInfoDel( name ); };
}

// [ "<table>", ... ]
Action readDescriptions( const JsonValue & value, bool described ) {
   std::vector< Action > actions;
   for ( const JsonValue & name : value.elements( "a list of table names" ) ) {
      actions.push_back(
         describeTable( readTableKind( name, name.string( "a table name" ) ), described ) );
   }
   return sequence( std::move( actions ) );
}

// { "<table>": { "described": bool, "entries": [ ... ] }, ... }
Action readTables( const JsonValue & value ) {
   std::vector< Action > actions;
   for ( const auto & [ name, table ] : value.members( "an object of table names to tables" ) ) {
      const TableKind & kind = readTableKind( table, name );
      JsonObject object = table.object( "a table: an object with \"entries\" and \"described\"",
                                        { "described", "entries" } );
      if ( auto entries = object.get( "entries" ) ) {
         for ( const JsonValue & entry : entries->elements( "a list of table entries" ) ) {
            actions.push_back( kind.readEntry( entry ) );
         }
      }
      if ( object.booleanOr( "described", true ) ) {
         actions.push_back( describeTable( kind, true ) );
      }
   }
   return sequence( std::move( actions ) );
}

// What one RIB takes from one protocol table.
struct TableSettings {
   TunnelTableIdentifier tableId;
   std::uint32_t prefMapping;
   std::uint8_t preference;
   std::uint32_t igpCostPrefMapping;
   std::uint8_t igpCostPref;
};

// A table a RIB can name: by its name, or by its identifier's number.
TunnelTableIdentifier readRibTableId( const JsonValue & where, const std::string & key ) {
   for ( const auto & [ id, name ] : TableIdToNameMap ) {
      if ( !key.empty() && name == key ) {
         return id;
      }
   }
   constexpr auto maxId = static_cast< unsigned >( TunnelTableIdentifier::ospfFlexAlgoTable );
   if ( !key.empty() && key.size() <= 2 &&
        std::all_of( key.begin(), key.end(), []( char c ) { return c >= '0' && c <= '9'; } ) &&
        static_cast< unsigned >( std::stoi( key ) ) <= maxId ) {
      return static_cast< TunnelTableIdentifier >( std::stoi( key ) );
   }
   std::string names;
   for ( const auto & [ id, name ] : TableIdToNameMap ) {
      if ( !name.empty() ) {
         names += ( names.empty() ? "" : ", " ) + name;
      }
   }
   throw ScenarioError( where.path(), "unknown table " + quotedName( key ) +
                                         " for a tunnel RIB; expected one of: " + names +
                                         ", or a table identifier from 0 to " +
                                         std::to_string( maxId ) );
}

// { "<table>": { "preference": 20, ... }, ... }
std::vector< TableSettings > readRibTables( const JsonValue & value ) {
   std::vector< TableSettings > result;
   for ( const auto & [ key, settings ] :
         value.members( "a RIB configuration: an object of table names to settings" ) ) {
      TunnelTableIdentifier tableId = readRibTableId( settings, key );
      JsonObject object = settings.object(
         "the RIB's settings for the table: an object",
         { "preference", "prefMapping", "igpCostPref", "igpCostPrefMapping" } );
      // Giving a preference turns its mapping on unless the mapping is given.
      result.push_back( TableSettings{
         tableId,
         static_cast< std::uint32_t >(
            object.unsignedOr( "prefMapping", u32Max, object.has( "preference" ) ? 1 : 0 ) ),
         static_cast< std::uint8_t >( object.unsignedOr( "preference", u8Max, 0 ) ),
         static_cast< std::uint32_t >( object.unsignedOr(
            "igpCostPrefMapping", u32Max, object.has( "igpCostPref" ) ? 1 : 0 ) ),
         static_cast< std::uint8_t >( object.unsignedOr( "igpCostPref", u8Max, 0 ) ) } );
   }
   return result;
}

// A RIB's configuration becomes what the scenario says. An existing
// configuration is edited in place, as an operator's change would be, so the
// machines see changes of single settings.
void applyRibConfig( Tunnel::TunnelAgent & agent, const Vel::Name & name,
                     const std::vector< TableSettings > & tables ) {
   auto config = agent.ribConfigDir->tunnelRibConfig( name );
   bool fresh = !config;
   if ( fresh ) {
      config = tunnelRibConfigFactory( name );
   } else {
      std::vector< TunnelTableIdentifier > dropped;
      for ( const auto & [ tableId, entry ] : config->entry() ) {
         bool kept = std::any_of( tables.begin(), tables.end(),
                                  [ &, tableId = tableId ]( const TableSettings & t ) {
                                     return t.tableId == tableId;
                                  } );
         if ( !kept ) {
            dropped.push_back( tableId );
         }
      }
      for ( TunnelTableIdentifier tableId : dropped ) {
         config->entryDel( tableId );
      }
   }
   for ( const TableSettings & settings : tables ) {
      auto entry = config->entryIs( settings.tableId );
      // The values before the switches that make the machines read them.
      entry->preferenceIs( settings.preference );
      entry->igpCostPrefIs( settings.igpCostPref );
      entry->prefMappingIs( settings.prefMapping );
      entry->igpCostPrefMappingIs( settings.igpCostPrefMapping );
   }
   if ( fresh ) {
      agent.ribConfigDir->tunnelRibConfigIs( config );
   }
}

Vel::Name readRibName( const JsonValue & where, const std::string & name ) {
   if ( name.empty() ) {
      where.fail( "a tunnel RIB name that is not empty" );
   }
   return Vel::Name( name );
}

// { "<rib name>": { "<table>": { ... }, ... }, ... }
Action readRibConfigs( const JsonValue & value ) {
   std::vector< Action > actions;
   for ( const auto & [ name, tables ] :
         value.members( "an object of tunnel RIB names to configurations" ) ) {
      Vel::Name ribName = readRibName( tables, name );
      actions.push_back( [ ribName, settings = readRibTables( tables ) ]( Tunnel::TunnelAgent & agent ) {
         applyRibConfig( agent, ribName, settings );
      } );
   }
   return sequence( std::move( actions ) );
}

// [ "<rib name>", ... ]
Action readRibDeletes( const JsonValue & value ) {
   std::vector< Vel::Name > names;
   for ( const JsonValue & name : value.elements( "a list of tunnel RIB names" ) ) {
      names.push_back( readRibName( name, name.string( "a tunnel RIB name" ) ) );
   }
   return [ names ]( Tunnel::TunnelAgent & agent ) {
      for ( const Vel::Name & name : names ) {
         agent.ribConfigDir->tunnelRibConfigDel( name );
      }
   };
}

// [ tunnel id, ... ]: ids the tunnel FIB could (not) program, marked by
// hand while the FIB machine is off.
Action readUnprogrammable( const JsonValue & value, bool unprogrammable ) {
   std::vector< TunnelId > ids;
   for ( const JsonValue & id : value.elements( "a list of tunnel ids" ) ) {
      ids.push_back( readTableTunnelId( id ) );
   }
   return [ ids, unprogrammable ]( Tunnel::TunnelAgent & agent ) {
      for ( TunnelId id : ids ) {
         if ( unprogrammable ) {
            agent.unprogrammable->entryIs( id, true );
         } else {
            agent.unprogrammable->entryDel( id );
         }
      }
   };
}

// A running FIB machine writes the unprogrammable tunnels itself; a mark
// written beside it would be overwritten or wrongly kept.
[[noreturn]] void refuseHandWrittenMarks( const JsonValue & where ) {
   throw ScenarioError( where.path(),
                        "the tunnel FIB owns the unprogrammable tunnels; expected "
                        "\"tunnelFib\": false at the top of the scenario to mark tunnels by "
                        "hand" );
}

// { "converged": bool, "seqno": n }; without a seqno, BGP-LU has converged
// on what its table holds now.
Action readBgpLuConvergence( const JsonValue & value ) {
   JsonObject object = value.object( "BGP-LU convergence: an object with \"converged\"",
                                     { "converged", "seqno" } );
   bool converged = object.required( "converged" ).boolean();
   std::optional< std::uint64_t > seqno;
   if ( auto field = object.get( "seqno" ) ) {
      seqno = field->unsignedNumber( u64Max );
   }
   return [ converged, seqno ]( Tunnel::TunnelAgent & agent ) {
      std::uint64_t current =
         seqno ? *seqno : agent.producerTable< BgpLuTunnelTable >()->entry().sequenceNumber();
      agent.bgpLuConvergence->convergedIs( converged, current );
   };
}

// { "<table>": bool, ... }: each table's producer declares the table and says
// whether it is complete.
Action readTableComplete( const JsonValue & value ) {
   std::vector< Action > actions;
   for ( const auto & [ name, complete ] :
         value.members( "an object of table names to whether each is complete" ) ) {
      actions.push_back( readTableKind( complete, name ).tableCompleteIs( complete.boolean() ) );
   }
   return sequence( std::move( actions ) );
}

// { "restartTracking": bool, "restartComplete": bool }
Action readGracefulRestart( const JsonValue & value ) {
   JsonObject object = value.object( "the graceful-restart context: an object",
                                     { "restartTracking", "restartComplete" } );
   std::optional< bool > tracking, complete;
   if ( auto field = object.get( "restartTracking" ) ) {
      tracking = field->boolean();
   }
   if ( auto field = object.get( "restartComplete" ) ) {
      complete = field->boolean();
   }
   return [ tracking, complete ]( Tunnel::TunnelAgent & agent ) {
      auto & context = *agent.grStatus->tunnelGrContext();
      if ( tracking ) {
         context.restartTrackingIs( *tracking );
      }
      if ( complete ) {
         context.restartCompleteIs( *complete );
      }
   };
}

// { "entropyLabelPush": bool }; a setting not written stays as it is.
Action readMplsTunnelConfig( const JsonValue & value ) {
   JsonObject object =
      value.object( "the MPLS tunnel configuration: an object", { "entropyLabelPush" } );
   std::optional< bool > push;
   if ( auto field = object.get( "entropyLabelPush" ) ) {
      push = field->boolean();
   }
   return [ push ]( Tunnel::TunnelAgent & agent ) {
      if ( push ) {
         agent.mplsTunnelConfig->entropyLabelPushIs( *push );
      }
   };
}

// { "<toggle>": bool, ... }; a toggle not named is off, whatever a toggle
// file says, so that a scenario alone decides how it runs.
Action readToggles( const std::optional< JsonValue > & value ) {
   std::optional< JsonObject > object;
   if ( value ) {
      object = value->object( "feature toggles: an object", { "TunnelUnflatten", "MplsL3VpnSso" } );
   }
   std::vector< std::pair< std::string, bool > > toggles;
   for ( std::string_view name : toggleNames ) {
      toggles.emplace_back( name, object && object->booleanOr( name, false ) );
   }
   return [ toggles ]( Tunnel::TunnelAgent & ) {
      for ( const auto & [ name, on ] : toggles ) {
         Toggles::FeatureToggles::instance().toggleIs( name, on );
      }
   };
}

struct ChangeVerb {
   std::string_view name;
   Action ( *read )( const JsonValue & );
};

const ChangeVerb changeVerbs[] = {
   { "set", readEntryWrites },
   { "delete", readEntryDeletes },
   { "describe", []( const JsonValue & v ) { return readDescriptions( v, true ); } },
   { "undescribe", []( const JsonValue & v ) { return readDescriptions( v, false ); } },
   { "rib", readRibConfigs },
   { "ribDelete", readRibDeletes },
   { "unprogrammable", []( const JsonValue & v ) { return readUnprogrammable( v, true ); } },
   { "programmable", []( const JsonValue & v ) { return readUnprogrammable( v, false ); } },
   { "bgpLuConvergence", readBgpLuConvergence },
   { "gracefulRestart", readGracefulRestart },
   { "tableComplete", readTableComplete },
   { "mplsTunnelConfig", readMplsTunnelConfig },
};

const std::pair< std::string_view, Step::Kind > plainVerbs[] = {
   { "run", Step::Kind::run },
   { "print", Step::Kind::print },
   { "dump", Step::Kind::dump },
   { "stop", Step::Kind::stop },
   { "start", Step::Kind::start },
   { "restart", Step::Kind::restart },
};

std::string stepVerbList() {
   std::string list;
   for ( const ChangeVerb & verb : changeVerbs ) {
      list += ", " + std::string( verb.name );
   }
   return "\"run\", \"print\", \"dump\", \"stop\", \"start\", \"restart\", or an object with one "
          "of the keys print, advance, explain, graph" +
          list;
}

} // namespace

Step readStep( const JsonValue & value, bool tunnelFib ) {
   Step step{ Step::Kind::run, value.path(), {}, {}, 0, {}, {} };
   if ( value.isString() ) {
      step.verb = value.string();
      for ( const auto & [ name, kind ] : plainVerbs ) {
         if ( name == step.verb ) {
            step.kind = kind;
            return step;
         }
      }
      value.fail( "a step: " + stepVerbList() );
   }
   if ( !value.isObject() ) {
      value.fail( "a step: " + stepVerbList() );
   }
   if ( auto question = readQuestion( value ) ) {
      step.kind = question->kind == Question::Kind::graph ? Step::Kind::graph : Step::Kind::explain;
      step.verb = question->kind == Question::Kind::graph ? "graph" : "explain";
      step.question = *question;
      return step;
   }
   std::optional< JsonValue > argument;
   for ( const auto & [ key, member ] : value.members( "a step" ) ) {
      if ( key == "comment" ) {
         continue;
      }
      if ( argument ) {
         throw ScenarioError( member.path(), "one step per object; this one already has " +
                                                quotedName( step.verb ) );
      }
      step.verb = key;
      argument = member;
   }
   if ( !argument ) {
      value.fail( "a step: " + stepVerbList() );
   }
   if ( step.verb == "print" ) {
      step.kind = Step::Kind::print;
      step.label = argument->string( "the title of the print, a string" );
      return step;
   }
   if ( step.verb == "advance" ) {
      step.kind = Step::Kind::advance;
      step.seconds = argument->seconds();
      return step;
   }
   if ( tunnelFib && ( step.verb == "unprogrammable" || step.verb == "programmable" ) ) {
      refuseHandWrittenMarks( *argument );
   }
   for ( const ChangeVerb & verb : changeVerbs ) {
      if ( verb.name == step.verb ) {
         step.kind = Step::Kind::change;
         step.change = verb.read( *argument );
         return step;
      }
   }
   throw ScenarioError( argument->path(), "unknown step; expected " + stepVerbList() );
}

Scenario readScenario( const JsonValue & document ) {
   JsonObject object = document.object(
      "a scenario: an object",
      { "comment", "tunnelFib", "toggles", "gracefulRestart", "mplsTunnelConfig", "tables",
        "ribs", "unprogrammable", "bgpLuConvergence", "script" } );
   Scenario scenario;
   scenario.tunnelFib = object.booleanOr( "tunnelFib", true );
   if ( scenario.tunnelFib && object.has( "unprogrammable" ) ) {
      refuseHandWrittenMarks( *object.get( "unprogrammable" ) );
   }
   // The order in which a starting agent finds its inputs: toggles first, as
   // they are read once; the configuration last, so the RIBs are built over
   // tables that are already there.
   std::vector< Action > setup;
   setup.push_back( readToggles( object.get( "toggles" ) ) );
   using Reader = Action ( * )( const JsonValue & );
   const std::pair< const char *, Reader > sections[] = {
      { "gracefulRestart", readGracefulRestart },
      { "mplsTunnelConfig", readMplsTunnelConfig },
      { "tables", readTables },
      { "unprogrammable", []( const JsonValue & v ) { return readUnprogrammable( v, true ); } },
      { "bgpLuConvergence", readBgpLuConvergence },
      { "ribs", readRibConfigs },
   };
   for ( const auto & [ name, read ] : sections ) {
      if ( auto section = object.get( name ) ) {
         setup.push_back( read( *section ) );
      }
   }
   scenario.setup = sequence( std::move( setup ) );
   if ( auto script = object.get( "script" ) ) {
      for ( const JsonValue & step : script->elements( "a script: a list of steps" ) ) {
         scenario.script.push_back( readStep( step, scenario.tunnelFib ) );
         Step::Kind kind = scenario.script.back().kind;
         scenario.printsAnything |= kind == Step::Kind::print || kind == Step::Kind::dump ||
                                    kind == Step::Kind::explain || kind == Step::Kind::graph;
      }
   }
   return scenario;
}

} // namespace TunnelSim
