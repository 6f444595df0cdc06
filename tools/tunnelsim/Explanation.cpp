#include "tools/tunnelsim/Explanation.h"

#include "agent/TunnelAgent.h"
#include "fib/TunnelFibSm.h"
#include "platform/mox/TaskScheduler.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "rib/TunnelRibSm.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

void explainEndpoint( const Tunnel::TunnelAgent & agent, Explanation & result ) {
   const auto everyTable = everyProtocolTable( *agent.entityManager );
   for ( const auto & [ id, ribSm ] : agent.ribConfigDirSm()->tunnelRibSm() ) {
      EndpointExplanation endpoint =
         Tunnel::TunnelTable::explainEndpoint( *ribSm, result.question.endpoint, everyTable );
      if ( !endpoint.known ) {
         continue;
      }
      for ( const CandidateExplanation & candidate : endpoint.candidates ) {
         const auto & fibSm = agent.tunnelFibSm();
         if ( fibSm && candidate.exclusion == ExclusionReason::unprogrammable ) {
            result.unprogrammable.try_emplace( candidate.tunnelId,
                                               explainTunnel( *fibSm, candidate.tunnelId ) );
         }
      }
      result.ribs.push_back(
         { id, ribSm->tunnelRibConfig()->name().text(), std::move( endpoint ) } );
   }
}

void explainTunnel( const Tunnel::TunnelAgent & agent, Explanation & result ) {
   const TunnelId tunnelId = *result.question.tunnel;
   if ( const auto & fibSm = agent.tunnelFibSm() ) {
      result.tunnelFibExplanation = Tunnel::TunnelTable::explainTunnel( *fibSm, tunnelId );
   }
   for ( const auto & [ id, ribSm ] : agent.ribConfigDirSm()->tunnelRibSm() ) {
      const auto & builder = *ribSm->tunnelRibBuilderSm();
      const auto teps = builder.tunnelIdToTepSet( tunnelId );
      if ( !teps || !teps->tepSet() ) {
         continue;
      }
      for ( const auto & [ tep, present ] : teps->tepSet()->coloredTep() ) {
         const TunnelRibEntry entry = builder.tunnelRib()->tunnelRibEntry( tep );
         if ( !entry.hasTunnelId( tunnelId ) ) {
            continue;
         }
         // The winner is the first of the entry's tunnels in selection order.
         bool winner = false;
         if ( const auto ordered = builder.internalTunnelRib()->entry( tep ) ) {
            for ( const auto & [ candidate, held ] : *ordered ) {
               if ( entry.hasTunnelId( candidate.tunnelId() ) ) {
                  winner = candidate.tunnelId() == tunnelId;
                  break;
               }
            }
         }
         result.wins.push_back( { id, ribSm->tunnelRibConfig()->name().text(), tep, winner } );
      }
   }
}

} // namespace

Explanation explain( const Tunnel::TunnelAgent & agent, const Question & question ) {
   Explanation result;
   result.question = question;
   result.time = agent.scheduler->now();
   result.running = agent.running();
   result.tunnelFib = agent.tunnelFibEnabled();
   if ( !result.running ) {
      return result;
   }
   switch ( question.kind ) {
   case Question::Kind::endpoint:
      explainEndpoint( agent, result );
      break;
   case Question::Kind::tunnel:
      explainTunnel( agent, result );
      break;
   case Question::Kind::graph:
      if ( const auto & fibSm = agent.tunnelFibSm() ) {
         result.graph = tunnelGraph( *fibSm, question.tunnel );
      }
      break;
   }
   return result;
}

} // namespace TunnelSim
