#include "fib/TunnelFibCalcResult.h"

namespace Tunnel::TunnelTable {

namespace {

const char * boolText( bool value ) { return value ? "True" : "False"; }

} // namespace

std::string TunnelFibViaCalcResult::stringValue() const {
   return std::string( "Value('Tunnel::TunnelTable::TunnelFibViaCalcResult', ** {" ) +
          "'recTunNotReady': " + boolText( has( recTunNotReady ) ) +
          ", 'recTunUnprogrammable': " + boolText( has( recTunUnprogrammable ) ) +
          ", 'recTunMissing': " + boolText( has( recTunMissing ) ) +
          ", 'recTunNonContrib': " + boolText( has( recTunNonContrib ) ) +
          ", 'recTunFlattenError': " + boolText( has( recTunFlattenError ) ) +
          ", 'recTunCycle': " + boolText( has( recTunCycle ) ) + "})";
}

std::optional< TunnelFibViaCalcResult > TunnelFibViaCalcResult::parse( std::string_view ) {
   return std::nullopt; // TODO(records): parse the string form back
}

std::string TunnelFibCalcResult::stringValue() const {
   return "Value('Tunnel::TunnelTable::TunnelFibCalcResult', ** {'viaResult': " +
          viaResult.stringValue() +
          ", 'tunnelTableEntryDeleted': " + boolText( tunnelTableEntryDeleted ) +
          ", 'tunnelContributing': " + boolText( tunnelContributing ) + "})";
}

std::optional< TunnelFibCalcResult > TunnelFibCalcResult::parse( std::string_view ) {
   return std::nullopt; // TODO(records): parse the string form back
}

} // namespace Tunnel::TunnelTable
