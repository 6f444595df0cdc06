#pragma once

#include <string_view>
#include <tuple>

#include "platform/mirra/Collection.h"
#include "platform/vel/RangeException.h"
#include "types/BgpLuTunnelTableEntry.h"
#include "types/IgpTunnelTableEntryBase.h"
#include "types/InterfaceTunnelTableEntry.h"
#include "types/MplsTunnelTableEntryBase.h"
#include "types/NexthopGroupTunnelTableEntry.h"
#include "types/ProtectedTunnelTableEntryBase.h"
#include "types/RsvpLerTunnelTableEntry.h"
#include "types/SrTePolicyTunnelTableEntry.h"
#include "types/SrTunnelTableEntry.h"
#include "types/TunnelTableBase.h"

namespace Tunnel::TunnelTable {

// A protocol tunnel table with entries of kind Entry, keyed by tunnel id, in
// id order. Producers write through entryIs/entryDel; readers look up,
// iterate and react through entry().
template< class Entry >
class TunnelTable : public TunnelTableBase {
 public:
   using EntryType = Entry;
   using EntryCollection = Mirra::OrderedCollection< TunnelId, Entry >;

   const EntryCollection & entry() const noexcept { return entry_; }
   void entryIs( TunnelId id, const Entry & entry ) { entry_.entryIs( id, entry ); }
   void entryDel( TunnelId id ) { entry_.entryDel( id ); }
   void entryDelAll() { entry_.entryDelAll(); }

   // The producer's declaration of the table, and where corrupted lookups
   // are reported.
   void controlIs( Vel::Ptr< Mirra::CollectionControl > control ) {
      entry_.controlIs( std::move( control ) );
   }
   void corruptionHandlerIs( Mirra::CorruptionHandler handler ) {
      entry_.corruptionHandlerIs( std::move( handler ) );
   }
   // Test hook: every lookup finds the table corrupted.
   void corruptedIs( bool corrupted ) noexcept { entry_.corruptedIs( corrupted ); }

   void cleanup() override { entry_.entryDelAll(); }

 protected:
   using TunnelTableBase::TunnelTableBase;

 private:
   EntryCollection entry_;
};

// The IS-IS and the OSPF segment-routing tables share one base, so one
// reactor serves both.
using SrTunnelTableBase = TunnelTable< SrTunnelTableEntry >;

// One mountable table type: the table of Base fixed to its identifier, its
// tunnel-type code and the name it is known by.
template< class Base, TunnelTableIdentifier Id, TunnelType Type, Vel::FixedString Name >
class ProtocolTunnelTable final : public Base {
 public:
   static constexpr TunnelTableIdentifier tableId = Id;
   static constexpr TunnelType tableType = Type;
   static constexpr std::string_view tableName{ Name.text };

