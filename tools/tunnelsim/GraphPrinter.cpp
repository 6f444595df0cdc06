#include "tools/tunnelsim/GraphPrinter.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

const char * stateName( TunnelFibState state ) {
   switch ( state ) {
   case TunnelFibState::programmed:
      return "programmed";
   case TunnelFibState::deferred:
      return "deferred";
   case TunnelFibState::unprogrammable:
      return "unprogrammable";
   case TunnelFibState::missing:
      return "missing";
   case TunnelFibState::notContributing:
      return "notContributing";
   case TunnelFibState::notReady:
      return "notReady";
   }
   return "?";
}

namespace {

std::string quoted( TunnelId id ) { return "\"" + id.stringValue() + "\""; }

} // namespace

std::string graphDot( const TunnelGraph & graph ) {
   std::string out = "digraph tunnels {\n"
                     "  node [shape=box, fontname=\"Helvetica\", fontsize=10];\n"
                     "  edge [fontname=\"Helvetica\", fontsize=9];\n";
   for ( const TunnelGraph::Node & node : graph.nodes ) {
      out += "  " + quoted( node.tunnelId ) + " [label=\"" + node.tunnelId.stringValue() +
             "\\n" + stringValue( node.tunnelId.tunnelType() ) + "\\n" +
             stateName( node.state ) + "\"";
      const bool dashed = node.state != TunnelFibState::programmed;
      if ( dashed ) {
         out += ", style=dashed";
      }
      if ( node.inCycle || node.state == TunnelFibState::unprogrammable ) {
         out += ", color=red, fontcolor=red";
      } else if ( dashed ) {
         out += ", color=orange";
      }
      if ( node.inCycle ) {
         out += ", penwidth=2";
      }
      out += "];\n";
   }
   for ( const TunnelGraph::Edge & edge : graph.edges ) {
      out += "  " + quoted( edge.upper ) + " -> " + quoted( edge.lower );
      if ( edge.inCycle ) {
         out += std::string( " [color=red, penwidth=2" ) +
                ( edge.closesCycle ? ", label=\"cycle closes\", fontcolor=red" : "" ) + "]";
      }
      out += ";\n";
   }
   return out + "}\n";
}

} // namespace TunnelSim
