#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <type_traits>
#include <variant>

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
   // Calls visit with the protocol table that holds tunnels of the type (a
   // null pointer when unmounted) and the member that stores such an entry
   // here; false, calling nothing, for a type without a table here.
   template< class Entities, class Visitor >
   static bool visitTable( TunnelType type, const Entities & entities, Visitor && visit );

   TunnelId tunnelId() const noexcept { return tunnelId_; }
   void tunnelIdIs( TunnelId id ) noexcept { tunnelId_ = id; }
   const TunnelTableEntry & entry() const noexcept { return entry_; }
   void entryIs( const TunnelTableEntry & entry ) { entry_ = entry; }
   // A kind that is not held reads as its default value.
   const BgpLuTunnelTableEntry & bgpLuEntry() const noexcept { return held< bgpLu >(); }
   void bgpLuEntryIs( const BgpLuTunnelTableEntry & e ) { held_.emplace< bgpLu >( e ); }
   const SrTunnelTableEntry & srEntry() const noexcept { return held< sr >(); }
   void srEntryIs( const SrTunnelTableEntry & e ) { held_.emplace< sr >( e ); }
   const LdpTunnelTableEntry & ldpEntry() const noexcept { return held< ldp >(); }
   void ldpEntryIs( const LdpTunnelTableEntry & e ) { held_.emplace< ldp >( e ); }
   const RsvpLerTunnelTableEntry & rsvpLerEntry() const noexcept { return held< rsvpLer >(); }
   void rsvpLerEntryIs( const RsvpLerTunnelTableEntry & e ) { held_.emplace< rsvpLer >( e ); }
   const StaticTunnelTableEntry & staticEntry() const noexcept { return held< staticKind >(); }
   void staticEntryIs( const StaticTunnelTableEntry & e ) { held_.emplace< staticKind >( e ); }
   const NexthopGroupTunnelTableEntry & nexthopGroupEntry() const noexcept {
      return held< nexthopGroup >();
   }
   void nexthopGroupEntryIs( const NexthopGroupTunnelTableEntry & e ) {
      held_.emplace< nexthopGroup >( e );
   }
   const SrTePolicyTunnelTableEntry & srTePolicyEntry() const noexcept {
      return held< srTePolicy >();
   }
   void srTePolicyEntryIs( const SrTePolicyTunnelTableEntry & e ) {
      held_.emplace< srTePolicy >( e );
   }
   const FlexAlgoTunnelTableEntry & flexAlgoEntry() const noexcept { return held< flexAlgo >(); }
   void flexAlgoEntryIs( const FlexAlgoTunnelTableEntry & e ) { held_.emplace< flexAlgo >( e ); }

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
      static const TunnelTableEntry emptyEntry;
      return !( entry_ == emptyEntry && heldIsDefault() );
   }
   // Kinds compare as if every kind were held, the others at their default.
   friend bool operator==( const EncapsulatedTableEntry & a, const EncapsulatedTableEntry & b ) {
      if ( a.tunnelId_ != b.tunnelId_ || !( a.entry_ == b.entry_ ) ) {
         return false;
      }
      if ( a.held_.index() == b.held_.index() ) {
         return a.held_ == b.held_;
      }
      return a.heldIsDefault() && b.heldIsDefault();
   }

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const EncapsulatedTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   // Copies the id's entry from table (when mounted and present) into field.
   template< class TablePtr, class Entry >
   void fill( const TablePtr & table, void ( EncapsulatedTableEntry::*field )( const Entry & ) );

   // The kinds, by their index in Held. LDP and flex-algo entries share a
   // type, so the kind is told by index, never by type.
   enum Kind : std::size_t {
      none,
      bgpLu,
      sr,
      ldp,
      rsvpLer,
      staticKind,
      nexthopGroup,
      srTePolicy,
      flexAlgo
   };
   using Held = std::variant< std::monostate, BgpLuTunnelTableEntry, SrTunnelTableEntry,
                              LdpTunnelTableEntry, RsvpLerTunnelTableEntry,
                              StaticTunnelTableEntry, NexthopGroupTunnelTableEntry,
                              SrTePolicyTunnelTableEntry, FlexAlgoTunnelTableEntry >;

   template< Kind K >
   const std::variant_alternative_t< K, Held > & held() const noexcept {
      if ( held_.index() == K ) {
         return *std::get_if< K >( &held_ );
      }
      static const std::variant_alternative_t< K, Held > defaultValue;
      return defaultValue;
   }
   bool heldIsDefault() const {
      return std::visit(
         []( const auto & value ) {
            using T = std::decay_t< decltype( value ) >;
            if constexpr ( std::is_same_v< T, std::monostate > ) {
               return true;
            } else {
               static const T defaultValue;
               return value == defaultValue;
            }
         },
         held_ );
   }

   TunnelId tunnelId_;
   TunnelTableEntry entry_;
   // Only the protocol entry of the id's kind: one of the large entries
   // instead of every kind side by side.
   Held held_;
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

template< class Entities, class Visitor >
bool EncapsulatedTableEntry::visitTable( TunnelType type, const Entities & entities,
                                         Visitor && visit ) {
   using E = EncapsulatedTableEntry;
   switch ( type ) {
    case TunnelType::bgpLuTunnel:
      visit( entities.bgpLuTable(), &E::bgpLuEntryIs );
      return true;
    case TunnelType::ldpTunnel:
      visit( entities.ldpTable(), &E::ldpEntryIs );
      return true;
    case TunnelType::staticTunnel:
      visit( entities.staticTable(), &E::staticEntryIs );
      return true;
    case TunnelType::srTunnel:
      visit( entities.srTable(), &E::srEntryIs );
      return true;
    case TunnelType::nexthopGroupTunnel:
      visit( entities.nexthopGroupTable(), &E::nexthopGroupEntryIs );
      return true;
    case TunnelType::ospfSrTunnel:
      visit( entities.ospfSrTable(), &E::srEntryIs );
      return true;
    case TunnelType::srTePolicyTunnel:
      visit( entities.srTePolicyTunnelTable(), &E::srTePolicyEntryIs );
      return true;
    case TunnelType::rsvpLerTunnel:
      visit( entities.rsvpLerTable(), &E::rsvpLerEntryIs );
      return true;
    case TunnelType::isisFlexAlgoTunnel:
      visit( entities.isisFlexAlgoTable(), &E::flexAlgoEntryIs );
      return true;
    default:
      return false;
   }
}

template< class Entities >
EncapsulatedTableEntry
EncapsulatedTableEntry::getEntry( TunnelId tunnelId,
                                  const Vel::Ptr< Entities > & tunnelTableEntities ) {
   EncapsulatedTableEntry result( tunnelId );
   if ( const auto * entities = tunnelTableEntities.get() ) {
      visitTable( tunnelId.tunnelType(), *entities,
                  [ &result ]( const auto & table, auto field ) { result.fill( table, field ); } );
   }
   return result;
}

} // namespace Tunnel::TunnelTable
