#include "tools/tunnelsim/ExplainPrinter.h"

#include <array>
#include <set>
#include <sstream>
#include <utility>

#include "platform/korvo/IntfId.h"
#include "tools/tunnelsim/AlignedRows.h"
#include "tools/tunnelsim/GraphPrinter.h"
#include "tools/tunnelsim/SnapshotPrinter.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;
using Korvo::MplsLabelOperation;
using Flags = TunnelFibViaCalcResult;

namespace {

// --- Values.

Json labelsJson( const MplsLabelOperation & op ) {
   Json labels = Json::array();
   for ( std::size_t i = 0; i < op.stackSize(); ++i ) {
      const Korvo::MplsLabel label = op.label( i );
      labels.push_back( label == MplsLabelOperation::entropyLabel ? Json( "EL" ) : Json( label ) );
   }
   return labels;
}

// "[16002 7 EL]", after "swap" or "pop" when it is not a push.
std::string labelsText( const MplsLabelOperation & op ) {
   const std::string text = op.stringValue();
   constexpr std::string_view push = "push ";
   return text.starts_with( push ) ? text.substr( push.size() ) : text;
}

Json endpointJson( const ColoredTunnelEndpoint & tep, Json & json ) {
   json[ "endpoint" ] = tep.tep().stringValue();
   json[ "color" ] = tep.colored() ? Json( tep.color() ) : Json();
   return json;
}

std::string timeText( double time ) {
   std::ostringstream os;
   os << roundedTime( time );
   return os.str();
}

std::string idsText( const std::vector< TunnelId > & ids ) {
   std::string text;
   for ( TunnelId id : ids ) {
      text += ( text.empty() ? "" : ", " ) + id.stringValue();
   }
   return text.empty() ? "none" : text;
}

Json idsJson( const std::vector< TunnelId > & ids ) {
   Json json = Json::array();
   for ( TunnelId id : ids ) {
      json.push_back( id.stringValue() );
   }
   return json;
}

// --- The FIB's side.

constexpr std::array< std::pair< std::uint8_t, const char * >, 6 > flagMeanings = { {
   { Flags::recTunNotReady, "a lower tunnel was still to be computed" },
   { Flags::recTunUnprogrammable, "a lower tunnel had no programmed via" },
   { Flags::recTunMissing, "a lower tunnel had no table entry" },
   { Flags::recTunNonContrib, "a lower tunnel's entry did not contribute to the FIB" },
   { Flags::recTunFlattenError, "a merged label stack did not fit" },
   { Flags::recTunCycle, "a lower tunnel rests on this tunnel: a cycle" },
} };

const char * flagName( std::uint8_t flag ) {
   switch ( flag ) {
   case Flags::recTunNotReady:
      return "recTunNotReady";
   case Flags::recTunUnprogrammable:
      return "recTunUnprogrammable";
   case Flags::recTunMissing:
      return "recTunMissing";
   case Flags::recTunNonContrib:
      return "recTunNonContrib";
   case Flags::recTunFlattenError:
      return "recTunFlattenError";
   default:
      return "recTunCycle";
   }
}

const char * lowerStateName( LowerTunnelState state ) {
   switch ( state ) {
   case LowerTunnelState::resolved:
      return "resolved";
   case LowerTunnelState::cycle:
      return "cycle";
   case LowerTunnelState::notReady:
      return "notReady";
   case LowerTunnelState::missing:
      return "missing";
   case LowerTunnelState::notContributing:
      return "notContributing";
   case LowerTunnelState::unprogrammable:
      return "unprogrammable";
   }
   return "?";
}

std::string stackText( const std::pair< unsigned, unsigned > & depths ) {
   return std::to_string( depths.first ) + " + " + std::to_string( depths.second ) + " = " +
          std::to_string( depths.first + depths.second ) + " labels, at most " +
          std::to_string( MplsLabelOperation::maxStackSize );
}

std::string lowerTunnelText( TunnelId upper, const LowerTunnelFinding & finding ) {
   const std::string lower = finding.tunnelId.stringValue();
   switch ( finding.state ) {
   case LowerTunnelState::resolved: {
      if ( finding.stacksTooDeep.empty() ) {
         return "resolved over " + lower;
      }
      std::string text = "over " + lower + ", " +
                         std::to_string( finding.stacksTooDeep.size() ) + " of the merged stacks " +
                         "did not fit:";
      std::set< std::pair< unsigned, unsigned > > told;
      for ( const auto & depths : finding.stacksTooDeep ) {
         if ( told.insert( depths ).second ) {
            text += ( told.size() > 1 ? "; " : " " ) + stackText( depths );
         }
      }
      return text;
   }
   case LowerTunnelState::cycle:
      return "the cycle closes: " + upper.stringValue() + " over " + lower + ", which rests on " +
             upper.stringValue();
   case LowerTunnelState::notReady:
      return "lower tunnel " + lower + " is still to be computed";
   case LowerTunnelState::missing:
      return "lower tunnel " + lower + " has no table entry";
   case LowerTunnelState::notContributing:
      return "lower tunnel " + lower + " does not contribute to the FIB";
   case LowerTunnelState::unprogrammable:
      return "lower tunnel " + lower + " has no programmed via";
   }
   return "";
}

// Why the FIB could not program the tunnel, in a line.
std::string unprogrammableText( const TunnelFibExplanation & fib ) {
   switch ( fib.unprogrammableCause ) {
   case UnprogrammableCause::none:
      return "";
   case UnprogrammableCause::noTableVia:
      return "its table entry lists no via";
   case UnprogrammableCause::tooManyVias:
      return "it has more vias than the 600 a FIB entry holds";
   case UnprogrammableCause::lowerTunnels:
      break;
   }
   std::string text;
   for ( const LowerTunnelFinding & finding : fib.lowerTunnels ) {
      if ( finding.state != LowerTunnelState::resolved || !finding.stacksTooDeep.empty() ) {
         text += ( text.empty() ? "" : "; " ) + lowerTunnelText( fib.tunnelId, finding );
      }
   }
   return text.empty() ? "no via came through its lower tunnels" : text;
}

Json viaJson( const ExplainedVia & explained ) {
   const Tunnel::TunnelFib::TunnelVia & via = explained.via;
   Json json = Json::object();
   json[ "hop" ] = via.hop().stringValue();
   json[ "intf" ] = via.intfId().stringValue();
   json[ "encapId" ] = via.encapId().isNull() ? Json() : Json( via.encapId().stringValue() );
   if ( explained.labels ) {
      if ( explained.labels->action() != Korvo::MplsLabelAction::push ) {
         json[ "action" ] =
            explained.labels->action() == Korvo::MplsLabelAction::swap ? "swap" : "pop";
      }
      json[ "labels" ] = labelsJson( *explained.labels );
   }
   if ( !explained.chain.empty() ) {
      Json chain = Json::array();
      for ( const ViaChainLink & link : explained.chain ) {
         Json level = Json::object();
         level[ "tunnelId" ] = link.tunnelId.stringValue();
         level[ "labels" ] = labelsJson( link.labels );
         if ( link.over ) {
            Json over = Json::object();
            over[ "tunnelId" ] = link.overTunnel.stringValue();
            over[ "hop" ] = link.over->hop().stringValue();
            over[ "intf" ] = link.over->intfId().stringValue();
            over[ "encapId" ] = link.over->encapId().isNull()
                                   ? Json()
                                   : Json( link.over->encapId().stringValue() );
            over[ "labels" ] = labelsJson( link.overLabels );
            level[ "over" ] = std::move( over );
         }
         chain.push_back( std::move( level ) );
      }
      json[ "chain" ] = std::move( chain );
   }
   return json;
}

Json fibExplanationJson( const TunnelFibExplanation & fib ) {
   Json json = Json::object();
   json[ "state" ] = stateName( fib.state );
   json[ "pendingReview" ] = fib.pendingReview;
   json[ "markedUnprocessed" ] = fib.markedUnprocessed;
   for ( auto [ key, list ] : { std::pair( "vias", &fib.vias ),
                                std::pair( "backupVias", &fib.backupVias ) } ) {
      json[ key ] = Json::array();
      for ( const ExplainedVia & via : *list ) {
         json[ key ].push_back( viaJson( via ) );
      }
   }
   Json flags = Json::array();
   Json meanings = Json::array();
   for ( const auto & [ flag, meaning ] : flagMeanings ) {
      if ( fib.lastViaCalculation.flags.has( flag ) ) {
         flags.push_back( flagName( flag ) );
         meanings.push_back( meaning );
      }
   }
   json[ "viaCalculation" ] = Json{ { "flags", std::move( flags ) },
                                    { "meanings", std::move( meanings ) },
                                    { "deferred", fib.lastViaCalculation.deferred } };
   Json lowers = Json::array();
   for ( const LowerTunnelFinding & finding : fib.lowerTunnels ) {
      Json lower = Json::object();
      lower[ "tunnelId" ] = finding.tunnelId.stringValue();
      lower[ "state" ] = lowerStateName( finding.state );
      Json stacks = Json::array();
      for ( const auto & [ own, below ] : finding.stacksTooDeep ) {
         stacks.push_back( Json{ { "labels", own },
                                 { "lowerLabels", below },
                                 { "depth", own + below },
                                 { "bound", MplsLabelOperation::maxStackSize } } );
      }
      lower[ "stacksTooDeep" ] = std::move( stacks );
      lower[ "why" ] = lowerTunnelText( fib.tunnelId, finding );
      lowers.push_back( std::move( lower ) );
   }
   json[ "lowerTunnels" ] = std::move( lowers );
   const std::string because = unprogrammableText( fib );
   json[ "unprogrammableBecause" ] = because.empty() ? Json() : Json( because );
   json[ "restsOn" ] = idsJson( fib.restsOn );
   json[ "restsOnAll" ] = idsJson( fib.restsOnAll );
   json[ "restedOnBy" ] = idsJson( fib.restedOnBy );
   return json;
}

// --- The RIBs' side.

const char * fateName( CandidateFate fate ) {
   switch ( fate ) {
   case CandidateFate::winner:
      return "winner";
   case CandidateFate::ecmp:
      return "ecmp";
   case CandidateFate::lostOnPreference:
      return "lostOnPreference";
   case CandidateFate::lostOnDefaultPreference:
      return "lostOnDefaultPreference";
   case CandidateFate::cannotShareEcmp:
      return "cannotShareEcmp";
   case CandidateFate::notInRib:
      return "notInRib";
   }
   return "?";
}

const char * exclusionName( ExclusionReason reason ) {
   switch ( reason ) {
   case ExclusionReason::none:
      return "none";
   case ExclusionReason::tableNotConfigured:
      return "tableNotConfigured";
   case ExclusionReason::tableNotDescribed:
      return "tableNotDescribed";
   case ExclusionReason::noPreference:
      return "noPreference";
   case ExclusionReason::bgpLuNotContributing:
      return "bgpLuNotContributing";
   case ExclusionReason::unprogrammable:
      return "unprogrammable";
   case ExclusionReason::awaitingReview:
      return "awaitingReview";
   }
   return "?";
}

std::string prefText( TunnelEntryPref pref ) { return std::to_string( pref.value() ); }

// The candidate's fate with the rule that decided it, in a line.
std::string fateText( const Explanation & explanation, const EndpointExplanation & endpoint,
                      const CandidateExplanation & candidate ) {
   const CandidateExplanation * winner = endpoint.winner();
   const std::string against = winner ? " of " + winner->tunnelId.stringValue() : "";
   const std::string table = TableIdToNameMap.at( candidate.tunnelId.tableType() );
   const std::string preference = candidate.preference ? prefText( *candidate.preference ) : "";
   const std::string winnerPreference =
      winner && winner->preference ? prefText( *winner->preference ) : "";
   switch ( candidate.fate ) {
   case CandidateFate::winner:
      return "winner";
   case CandidateFate::ecmp:
      return "in the ECMP set";
   case CandidateFate::lostOnPreference:
      return "lost on preference: " + preference + " against " + winnerPreference + against;
   case CandidateFate::lostOnDefaultPreference:
      return "lost on default preference at equal preference " + preference + ": " +
             prefText( candidate.defaultPreference ) + " against " +
             ( winner ? prefText( winner->defaultPreference ) : "" ) + against;
   case CandidateFate::cannotShareEcmp:
      return "could not share the ECMP set" + against + ": " +
             stringValue( candidate.tunnelId.tunnelType() ) + " and " +
             ( winner ? stringValue( winner->tunnelId.tunnelType() ) : "" ) +
             " cannot form ECMP, at equal preference " + preference +
             " and equal default preference " + prefText( candidate.defaultPreference );
   case CandidateFate::notInRib:
      break;
   }
   switch ( candidate.exclusion ) {
   case ExclusionReason::tableNotConfigured:
      return "not in this RIB: table " + table + " is not configured for it";
   case ExclusionReason::tableNotDescribed:
      return "not in this RIB: table " + table + " is not described";
   case ExclusionReason::noPreference:
      return std::string( "not in this RIB: its filter holds no preference for the tunnel" ) +
             ( candidate.ineligibleForAppRib ? " (not eligible for this application RIB)" : "" );
   case ExclusionReason::bgpLuNotContributing:
      return "not in this RIB: its BGP-LU entry is not contributing";
   case ExclusionReason::unprogrammable: {
      auto fib = explanation.unprogrammable.find( candidate.tunnelId );
      return "not in this RIB: the FIB cannot program it" +
             ( fib != explanation.unprogrammable.end() ? ": " + unprogrammableText( fib->second )
                                                      : std::string( " (marked by hand)" ) );
   }
   case ExclusionReason::none:
   case ExclusionReason::awaitingReview:
      break;
   }
   return "not in this RIB yet: the builder has still to review it";
}

Json candidateJson( const Explanation & explanation, const EndpointExplanation & endpoint,
                    const CandidateExplanation & candidate ) {
   Json json = Json::object();
   json[ "tunnelId" ] = candidate.tunnelId.stringValue();
   json[ "type" ] = stringValue( candidate.tunnelId.tunnelType() );
   json[ "ownPreference" ] = candidate.ownPreference.value();
   json[ "preference" ] = candidate.preference ? Json( candidate.preference->value() ) : Json();
   json[ "preferenceSource" ] =
      !candidate.preference ? Json()
      : candidate.preferenceSource == PreferenceSource::configured ? Json( "configured" )
                                                                    : Json( "own" );
   json[ "defaultPreference" ] = candidate.defaultPreference.value();
   json[ "fate" ] = fateName( candidate.fate );
   const CandidateExplanation * winner = endpoint.winner();
   if ( winner && ( candidate.fate == CandidateFate::lostOnPreference ||
                    candidate.fate == CandidateFate::lostOnDefaultPreference ||
                    candidate.fate == CandidateFate::cannotShareEcmp ) ) {
      json[ "against" ] =
         Json{ { "tunnelId", winner->tunnelId.stringValue() },
               { "preference", winner->preference ? Json( winner->preference->value() ) : Json() },
               { "defaultPreference", winner->defaultPreference.value() } };
   }
   if ( candidate.fate == CandidateFate::notInRib ) {
      json[ "reason" ] = exclusionName( candidate.exclusion );
   }
   if ( candidate.exclusion == ExclusionReason::unprogrammable ) {
      auto fib = explanation.unprogrammable.find( candidate.tunnelId );
      json[ "fibReason" ] = fib != explanation.unprogrammable.end()
                               ? Json( unprogrammableText( fib->second ) )
                               : Json();
   }
   json[ "why" ] = fateText( explanation, endpoint, candidate );
   return json;
}

std::string questionText( const Question & question ) {
   switch ( question.kind ) {
   case Question::Kind::endpoint:
      return question.endpoint.stringValue();
   case Question::Kind::tunnel:
      return question.tunnel->stringValue();
   case Question::Kind::graph:
      break;
   }
   return question.tunnel ? "around " + question.tunnel->stringValue() : "";
}

void endpointJson( const Explanation & explanation, Json & json ) {
   Json ribs = Json::array();
   for ( const RibExplanation & rib : explanation.ribs ) {
      Json ribJson = Json::object();
      ribJson[ "rib" ] = rib.name;
      ribJson[ "ribId" ] = rib.id.value();
      endpointJson( rib.endpoint.tep, ribJson );
      ribJson[ "entry" ] =
         rib.endpoint.ribEntry.empty() ? Json() : ribEntryJson( rib.endpoint.ribEntry );
      Json candidates = Json::array();
      for ( const CandidateExplanation & candidate : rib.endpoint.candidates ) {
         candidates.push_back( candidateJson( explanation, rib.endpoint, candidate ) );
      }
      ribJson[ "candidates" ] = std::move( candidates );
      ribs.push_back( std::move( ribJson ) );
   }
   json[ "ribs" ] = std::move( ribs );
}

void tunnelJson( const Explanation & explanation, Json & json ) {
   const TunnelId id = *explanation.question.tunnel;
   json[ "type" ] = stringValue( id.tunnelType() );
   if ( const auto & fib = explanation.tunnelFibExplanation ) {
      json[ "tableEntry" ] =
         Json{ { "present", fib->tableEntryPresent }, { "contributing", fib->contributing } };
      json[ "fib" ] = fibExplanationJson( *fib );
   } else {
      json[ "tableEntry" ] = Json();
      json[ "fib" ] = Json();
   }
   Json wins = Json::array();
   for ( const TunnelWin & win : explanation.wins ) {
      Json winJson = Json::object();
      winJson[ "rib" ] = win.name;
      winJson[ "ribId" ] = win.id.value();
      endpointJson( win.endpoint, winJson );
      winJson[ "fate" ] = win.winner ? "winner" : "ecmp";
      wins.push_back( std::move( winJson ) );
   }
   json[ "wins" ] = std::move( wins );
}

// --- Text.

void endpointText( const Explanation & explanation, std::string & out ) {
   if ( explanation.ribs.empty() ) {
      out += "no RIB knows the endpoint\n";
   }
   for ( const RibExplanation & rib : explanation.ribs ) {
      const TunnelRibEntry & entry = rib.endpoint.ribEntry;
      std::string ids;
      for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
         ids += ( i ? ", " : "" ) + entry.tunnelId( i ).stringValue();
      }
      out += "RIB " + rib.name + " (id " + rib.id.stringValue() + "), endpoint " +
             rib.endpoint.tep.stringValue() + ": " +
             ( entry.empty() ? std::string( "no entry" )
                             : ids + " at preference " + prefText( entry.pref() ) ) +
             "\n";
      std::vector< Row > rows = {
         { "tunnel", "type", "own pref", "competes with", "default pref", "fate" } };
      for ( const CandidateExplanation & candidate : rib.endpoint.candidates ) {
         rows.push_back( { candidate.tunnelId.stringValue(),
                           stringValue( candidate.tunnelId.tunnelType() ),
                           prefText( candidate.ownPreference ),
                           candidate.preference
                              ? prefText( *candidate.preference ) +
                                   ( candidate.preferenceSource == PreferenceSource::configured
                                        ? " (configured)"
                                        : " (own)" )
                              : "-",
                           prefText( candidate.defaultPreference ),
                           fateText( explanation, rib.endpoint, candidate ) } );
      }
      out += alignedRows( rows, "  " );
   }
}

