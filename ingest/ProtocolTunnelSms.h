#pragma once

#include "ingest/ProtocolTunnelSmTemplate.h"
#include "types/ProtocolTunnelTable.h"

namespace Tunnel::TunnelTable {

// The protocol reactors other than LDP's (which also takes part in graceful
// restart), one row each: class and handler names for traces, the per-entry
// and full-pass trace fragments (no full-pass trace for flex-algo), the
// identifier reported (invalidTable: the watched table's own) and whether
// seen ids are kept. The TI-LFA and flex-algo reactors keep none, so the
// removal of their table reports nothing.

inline constexpr ProtocolTunnelRow srTunnelSmRow{
   "SrTunnelSm", "handleSrTunnelEntry",
   " sr tunnel ID ", " sr",
   TunnelTableIdentifier::invalidTable, true };
class SrTunnelSm final : public ProtocolTunnelSmTemplate< SrTunnelTableBase, srTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< SrTunnelTableBase > & srTable() const noexcept { return table(); }
   void handleSrTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * srTunnelSmFactory = &protocolTunnelSmFactory< SrTunnelSm >;

inline constexpr ProtocolTunnelRow bgpLuTunnelSmRow{
   "BgpLuTunnelSm", "handleBgpLuTunnelEntry",
   " bgpLu tunnel ID ", " bgpLu",
   TunnelTableIdentifier::bgpLuTable, true };
class BgpLuTunnelSm final : public ProtocolTunnelSmTemplate< BgpLuTunnelTable, bgpLuTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< BgpLuTunnelTable > & bgpLuTable() const noexcept { return table(); }
   void handleBgpLuTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * bgpLuTunnelSmFactory = &protocolTunnelSmFactory< BgpLuTunnelSm >;

inline constexpr ProtocolTunnelRow bgpLuPushTunnelSmRow{
   "BgpLuPushTunnelSm", "handleBgpLuPushTunnelEntry",
   " bgpLuPush tunnel ID ", " bgpLuPush",
   TunnelTableIdentifier::bgpLuPushTable, true };
class BgpLuPushTunnelSm final
      : public ProtocolTunnelSmTemplate< BgpLuPushTunnelTable, bgpLuPushTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< BgpLuPushTunnelTable > & bgpLuPushTable() const noexcept { return table(); }
   void handleBgpLuPushTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * bgpLuPushTunnelSmFactory = &protocolTunnelSmFactory< BgpLuPushTunnelSm >;

inline constexpr ProtocolTunnelRow staticTunnelSmRow{
   "StaticTunnelSm", "handleStaticTunnelEntry",
   " static tunnel ID ", " static",
   TunnelTableIdentifier::staticTable, true };
class StaticTunnelSm final
      : public ProtocolTunnelSmTemplate< StaticTunnelTable, staticTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< StaticTunnelTable > & staticTable() const noexcept { return table(); }
   void handleStaticTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * staticTunnelSmFactory = &protocolTunnelSmFactory< StaticTunnelSm >;

inline constexpr ProtocolTunnelRow nexthopGroupTunnelSmRow{
   "NexthopGroupTunnelSm", "handleNexthopGroupTunnelEntry",
   " nexthopGroup tunnel ID ", " nexthopGroup",
   TunnelTableIdentifier::nexthopGroupTable, true };
class NexthopGroupTunnelSm final
      : public ProtocolTunnelSmTemplate< NexthopGroupTunnelTable, nexthopGroupTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< NexthopGroupTunnelTable > & nexthopGroupTable() const noexcept {
      return table();
   }
   void handleNexthopGroupTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * nexthopGroupTunnelSmFactory =
   &protocolTunnelSmFactory< NexthopGroupTunnelSm >;

inline constexpr ProtocolTunnelRow srTeSegmentListTunnelSmRow{
   "SrTeSegmentListTunnelSm", "handleSrTeSegmentListTunnelEntry",
   " srTeSegmentList tunnel ID ", " srTeSegmentList",
   TunnelTableIdentifier::srTeSegmentListTable, true };
class SrTeSegmentListTunnelSm final
      : public ProtocolTunnelSmTemplate< SrTeSegmentListTunnelTable, srTeSegmentListTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< SrTeSegmentListTunnelTable > & srTeSegmentListTable() const noexcept {
      return table();
   }
   void handleSrTeSegmentListTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * srTeSegmentListTunnelSmFactory =
   &protocolTunnelSmFactory< SrTeSegmentListTunnelSm >;

inline constexpr ProtocolTunnelRow srTePolicyTunnelSmRow{
   "SrTePolicyTunnelSm", "handleSrTePolicyTunnelEntry",
   " srTePolicy tunnel ID ", " srTePolicy",
   TunnelTableIdentifier::srTePolicyTable, true };
class SrTePolicyTunnelSm final
      : public ProtocolTunnelSmTemplate< SrTePolicyTunnelTable, srTePolicyTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< SrTePolicyTunnelTable > & srTePolicyTunnelTable() const noexcept {
      return table();
   }
   void handleSrTePolicyTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * srTePolicyTunnelSmFactory = &protocolTunnelSmFactory< SrTePolicyTunnelSm >;

inline constexpr ProtocolTunnelRow rsvpFrrTunnelSmRow{
   "RsvpFrrTunnelSm", "handleRsvpFrrTunnelEntry",
   " rsvp frr tunnel ID ", " rsvp frr",
   TunnelTableIdentifier::rsvpFrrTable, true };
class RsvpFrrTunnelSm final
      : public ProtocolTunnelSmTemplate< RsvpFrrTunnelTable, rsvpFrrTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< RsvpFrrTunnelTable > & rsvpFrrTable() const noexcept { return table(); }
   void handleRsvpFrrTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * rsvpFrrTunnelSmFactory = &protocolTunnelSmFactory< RsvpFrrTunnelSm >;

inline constexpr ProtocolTunnelRow rsvpLerSubTunnelSmRow{
   "RsvpLerSubTunnelSm", "handleRsvpLerSubTunnelEntry",
   " rsvp ler sub tunnel ID ", " rsvp ler sub",
   TunnelTableIdentifier::rsvpLerSubTable, true };
class RsvpLerSubTunnelSm final
      : public ProtocolTunnelSmTemplate< RsvpLerSubTunnelTable, rsvpLerSubTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< RsvpLerSubTunnelTable > & rsvpLerSubTable() const noexcept {
      return table();
   }
   void handleRsvpLerSubTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * rsvpLerSubTunnelSmFactory = &protocolTunnelSmFactory< RsvpLerSubTunnelSm >;

inline constexpr ProtocolTunnelRow rsvpLerTunnelSmRow{
   "RsvpLerTunnelSm", "handleRsvpLerTunnelEntry",
   " rsvp ler tunnel ID ", " rsvp ler",
   TunnelTableIdentifier::rsvpLerTable, true };
class RsvpLerTunnelSm final
      : public ProtocolTunnelSmTemplate< RsvpLerTunnelTable, rsvpLerTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< RsvpLerTunnelTable > & rsvpLerTable() const noexcept { return table(); }
   void handleRsvpLerTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * rsvpLerTunnelSmFactory = &protocolTunnelSmFactory< RsvpLerTunnelSm >;

inline constexpr ProtocolTunnelRow greInterfaceTunnelSmRow{
   "GreInterfaceTunnelSm", "handleGreInterfaceTunnelEntry",
   " greStaticInterface tunnel ID ", " greStaticInterface",
   TunnelTableIdentifier::greTunnelInterfaceTable, true };
class GreInterfaceTunnelSm final
      : public ProtocolTunnelSmTemplate< GreIntfTunnelTable, greInterfaceTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< GreIntfTunnelTable > & greIntfTable() const noexcept { return table(); }
   void handleGreInterfaceTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * greInterfaceTunnelSmFactory =
   &protocolTunnelSmFactory< GreInterfaceTunnelSm >;

inline constexpr ProtocolTunnelRow ipsecVtiInterfaceTunnelSmRow{
   "IpsecVtiInterfaceTunnelSm", "handleIpsecVtiInterfaceTunnelEntry",
   " ipsecVtiStaticInterface tunnel ID ", " ipsecVtiStaticInterface",
   TunnelTableIdentifier::ipsecVtiTunnelInterfaceTable, true };
class IpsecVtiInterfaceTunnelSm final
      : public ProtocolTunnelSmTemplate< IpsecVtiIntfTunnelTable, ipsecVtiInterfaceTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< IpsecVtiIntfTunnelTable > & ipsecVtiIntfTable() const noexcept {
      return table();
   }
   void handleIpsecVtiInterfaceTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * ipsecVtiInterfaceTunnelSmFactory =
   &protocolTunnelSmFactory< IpsecVtiInterfaceTunnelSm >;

inline constexpr ProtocolTunnelRow ipsecGreInterfaceTunnelSmRow{
   "IpsecGreInterfaceTunnelSm", "handleIpsecGreInterfaceTunnelEntry",
   " ipsecGreStaticInterface tunnel ID ", " ipsecGreStaticInterface",
   TunnelTableIdentifier::ipsecGreTunnelInterfaceTable, true };
class IpsecGreInterfaceTunnelSm final
      : public ProtocolTunnelSmTemplate< IpsecGreIntfTunnelTable, ipsecGreInterfaceTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< IpsecGreIntfTunnelTable > & ipsecGreIntfTable() const noexcept {
      return table();
   }
   void handleIpsecGreInterfaceTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * ipsecGreInterfaceTunnelSmFactory =
   &protocolTunnelSmFactory< IpsecGreInterfaceTunnelSm >;

inline constexpr ProtocolTunnelRow tiLfaTunnelSmRow{
   "TiLfaTunnelSm", "handleTiLfaTunnelEntry",
   " tilfa tunnel ID ", " tilfa",
   TunnelTableIdentifier::tiLfaTable, false };
class TiLfaTunnelSm final : public ProtocolTunnelSmTemplate< TiLfaTunnelTable, tiLfaTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< TiLfaTunnelTable > & tiLfaTable() const noexcept { return table(); }
   void handleTiLfaTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * tiLfaTunnelSmFactory = &protocolTunnelSmFactory< TiLfaTunnelSm >;

inline constexpr ProtocolTunnelRow flexAlgoTunnelSmRow{
   "FlexAlgoTunnelSm", "handleFlexAlgoTunnelEntry",
   " flexAlgo tunnel ID ", nullptr,
   TunnelTableIdentifier::invalidTable, false };
class FlexAlgoTunnelSm final
      : public ProtocolTunnelSmTemplate< IsisFlexAlgoTunnelTable, flexAlgoTunnelSmRow > {
 public:
   using ProtocolTunnelSmTemplate::ProtocolTunnelSmTemplate;
   const Vel::PtrConst< IsisFlexAlgoTunnelTable > & isisFlexAlgoTable() const noexcept {
      return table();
   }
   void handleFlexAlgoTunnelEntry( const TunnelId & id ) { handleTunnelEntry( id ); }
};
inline constexpr auto * flexAlgoTunnelSmFactory = &protocolTunnelSmFactory< FlexAlgoTunnelSm >;

} // namespace Tunnel::TunnelTable
