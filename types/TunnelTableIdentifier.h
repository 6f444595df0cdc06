#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "platform/vel/Name.h"

namespace Tunnel::TunnelTable {

// One value per protocol tunnel table. Identifiers 12-14 are the static
// interface tables (mounted by name, never chosen by a RIB's filter); 15, 18
// and 20 are the tables of the vxlan, srv6 and OSPF flex-algo tunnel types,
// which this agent does not consume.
enum class TunnelTableIdentifier : std::uint32_t {
   invalidTable = 0,
   bgpLuTable = 1,
   bgpLuPushTable = 2,
   ldpTable = 3,
   rsvpFrrTable = 4,
   rsvpLerSubTable = 5,
   rsvpLerTable = 6,
   srTable = 7,
   ospfSrTable = 8,
   staticTable = 9,
   nexthopGroupTable = 10,
   srTeSegmentListTable = 11,
   greTunnelInterfaceTable = 12,
   ipsecVtiTunnelInterfaceTable = 13,
   ipsecGreTunnelInterfaceTable = 14,
   vxlanTable = 15,
   tiLfaTable = 16,
   srTePolicyTable = 17,
   srv6Table = 18,
   isisFlexAlgoTable = 19,
   ospfFlexAlgoTable = 20,
};

// The identifier as its number; traces and dumps print tables this way.
std::ostream & operator<<( std::ostream & os, TunnelTableIdentifier id );

using TableIdToNameMapType = std::map< TunnelTableIdentifier, Vel::String >;

// The table name of each identifier that a RIB's table filter can name. Read
// with operator[]: an identifier without a row yields the empty name (and
// adds that row), which is what RIB configuration handling relies on.
inline TableIdToNameMapType TableIdToNameMap = {
   { TunnelTableIdentifier::bgpLuTable, "bgpLu" },
   { TunnelTableIdentifier::bgpLuPushTable, "bgpLuPush" },
   { TunnelTableIdentifier::ldpTable, "ldp" },
   { TunnelTableIdentifier::rsvpFrrTable, "rsvpFrr" },
   { TunnelTableIdentifier::rsvpLerSubTable, "rsvpLerSub" },
   { TunnelTableIdentifier::rsvpLerTable, "rsvpLer" },
   { TunnelTableIdentifier::srTable, "sr" },
   { TunnelTableIdentifier::ospfSrTable, "ospfSr" },
   { TunnelTableIdentifier::staticTable, "static" },
   { TunnelTableIdentifier::nexthopGroupTable, "nexthopGroup" },
   { TunnelTableIdentifier::srTeSegmentListTable, "srTeSegmentList" },
   { TunnelTableIdentifier::tiLfaTable, "tiLfa" },
   { TunnelTableIdentifier::srTePolicyTable, "srTePolicy" },
   { TunnelTableIdentifier::isisFlexAlgoTable, "isisFlexAlgoTunnel" },
};

} // namespace Tunnel::TunnelTable

template<>
struct std::hash< Tunnel::TunnelTable::TunnelTableIdentifier > {
   // The framework's identity hash.
   std::size_t operator()( Tunnel::TunnelTable::TunnelTableIdentifier id ) const noexcept {
      return static_cast< std::size_t >( id );
   }
};
