#include "fib/TunnelFibCalcResult.h"

#include <array>
#include <utility>

#include "platform/vel/ValueText.h"

namespace Tunnel::TunnelTable {

namespace {

using Vel::boolText;

// The flags in the order of the string form.
constexpr std::array< std::pair< const char *, std::uint8_t >, 6 > flagFields = { {
   { "recTunNotReady", TunnelFibViaCalcResult::recTunNotReady },
   { "recTunUnprogrammable", TunnelFibViaCalcResult::recTunUnprogrammable },
   { "recTunMissing", TunnelFibViaCalcResult::recTunMissing },
   { "recTunNonContrib", TunnelFibViaCalcResult::recTunNonContrib },
   { "recTunFlattenError", TunnelFibViaCalcResult::recTunFlattenError },
   { "recTunCycle", TunnelFibViaCalcResult::recTunCycle },
} };

} // namespace

std::string TunnelFibViaCalcResult::stringValue() const {
   std::string text = "Value('Tunnel::TunnelTable::TunnelFibViaCalcResult', ** {";
   const char * separator = "'";
   for ( const auto & [ name, flag ] : flagFields ) {
      text = text + separator + name + "': " + boolText( has( flag ) );
      separator = ", '";
   }
   return text + "})";
}

std::optional< TunnelFibViaCalcResult > TunnelFibViaCalcResult::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::TunnelTable::TunnelFibViaCalcResult" );
   std::uint8_t flags = 0;
   for ( const auto & [ name, flag ] : flagFields ) {
      if ( reader.field( name, Vel::parseBool ).value_or( false ) ) {
         flags |= flag;
      }
   }
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return TunnelFibViaCalcResult( flags );
}

std::string TunnelFibCalcResult::stringValue() const {
   return "Value('Tunnel::TunnelTable::TunnelFibCalcResult', ** {'viaResult': " +
          viaResult.stringValue() +
          ", 'tunnelTableEntryDeleted': " + boolText( tunnelTableEntryDeleted ) +
          ", 'tunnelContributing': " + boolText( tunnelContributing ) + "})";
}

std::optional< TunnelFibCalcResult > TunnelFibCalcResult::parse( std::string_view text ) {
   Vel::ValueTextReader reader( text, "Tunnel::TunnelTable::TunnelFibCalcResult" );
   auto viaResult = reader.field( "viaResult", TunnelFibViaCalcResult::parse );
   auto deleted = reader.field( "tunnelTableEntryDeleted", Vel::parseBool );
   auto contributing = reader.field( "tunnelContributing", Vel::parseBool );
   if ( !reader.done() ) {
      return std::nullopt;
   }
   return TunnelFibCalcResult{ *viaResult, *deleted, *contributing };
}

} // namespace Tunnel::TunnelTable