   ProtocolTunnelTable() : Base( Id, Type ) {}
};

// The table types, one per table name: base, identifier, tunnel-type code, name.
using LdpTunnelTable =
   ProtocolTunnelTable< TunnelTable< LdpTunnelTableEntry >,
                        TunnelTableIdentifier::ldpTable,
                        TunnelType::ldpTunnel, "ldp" >;
using IsisSrTunnelTable =
   ProtocolTunnelTable< SrTunnelTableBase,
                        TunnelTableIdentifier::srTable,
                        TunnelType::srTunnel, "sr" >;
using OspfSrTunnelTable =
   ProtocolTunnelTable< SrTunnelTableBase,
                        TunnelTableIdentifier::ospfSrTable,
                        TunnelType::ospfSrTunnel, "ospfSr" >;
using BgpLuTunnelTable =
   ProtocolTunnelTable< TunnelTable< BgpLuTunnelTableEntry >,
                        TunnelTableIdentifier::bgpLuTable,
                        TunnelType::bgpLuTunnel, "bgpLu" >;
using BgpLuPushTunnelTable =
   ProtocolTunnelTable< TunnelTable< BgpLuPushTunnelTableEntry >,
                        TunnelTableIdentifier::bgpLuPushTable,
                        TunnelType::bgpLuPushTunnel, "bgpLuPush" >;
using StaticTunnelTable =
   ProtocolTunnelTable< TunnelTable< StaticTunnelTableEntry >,
                        TunnelTableIdentifier::staticTable,
                        TunnelType::staticTunnel, "static" >;
using NexthopGroupTunnelTable =
   ProtocolTunnelTable< TunnelTable< NexthopGroupTunnelTableEntry >,
                        TunnelTableIdentifier::nexthopGroupTable,
                        TunnelType::nexthopGroupTunnel, "nexthopGroup" >;
using SrTePolicyTunnelTable =
   ProtocolTunnelTable< TunnelTable< SrTePolicyTunnelTableEntry >,
                        TunnelTableIdentifier::srTePolicyTable,
                        TunnelType::srTePolicyTunnel, "srTePolicy" >;
using SrTeSegmentListTunnelTable =
   ProtocolTunnelTable< TunnelTable< SrTeSegmentListTunnelTableEntry >,
                        TunnelTableIdentifier::srTeSegmentListTable,
                        TunnelType::srTeSegmentListTunnel, "srTeSegmentList" >;
using RsvpLerTunnelTable =
   ProtocolTunnelTable< TunnelTable< RsvpLerTunnelTableEntry >,
                        TunnelTableIdentifier::rsvpLerTable,
                        TunnelType::rsvpLerTunnel, "rsvpLer" >;
using RsvpLerSubTunnelTable =
   ProtocolTunnelTable< TunnelTable< RsvpLerSubTunnelTableEntry >,
                        TunnelTableIdentifier::rsvpLerSubTable,
                        TunnelType::rsvpLerSubTunnel, "rsvpLerSub" >;
using RsvpFrrTunnelTable =
   ProtocolTunnelTable< TunnelTable< RsvpFrrTunnelTableEntry >,
                        TunnelTableIdentifier::rsvpFrrTable,
                        TunnelType::rsvpFrrTunnel, "rsvpFrr" >;
using TiLfaTunnelTable =
   ProtocolTunnelTable< TunnelTable< TiLfaTunnelTableEntry >,
                        TunnelTableIdentifier::tiLfaTable,
                        TunnelType::tiLfaTunnel, "tiLfa" >;
using IsisFlexAlgoTunnelTable =
   ProtocolTunnelTable< TunnelTable< FlexAlgoTunnelTableEntry >,
                        TunnelTableIdentifier::isisFlexAlgoTable,
                        TunnelType::isisFlexAlgoTunnel, "isisFlexAlgoTunnel" >;
using GreIntfTunnelTable =
   ProtocolTunnelTable< TunnelTable< GreIntfTunnelTableEntry >,
                        TunnelTableIdentifier::greTunnelInterfaceTable,
                        TunnelType::staticInterfaceTunnel, "greTunnelInterface" >;
using IpsecGreIntfTunnelTable =
   ProtocolTunnelTable< TunnelTable< IpsecGreIntfTunnelTableEntry >,
                        TunnelTableIdentifier::ipsecGreTunnelInterfaceTable,
                        TunnelType::staticInterfaceTunnel, "ipsecGreTunnelInterface" >;
using IpsecVtiIntfTunnelTable =
   ProtocolTunnelTable< TunnelTable< IpsecVtiIntfTunnelTableEntry >,
                        TunnelTableIdentifier::ipsecVtiTunnelInterfaceTable,
                        TunnelType::staticInterfaceTunnel, "ipsecVtiTunnelInterface" >;

// Every mountable protocol table type, one per table name.
using ProtocolTunnelTables =
   std::tuple< LdpTunnelTable, IsisSrTunnelTable, OspfSrTunnelTable, BgpLuTunnelTable,
               BgpLuPushTunnelTable, StaticTunnelTable, NexthopGroupTunnelTable,
               SrTePolicyTunnelTable, SrTeSegmentListTunnelTable, RsvpLerTunnelTable,
               RsvpLerSubTunnelTable, RsvpFrrTunnelTable, TiLfaTunnelTable,
               IsisFlexAlgoTunnelTable, GreIntfTunnelTable, IpsecGreIntfTunnelTable,
               IpsecVtiIntfTunnelTable >;

} // namespace Tunnel::TunnelTable
