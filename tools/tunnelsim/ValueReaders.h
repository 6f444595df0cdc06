#pragma once

#include "platform/korvo/IpGenAddr.h"
#include "platform/korvo/IpGenPrefix.h"
#include "platform/korvo/MplsLabelOperation.h"
#include "tools/tunnelsim/JsonValue.h"
#include "types/MplsVia.h"
#include "types/TunnelId.h"
#include "types/Via.h"

namespace TunnelSim {

// Readers of the network values a scenario writes as text or small objects.
// Each refuses, with the value's path, anything it cannot take whole.

// "ldp:12", or a raw value in decimal or 0x-hex.
Tunnel::TunnelTable::TunnelId readTunnelId( const JsonValue & value );
// "10.0.0.1/32", "2001:db8::/64", or a bare address for a host prefix.
Korvo::IpGenPrefix readPrefix( const JsonValue & value );
Korvo::IpGenAddr readAddress( const JsonValue & value );
// The "action" ("push", "swap" or "pop"; push when absent) and "labels"
// (outermost first) fields of an object.
Korvo::MplsLabelOperation readLabelOperation( const JsonObject & object );
// { "hop": address, "intf": interface } or { "hop", "tunnel": tunnel id }.
Tunnel::TunnelTable::Via readVia( const JsonValue & value );
// A via with its label operation: the fields of a via, "action" and "labels".
Tunnel::TunnelTable::MplsVia readMplsVia( const JsonValue & value );

} // namespace TunnelSim
