#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "platform/mirra/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/BgpLuTunnelTableEntry.h"
#include "types/ColoredTunnelEndpointSet.h"
#include "types/IgpTunnelTableEntryBase.h"
#include "types/MplsTunnelTableEntryBase.h"
#include "types/NexthopGroupTunnelTableEntry.h"
#include "types/RsvpLerTunnelTableEntry.h"
#include "types/SrTePolicyTunnelTableEntry.h"
#include "types/SrTunnelTableEntry.h"
#include "types/TunnelId.h"
#include "types/TunnelTableEntry.h"

namespace Tunnel::TunnelTable {

// One tunnel's current table entry, whatever its protocol: the tunnel id,
// the generic entry, and the protocol entry of the kind the id's type names
// (the other kinds stay default). The empty value (only the tunnel id set)
// means the tables hold no entry for the id.
class EncapsulatedTableEntry {
 public:
   EncapsulatedTableEntry() = default;
   explicit EncapsulatedTableEntry( TunnelId tunnelId ) : tunnelId_( tunnelId ) {}

   // The id's entry in the protocol table of its type, read through the
   // typed accessors of Entities (the tunnel table entities, kept generic so
   // that the data model does not depend on the ingestion layer). An
   // unmounted table, an absent id or a type without a table here gives the
   // empty entry; a corrupted table is reported to its handler and reads as
   // absent.
   template< class Entities >
   static EncapsulatedTableEntry getEntry( TunnelId tunnelId,
                                           const Vel::Ptr< Entities > & tunnelTableEntities );

   TunnelId tunnelId() const noexcept { return tunnelId_; }
   void tunnelIdIs( TunnelId id ) noexcept { tunnelId_ = id; }
   const TunnelTableEntry & entry() const noexcept { return entry_; }
   void entryIs( const TunnelTableEntry & entry ) { entry_ = entry; }
   const BgpLuTunnelTableEntry & bgpLuEntry() const noexcept { return bgpLuEntry_; }
   void bgpLuEntryIs( const BgpLuTunnelTableEntry & e ) { bgpLuEntry_ = e; }
   const SrTunnelTableEntry & srEntry() const noexcept { return srEntry_; }
   void srEntryIs( const SrTunnelTableEntry & e ) { srEntry_ = e; }
   const LdpTunnelTableEntry & ldpEntry() const noexcept { return ldpEntry_; }
   void ldpEntryIs( const LdpTunnelTableEntry & e ) { ldpEntry_ = e; }
   const RsvpLerTunnelTableEntry & rsvpLerEntry() const noexcept { return rsvpLerEntry_; }
   void rsvpLerEntryIs( const RsvpLerTunnelTableEntry & e ) { rsvpLerEntry_ = e; }
   const StaticTunnelTableEntry & staticEntry() const noexcept { return staticEntry_; }
   void staticEntryIs( const StaticTunnelTableEntry & e ) { staticEntry_ = e; }
   const NexthopGroupTunnelTableEntry & nexthopGroupEntry() const noexcept {
      return nexthopGroupEntry_;
   }
   void nexthopGroupEntryIs( const NexthopGroupTunnelTableEntry & e ) { nexthopGroupEntry_ = e; }
   const SrTePolicyTunnelTableEntry & srTePolicyEntry() const noexcept { return srTePolicyEntry_; }
   void srTePolicyEntryIs( const SrTePolicyTunnelTableEntry & e ) { srTePolicyEntry_ = e; }
   const FlexAlgoTunnelTableEntry & flexAlgoEntry() const noexcept { return flexAlgoEntry_; }
   void flexAlgoEntryIs( const FlexAlgoTunnelTableEntry & e ) { flexAlgoEntry_ = e; }

   // The IGP-cost preference of the protocol entry of the id's type; 0 for
   // types that carry none.
   std::uint32_t igpCostPref() const noexcept;

   // A new set of the endpoints the entry serves: colored with the policy's
   // color for an SR-TE policy, with the RSVP LER entry's color when it has
   // one, uncolored otherwise.
   ColoredTunnelEndpointSet tunnelEndpointSet() const;
   // The same endpoints as a sorted list without duplicates, built without
   // allocation for the common one or two.
   ColoredTunnelEndpointList tunnelEndpoints() const;

