#include "types/TunnelType.h"

#include <array>

#include "platform/vel/Assert.h"
#include "types/TunnelEntryPref.h"

namespace Tunnel::TunnelTable {

namespace {

struct TypeRow {
   const char * name;
   std::uint8_t defaultPref;
   bool contributesToRib;
};

// One row per type value 0-22; 31 is handled apart.
constexpr std::array< TypeRow, 23 > typeRows = { {
   { "invalid", 255, false },
   { "bgpLuPush", 255, false },
   { "bgpLu", 85, true },
   { "ldp", 55, true },
   { "rsvp", 255, false },
   { "static", 15, true },
   { "vxlan", 255, false },
   { "sr", 65, true },
   { "srTeSegmentList", 255, false },
   { "staticInterface", 255, false },
   { "rsvpFrrBackup", 255, false },
   { "nexthopGroup", 25, true },
   { "tiLfa", 255, false },
   { "ospfSr", 60, true },
   { "srTePolicy", 255, true },
   { "ipInIp", 255, false },
   { "rsvpLer", 255, true },
   { "rsvpFrr", 255, false },
   { "srv6", 255, false },
   { "dynamicGre", 255, false },
   { "rsvpLerSub", 255, false },
   { "isisFlexAlgoTunnel", 65, true },
   { "ospfFlexAlgoTunnel", 255, false },
} };

constexpr TypeRow reservedRow = { "reserved", 255, false };

const TypeRow * rowOf( TunnelType type ) {
   auto value = static_cast< std::uint32_t >( type );
   if ( value < typeRows.size() ) {
      return &typeRows[ value ];
   }
   return value == maxTunnelTypeValue ? &reservedRow : nullptr;
}

} // namespace

std::string stringValue( TunnelType type ) {
   const TypeRow * row = rowOf( type );
   return row ? row->name : "type" + std::to_string( static_cast< std::uint32_t >( type ) );
}

std::optional< TunnelType > tunnelTypeFromString( std::string_view name ) {
   for ( std::uint32_t value = 0; value < typeRows.size(); ++value ) {
      if ( name == typeRows[ value ].name ) {
         return static_cast< TunnelType >( value );
      }
   }
   if ( name == reservedRow.name ) {
      return TunnelType::reservedTunnel;
   }
   return std::nullopt;
}

std::ostream & operator<<( std::ostream & os, TunnelType type ) {
   return os << stringValue( type );
}

bool contributeToTunnelRib( TunnelType type ) {
   const TypeRow * row = rowOf( type );
   return row && row->contributesToRib;
}

bool tunnelTypesCanFormEcmp( TunnelType a, TunnelType b ) {
   if ( a == b ) {
      return true;
   }
   auto srWithFlexAlgo = []( TunnelType x, TunnelType y ) {
      return x == TunnelType::srTunnel && y == TunnelType::isisFlexAlgoTunnel;
   };
   return srWithFlexAlgo( a, b ) || srWithFlexAlgo( b, a );
}

TunnelEntryPref getDefaultPrefForType( TunnelType type ) {
   const TypeRow * row = rowOf( type );
   VEL_ASSERT( row, "false && \"Unknown tunnel type\"" );
   return row->defaultPref;
}

} // namespace Tunnel::TunnelTable