void viaText( const char * kind, const ExplainedVia & explained, std::string & out ) {
   const auto & via = explained.via;
   out += std::string( "  " ) + kind + "  " + via.hop().stringValue() + "  " +
          via.intfId().stringValue() + "  " +
          ( via.encapId().isNull() ? std::string( "-" ) : via.encapId().stringValue() ) +
          ( explained.labels ? "  " + labelsText( *explained.labels ) : "" ) + "\n";
   for ( const ViaChainLink & link : explained.chain ) {
      out += "    " + link.tunnelId.stringValue() + " " + labelsText( link.labels );
      if ( link.over ) {
         out += " over " + link.overTunnel.stringValue() + "'s via " +
                link.over->hop().stringValue() + " " + link.over->intfId().stringValue() + " " +
                link.over->encapId().stringValue() + " " + labelsText( link.overLabels ) + "\n";
      } else {
         out += " out of " + via.intfId().stringValue() + " to " + via.hop().stringValue() + "\n";
      }
   }
}

void tunnelText( const Explanation & explanation, std::string & out ) {
   const TunnelId id = *explanation.question.tunnel;
   const auto & fib = explanation.tunnelFibExplanation;
   out += "tunnel " + id.stringValue() + " (" + stringValue( id.tunnelType() ) + ")";
   if ( !fib ) {
      out += "\nFIB: off\n";
   } else {
      out += std::string( ": table entry " ) +
             ( !fib->tableEntryPresent ? "absent"
               : fib->contributing     ? "present, contributing"
                                       : "present, not contributing" ) +
             "\n";
      out += std::string( "FIB: " ) + stateName( fib->state ) +
             ( fib->pendingReview ? ", waiting for review" : "" ) +
             ( fib->markedUnprocessed ? ", kept from before the restart" : "" ) + "\n";
      for ( const ExplainedVia & via : fib->vias ) {
         viaText( "primary", via, out );
      }
      for ( const ExplainedVia & via : fib->backupVias ) {
         viaText( "backup", via, out );
      }
      const std::string because = unprogrammableText( *fib );
      if ( !because.empty() ) {
         out += "unprogrammable because " + because + "\n";
      }
      std::string flags;
      for ( const auto & [ flag, meaning ] : flagMeanings ) {
         if ( fib->lastViaCalculation.flags.has( flag ) ) {
            flags += std::string( "\n  " ) + flagName( flag ) + ": " + meaning;
         }
      }
      out += "last via calculation:" + ( flags.empty() ? std::string( " no flags" ) : flags ) +
             ( fib->lastViaCalculation.deferred ? "\n  the update was deferred" : "" ) + "\n";
      if ( !fib->lowerTunnels.empty() ) {
         out += "lower tunnels:\n";
      }
      for ( const LowerTunnelFinding & finding : fib->lowerTunnels ) {
         out += "  " + lowerTunnelText( id, finding ) + "\n";
      }
      out += "rests on: " + idsText( fib->restsOn ) + "; everything beneath: " +
             idsText( fib->restsOnAll ) + "\n";
      out += "rested on by: " + idsText( fib->restedOnBy ) + "\n";
   }
   std::string wins;
   for ( const TunnelWin & win : explanation.wins ) {
      wins += "\n  " + win.name + " (id " + win.id.stringValue() + ") " +
              win.endpoint.stringValue() + ( win.winner ? " (winner)" : " (in the ECMP set)" );
   }
   out += "wins:" + ( wins.empty() ? std::string( " nowhere" ) : wins ) + "\n";
}

} // namespace

