#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>

#include "tools/tunnelsim/JsonValue.h"
#include "types/EncapRecord.h"
#include "types/TunnelFibEntry.h"
#include "types/TunnelRibEntry.h"
#include "types/TunnelRibId.h"
#include "types/TunnelType.h"

namespace TunnelD {

// How each output record is named and written as a key, and read back when
// tunneld starts over what it published before.

using EncapValue =
   std::variant< Tunnel::TunnelFib::LabelStackEncap, Tunnel::TunnelFib::GreEncap,
                 Tunnel::TunnelFib::IpsecVtiEncap, Tunnel::TunnelFib::IpsecGreEncap >;

// The part of a key after "<prefix>:out:".
std::string ribEntryKey( Tunnel::TunnelTable::TunnelRibId id,
                         const Tunnel::TunnelTable::ColoredTunnelEndpoint & endpoint );
std::string ribKey( Tunnel::TunnelTable::TunnelRibId id );
std::string protocolRibEntryKey( Tunnel::TunnelTable::TunnelType type,
                                 const Korvo::IpGenPrefix & endpoint );
std::string fibEntryKey( Tunnel::TunnelTable::TunnelId id );
std::string encapKey( Tunnel::TunnelFib::EncapId id );
std::string unprogrammableKey( Tunnel::TunnelTable::TunnelId id );
std::string convergenceKey( Tunnel::TunnelTable::TunnelRibId id );
constexpr const char * grStatusKey = "gracefulRestart";

// { "name", "colored" }
std::string ribJson( const std::string & name, bool colored );
// { "endpoint", "color", "preference", "tunnelIds", "m", "metricType", "m2",
//   "igpCostPref", "p2" }, as tunnelsim prints a RIB entry.
std::string ribEntryJson( const Tunnel::TunnelTable::TunnelRibEntry & entry );
// { "tunnelId", "usable", "seqNo", "vias", "backupVias" }, a via being
// { "hop", "intf", "encapId" }.
std::string fibEntryJson( const Tunnel::TunnelFib::TunnelFibEntry & entry );
// { "encapId", "type", "holds" }, "holds" in the record's text form.
template< class Record >
std::string encapJson( const Record & record );

// The readers refuse, with TunnelSim::ScenarioError, what they cannot take.
struct RibRecord {
   std::string name;
   bool colored = false;
};
RibRecord readRib( const TunnelSim::JsonValue & value );
Tunnel::TunnelTable::TunnelRibEntry readRibEntry( const TunnelSim::JsonValue & value );
Tunnel::TunnelFib::TunnelFibEntry readFibEntry( const TunnelSim::JsonValue & value );
EncapValue readEncap( const TunnelSim::JsonValue & value );

} // namespace TunnelD
