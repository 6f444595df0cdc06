#include "tools/tunnelsim/Question.h"

#include <limits>

#include "platform/vel/RangeException.h"
#include "tools/tunnelsim/TableKind.h"
#include "tools/tunnelsim/ValueReaders.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

std::optional< Question > readQuestion( const JsonValue & step ) {
   if ( !step.isObject() ) {
      return std::nullopt;
   }
   const bool explain = step.json().contains( "explain" );
   if ( !explain && !step.json().contains( "graph" ) ) {
      return std::nullopt;
   }
   Question question;
   if ( explain ) {
      JsonObject object = step.object( "an explain step: an object with \"explain\" and, for a "
                                       "colored endpoint, \"color\"",
                                       { "explain", "color", "comment" } );
      const JsonValue target = object.required( "explain" );
      const std::string text =
         target.string( "an endpoint prefix such as \"10.0.0.2/32\" or a tunnel id such as "
                        "\"ldp:1\"" );
      const auto prefix = Korvo::IpGenPrefix::parse( text );
      if ( prefix && !text.empty() ) {
         question.kind = Question::Kind::endpoint;
         question.endpoint = ColoredTunnelEndpoint( *prefix );
         if ( auto color = object.get( "color" ) ) {
            constexpr auto maxColor = std::numeric_limits< TunnelColor >::max();
            question.endpoint =
               ColoredTunnelEndpoint( *prefix, TunnelColor( color->unsignedNumber( maxColor ) ) );
         }
         return question;
      }
      if ( auto color = object.get( "color" ) ) {
         color->fail( "no color for a tunnel: a color qualifies an endpoint prefix" );
      }
      std::optional< TunnelId > id;
      try {
         id = TunnelId::parse( text );
      } catch ( const Vel::RangeException & ) {
      }
      if ( !id ) {
         target.fail( "an endpoint prefix such as \"10.0.0.2/32\" or a tunnel id such as "
                      "\"ldp:1\"" );
      }
      question.kind = Question::Kind::tunnel;
      question.tunnel = readTableTunnelId( target );
      return question;
   }
   JsonObject object =
      step.object( "a graph step: an object with \"graph\" and optionally \"tunnel\"",
                   { "graph", "tunnel", "comment" } );
   const JsonValue format = object.required( "graph" );
   if ( format.string( "\"dot\"" ) != "dot" ) {
      format.fail( "\"dot\": the graph is written in Graphviz DOT" );
   }
   question.kind = Question::Kind::graph;
   if ( auto tunnel = object.get( "tunnel" ) ) {
      question.tunnel = readTableTunnelId( *tunnel );
   }
   return question;
}

} // namespace TunnelSim