Json explanationJson( const Explanation & explanation ) {
   Json json = Json::object();
   json[ "step" ] = explanation.step.empty() ? Json() : Json( explanation.step );
   json[ "time" ] = roundedTime( explanation.time );
   const Question & question = explanation.question;
   if ( question.kind == Question::Kind::graph ) {
      json[ "graph" ] = "dot";
      json[ "tunnel" ] = question.tunnel ? Json( question.tunnel->stringValue() ) : Json();
   } else {
      json[ "explain" ] = question.kind == Question::Kind::endpoint
                             ? question.endpoint.tep().stringValue()
                             : question.tunnel->stringValue();
      if ( question.kind == Question::Kind::endpoint ) {
         json[ "color" ] =
            question.endpoint.colored() ? Json( question.endpoint.color() ) : Json();
      }
   }
   json[ "running" ] = explanation.running;
   if ( !explanation.running ) {
      return json;
   }
   switch ( question.kind ) {
   case Question::Kind::endpoint:
      endpointJson( explanation, json );
      break;
   case Question::Kind::tunnel:
      tunnelJson( explanation, json );
      break;
   case Question::Kind::graph:
      json[ "dot" ] = explanation.tunnelFib ? Json( graphDot( explanation.graph ) ) : Json();
      break;
   }
   return json;
}

std::string explanationText( const Explanation & explanation ) {
   const Question & question = explanation.question;
   const std::string what = question.kind == Question::Kind::graph ? "graph" : "explain";
   const std::string asked = questionText( question );
   std::string out = "== " + what + ( asked.empty() ? "" : " " + asked ) + " (" +
                     ( explanation.step.empty() ? "end of script" : explanation.step ) +
                     ", time " + timeText( explanation.time ) + " s) ==\n";
   if ( !explanation.running ) {
      return out + "(the agent's machines are stopped)\n";
   }
   switch ( question.kind ) {
   case Question::Kind::endpoint:
      endpointText( explanation, out );
      break;
   case Question::Kind::tunnel:
      tunnelText( explanation, out );
      break;
   case Question::Kind::graph:
      out += explanation.tunnelFib ? graphDot( explanation.graph ) : "FIB: off\n";
      break;
   }
   return out;
}

} // namespace TunnelSim
