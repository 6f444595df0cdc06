#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "ingest/ProtocolTunnelSm.h"
#include "ingest/TableEntrySm.h"
#include "platform/mirra/Collection.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

// What tells one protocol reactor from another.
struct ProtocolTunnelRow {
   // The reactor's class and per-entry handler, as trace lines name them.
   const char * className;
   const char * entryHandler;
   const char * entryTrace;
   // Null: the full pass is not traced.
   const char * fullPassTrace;
   // The identifier reported with each id; invalidTable reports the watched
   // table's own.
   TunnelTableIdentifier tunnelTableId;
   bool keepsSeenIds;
};

// The protocol reactor of a Table, told apart by its Row. It reports each
// changed key of the table to the owner as present or removed.
template< class TableT, const ProtocolTunnelRow & Row >
class ProtocolTunnelSmTemplate : public ProtocolTunnelSm {
 public:
   using Table = TableT;

   ProtocolTunnelSmTemplate( TableEntrySm * tableEntrySm,
                             Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                             Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId,
                             Vel::PtrConst< Table > table )
         : ProtocolTunnelSm( tableEntrySm, std::move( tunnelTableEntities ),
                             std::move( unprogrammableTunnelId ) ),
           table_( std::move( table ) ) {
      entryReactor_ =
         table_->entry().react( [ this ]( const TunnelId & id ) { handleTunnelEntry( id ); } );
   }

   const Vel::PtrConst< Table > & table() const noexcept { return table_; }
   TunnelTableIdentifier tunnelTableId() const noexcept {
      return Row.tunnelTableId != TunnelTableIdentifier::invalidTable ? Row.tunnelTableId
                                                                      : table_->tunnelTableId();
   }

   void handleTunnelEntry( const TunnelId & tunnelId ) { handleEntry( tunnelId, false ); }

   void handleTunnelEntry() override {
      if ( Row.fullPassTrace ) {
         VEL_TRACE_AS( fullPassSignature().c_str(), 8, Row.fullPassTrace );
      }
      table_->entry().forEachKey( [ this ]( const TunnelId & id ) { handleEntry( id, true ); } );
   }

 protected:
   bool keepsSeenIds() const override { return Row.keepsSeenIds; }
   TunnelTableIdentifier seenIdsTableId() const override { return tunnelTableId(); }
   bool tableHolds( TunnelId id ) const override { return table_->entry().map().contains( id ); }
   std::size_t tableSize() const override { return table_->entry().size(); }
   void forEachTableId( const std::function< void( TunnelId ) > & visit ) const override {
      for ( const auto & [ id, entry ] : table_->entry().map() ) {
         visit( id );
      }
   }

 private:
   // A walk of the table reaches only ids it holds: unless the table is
   // found corrupted, there is nothing to look up.
   void handleEntry( const TunnelId & tunnelId, bool walked ) {
      VEL_TRACE_AS( entrySignature().c_str(), 8, Row.entryTrace, tunnelId );
      const bool known = walked && table_->entry().intact();
      if constexpr ( Row.keepsSeenIds ) {
         if ( known || present( tunnelId ) ) {
            seenInTableIs( tunnelId );
         } else {
            seenTunnelIdDel( tunnelId );
         }
      }
      tableEntrySm()->handleTunnelTableEntry( tunnelId, tunnelTableId(),
                                               !known && !present( tunnelId ) );
   }

   // A lookup that finds the table corrupted reports it to the table's
   // corruption handler and counts the entry as absent.
   bool present( const TunnelId & tunnelId ) const {
      try {
         return table_->entry().find( tunnelId ) != nullptr;
      } catch ( const Mirra::CorruptionError & e ) {
         table_->entry().reportCorruption( e.what() );
         return false;
      }
   }
   static std::string entrySignature() {
      return std::string( "void Tunnel::TunnelTable::" ) + Row.className + "::" +
             Row.entryHandler + "(const Tunnel::TunnelTable::TunnelId&)";
   }
   static std::string fullPassSignature() {
      return std::string( "virtual void Tunnel::TunnelTable::" ) + Row.className +
             "::handleTunnelEntry()";
   }

   Vel::PtrConst< Table > table_;
   Vel::Reactor entryReactor_;
};

// Makes a protocol reactor of class Sm over its table.
template< class Sm >
Vel::Ptr< Sm > protocolTunnelSmFactory( TableEntrySm * tableEntrySm,
                                        Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                        Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId,
                                        Vel::PtrConst< typename Sm::Table > table ) {
   return Vel::make< Sm >( tableEntrySm, std::move( tunnelTableEntities ),
                           std::move( unprogrammableTunnelId ), std::move( table ) );
}

} // namespace Tunnel::TunnelTable
