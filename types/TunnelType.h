#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

namespace Tunnel::TunnelTable {

// The kind of a tunnel; the top five bits of its TunnelId. The numbers are
// shared with every producer and must not change. Kinds the tunnel agent
// does not program still have a name so that an id of theirs reads well:
//   0 invalid (no tunnel), 4 rsvp (a plain RSVP LSP, published through the
//   RSVP LER and FRR tables), 6 vxlan, 15 ipInIp, 18 srv6, 19 dynamicGre,
//   22 ospfFlexAlgoTunnel, 31 reserved.
// Type 9 is the static interface tunnel: the GRE, IPsec-GRE and IPsec-VTI
// interface tables all publish it. Type 10 is the RSVP FRR backup tunnel that
// lives in the "rsvpFrr" table.
enum class TunnelType : std::uint32_t {
   invalidTunnel = 0,
   bgpLuPushTunnel = 1,
   bgpLuTunnel = 2,
   ldpTunnel = 3,
   rsvpTunnel = 4,
   staticTunnel = 5,
   vxlanTunnel = 6,
   srTunnel = 7,
   srTeSegmentListTunnel = 8,
   staticInterfaceTunnel = 9,
   rsvpFrrBackupTunnel = 10,
   nexthopGroupTunnel = 11,
   tiLfaTunnel = 12,
   ospfSrTunnel = 13,
   srTePolicyTunnel = 14,
   ipInIpTunnel = 15,
   rsvpLerTunnel = 16,
   rsvpFrrTunnel = 17,
   srv6Tunnel = 18,
   dynamicGreTunnel = 19,
   rsvpLerSubTunnel = 20,
   isisFlexAlgoTunnel = 21,
   ospfFlexAlgoTunnel = 22,
   reservedTunnel = 31,
};

constexpr std::uint32_t maxTunnelTypeValue = 31;

// Valid tunnel types are 0-22 and 31; 23-30 are not tunnel types.
constexpr bool isTunnelType( std::uint32_t value ) noexcept {
   return value <= 22 || value == 31;
}

// The type's name, as it keys tables and appears in ids' text ("ldp",
// "sr", "bgpLu", ...); "type<N>" for a number that is not a tunnel type.
std::string stringValue( TunnelType type );
// The type of a name that stringValue gives; nothing for any other text.
std::optional< TunnelType > tunnelTypeFromString( std::string_view name );
std::ostream & operator<<( std::ostream & os, TunnelType type );

// Whether tunnels of the type may enter a tunnel RIB: exactly the types whose
// tables a RIB can take preferences from (bgpLu, ldp, static, sr,
// nexthopGroup, ospfSr, srTePolicy, rsvpLer, isisFlexAlgoTunnel).
bool contributeToTunnelRib( TunnelType type );

// Whether two types may share one ECMP set: equal types, or IS-IS SR with
// IS-IS flex-algo.
bool tunnelTypesCanFormEcmp( TunnelType a, TunnelType b );

} // namespace Tunnel::TunnelTable
