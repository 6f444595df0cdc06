#pragma once

#include <array>
#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableBase.h"

namespace Tunnel::TunnelTable {

// The protocol tunnel tables mounted for one tunnel RIB, by table name: the
// one place the RIB's machines and the tunnel FIB reach tables from.
class TunnelTableEntities : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< Vel::String, Vel::PtrConst< TunnelTableBase > >;

   const Coll & tunnelTable() const noexcept { return tunnelTable_; }
   // The table filed under name, or null.
   Vel::PtrConst< TunnelTableBase > tunnelTable( const Vel::String & name ) const {
      return tunnelTable_.get( name );
   }
   bool tunnelTableHas( const Vel::String & name ) const { return tunnelTable_.has( name ); }
   // Whether a table is filed under the identifier's name (the empty name
   // for an identifier without one); remembered until the collection
   // changes, as preference mapping asks it for every tunnel.
   bool tunnelTableHas( TunnelTableIdentifier table ) const {
      const auto index = static_cast< std::size_t >( table );
      if ( index >= tableIdentifiers ) {
         return tunnelTableHas( nameOf( table ) );
      }
      View & view = views_[ index ];
      if ( !view.filedKnown ) {
         view.filed = tunnelTableHas( nameOf( table ) );
         view.filedKnown = true;
      }
      return view.filed;
   }
   // Each change forgets what the views remember before its reactors run.
   void tunnelTableIs( const Vel::String & name, Vel::PtrConst< TunnelTableBase > table ) {
      views_.fill( {} );
      tunnelTable_.set( name, std::move( table ) );
   }
   void tunnelTableDel( const Vel::String & name ) {
      views_.fill( {} );
      tunnelTable_.del( name );
   }
   void tunnelTableDelAll() {
      views_.fill( {} );
      tunnelTable_.delAll();
   }

   // The table of its fixed name as its own type; null when that name is
   // absent or holds a table of another type. Looked up by name once per
   // change of the collection: every review of a tunnel asks for its table.
   template< class Table >
   Vel::PtrConst< Table > typedTable() const {
      static_assert( static_cast< std::size_t >( Table::tableId ) < tableIdentifiers );
      View & view = views_[ static_cast< std::size_t >( Table::tableId ) ];
      if ( !view.typedKnown ) {
         view.typed = Vel::dynamicCast< const Table >(
                         tunnelTable( Vel::String( Table::tableName ) ) ).get();
         view.typedKnown = true;
      }
      return Vel::PtrConst< Table >( static_cast< const Table * >( view.typed ) );
   }

   Vel::PtrConst< LdpTunnelTable > ldpTable() const { return typedTable< LdpTunnelTable >(); }
   Vel::PtrConst< IsisSrTunnelTable > srTable() const { return typedTable< IsisSrTunnelTable >(); }
   Vel::PtrConst< OspfSrTunnelTable > ospfSrTable() const {
      return typedTable< OspfSrTunnelTable >();
   }
   Vel::PtrConst< BgpLuTunnelTable > bgpLuTable() const {
      return typedTable< BgpLuTunnelTable >();
   }
   Vel::PtrConst< BgpLuPushTunnelTable > bgpLuPushTable() const {
      return typedTable< BgpLuPushTunnelTable >();
   }
   Vel::PtrConst< StaticTunnelTable > staticTable() const {
      return typedTable< StaticTunnelTable >();
   }
   Vel::PtrConst< NexthopGroupTunnelTable > nexthopGroupTable() const {
      return typedTable< NexthopGroupTunnelTable >();
   }
   Vel::PtrConst< SrTePolicyTunnelTable > srTePolicyTunnelTable() const {
      return typedTable< SrTePolicyTunnelTable >();
   }
   Vel::PtrConst< SrTeSegmentListTunnelTable > srTeSegmentListTable() const {
      return typedTable< SrTeSegmentListTunnelTable >();
   }
   Vel::PtrConst< RsvpLerTunnelTable > rsvpLerTable() const {
      return typedTable< RsvpLerTunnelTable >();
   }
   Vel::PtrConst< RsvpLerSubTunnelTable > rsvpLerSubTable() const {
      return typedTable< RsvpLerSubTunnelTable >();
   }
   Vel::PtrConst< RsvpFrrTunnelTable > rsvpFrrTable() const {
      return typedTable< RsvpFrrTunnelTable >();
   }
   Vel::PtrConst< TiLfaTunnelTable > tiLfaTable() const { return typedTable< TiLfaTunnelTable >(); }
   Vel::PtrConst< IsisFlexAlgoTunnelTable > isisFlexAlgoTable() const {
      return typedTable< IsisFlexAlgoTunnelTable >();
   }
   Vel::PtrConst< GreIntfTunnelTable > greIntfTable() const {
      return typedTable< GreIntfTunnelTable >();
   }
   Vel::PtrConst< IpsecGreIntfTunnelTable > ipsecGreIntfTable() const {
      return typedTable< IpsecGreIntfTunnelTable >();
   }
   Vel::PtrConst< IpsecVtiIntfTunnelTable > ipsecVtiIntfTable() const {
      return typedTable< IpsecVtiIntfTunnelTable >();
   }

 private:
   // Per identifier: its fixed name's table as its own type (held by the
   // collection, which outlives the view), and whether its name is filed.
   struct View {
      bool typedKnown = false;
      const void * typed = nullptr;
      bool filedKnown = false;
      bool filed = false;
   };
   static constexpr std::size_t tableIdentifiers = 21;

   static const Vel::String & nameOf( TunnelTableIdentifier table ) {
      static const Vel::String none;
      const auto it = TableIdToNameMap.find( table );
      return it == TableIdToNameMap.end() ? none : it->second;
   }

   Coll tunnelTable_;
   mutable std::array< View, tableIdentifiers > views_{};
};

Vel::Ptr< TunnelTableEntities > tunnelTableEntitiesFactory();

} // namespace Tunnel::TunnelTable