   // True when the entry holds more than its tunnel id.
   explicit operator bool() const {
      // Field by field against one shared empty value: a found entry differs
      // at once in its generic part, and nothing is built to compare.
      static const EncapsulatedTableEntry empty;
      return !( entry_ == empty.entry_ && bgpLuEntry_ == empty.bgpLuEntry_ &&
                srEntry_ == empty.srEntry_ && ldpEntry_ == empty.ldpEntry_ &&
                rsvpLerEntry_ == empty.rsvpLerEntry_ && staticEntry_ == empty.staticEntry_ &&
                nexthopGroupEntry_ == empty.nexthopGroupEntry_ &&
                srTePolicyEntry_ == empty.srTePolicyEntry_ &&
                flexAlgoEntry_ == empty.flexAlgoEntry_ );
   }
   friend bool operator==( const EncapsulatedTableEntry &,
                           const EncapsulatedTableEntry & ) = default;

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const EncapsulatedTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   // Copies the id's entry from table (when mounted and present) into field.
   template< class TablePtr, class Entry >
   void fill( const TablePtr & table, void ( EncapsulatedTableEntry::*field )( const Entry & ) );

   TunnelId tunnelId_;
   TunnelTableEntry entry_;
   BgpLuTunnelTableEntry bgpLuEntry_;
   SrTunnelTableEntry srEntry_;
   LdpTunnelTableEntry ldpEntry_;
   RsvpLerTunnelTableEntry rsvpLerEntry_;
   StaticTunnelTableEntry staticEntry_;
   NexthopGroupTunnelTableEntry nexthopGroupEntry_;
   SrTePolicyTunnelTableEntry srTePolicyEntry_;
   FlexAlgoTunnelTableEntry flexAlgoEntry_;
};

template< class TablePtr, class Entry >
void EncapsulatedTableEntry::fill( const TablePtr & table,
                                   void ( EncapsulatedTableEntry::*field )( const Entry & ) ) {
   if ( !table ) {
      return;
   }
   if ( const Entry * found = table->entry().findReportingCorruption( tunnelId_ ) ) {
      ( this->*field )( *found );
      entry_ = found->entry();
   }
}

template< class Entities >
EncapsulatedTableEntry
EncapsulatedTableEntry::getEntry( TunnelId tunnelId,
                                  const Vel::Ptr< Entities > & tunnelTableEntities ) {
   EncapsulatedTableEntry result( tunnelId );
   const auto * entities = tunnelTableEntities.get();
   if ( !entities ) {
      return result;
   }
   using E = EncapsulatedTableEntry;
   switch ( tunnelId.tunnelType() ) {
    case TunnelType::bgpLuTunnel:
      result.fill( entities->bgpLuTable(), &E::bgpLuEntryIs );
      break;
    case TunnelType::ldpTunnel:
      result.fill( entities->ldpTable(), &E::ldpEntryIs );
      break;
    case TunnelType::staticTunnel:
      result.fill( entities->staticTable(), &E::staticEntryIs );
      break;
    case TunnelType::srTunnel:
      result.fill( entities->srTable(), &E::srEntryIs );
      break;
    case TunnelType::nexthopGroupTunnel:
      result.fill( entities->nexthopGroupTable(), &E::nexthopGroupEntryIs );
      break;
    case TunnelType::ospfSrTunnel:
      result.fill( entities->ospfSrTable(), &E::srEntryIs );
      break;
    case TunnelType::srTePolicyTunnel:
      result.fill( entities->srTePolicyTunnelTable(), &E::srTePolicyEntryIs );
      break;
    case TunnelType::rsvpLerTunnel:
      result.fill( entities->rsvpLerTable(), &E::rsvpLerEntryIs );
      break;
    case TunnelType::isisFlexAlgoTunnel:
      result.fill( entities->isisFlexAlgoTable(), &E::flexAlgoEntryIs );
      break;
    default:
      break;
   }
   return result;
}

} // namespace Tunnel::TunnelTable
