#pragma once

#include <type_traits>
#include <utility>

#include "platform/korvo/IpGenPrefix.h"
#include "platform/mirra/Collection.h"
#include "types/TunnelRibBase.h"

namespace Tunnel::TunnelTable {

// A tunnel RIB over one shared-memory table named "entry", keyed either by
// the endpoint prefix (Key = Korvo::IpGenPrefix) or by the whole colored
// endpoint (Key = ColoredTunnelEndpoint). A colored endpoint given to a RIB
// keyed by prefix addresses the entry of its prefix; the entry is stored as
// written.
template< class Key >
class TunnelRibTable : public TunnelRibBase {
   static_assert( std::is_same_v< Key, Korvo::IpGenPrefix > ||
                  std::is_same_v< Key, ColoredTunnelEndpoint > );

 public:
   using Table = Mirra::OrderedCollection< Key, TunnelRibEntry >;

   static const Key & keyOf( const ColoredTunnelEndpoint & tep ) noexcept {
      if constexpr ( std::is_same_v< Key, Korvo::IpGenPrefix > ) {
         return tep.tep();
      } else {
         return tep;
      }
   }
   static const Key & keyOf( const TunnelRibEntry & entry ) noexcept {
      return keyOf( entry.coloredTep() );
   }

   const Table & entry() const noexcept { return entry_; }
   void entryIs( const TunnelRibEntry & entry ) { entry_.entryIs( keyOf( entry ), entry ); }
   void entryDel( const Key & key ) { entry_.entryDel( key ); }
   void entryDelAll() { entry_.entryDelAll(); }

   // The producer's declaration of the table, and where corrupted lookups are
   // reported.
   void controlIs( Vel::Ptr< Mirra::CollectionControl > control ) {
      entry_.controlIs( std::move( control ) );
   }
   void corruptionHandlerIs( Mirra::CorruptionHandler handler ) {
      entry_.corruptionHandlerIs( std::move( handler ) );
   }
   // Test hook: every lookup finds the table corrupted.
   void corruptedIs( bool corrupted ) noexcept { entry_.corruptedIs( corrupted ); }

   bool isColored() const override { return std::is_same_v< Key, ColoredTunnelEndpoint >; }

   TunnelRibEntry tunnelRibEntry( const ColoredTunnelEndpoint & tep ) const override {
      try {
         if ( const TunnelRibEntry * found = entry_.find( keyOf( tep ) ) ) {
            return *found;
         }
      } catch ( const Mirra::CorruptionError & e ) {
         entry_.reportCorruption( e.what() );
      }
      return TunnelRibEntry( tep );
   }
   void tunnelRibEntryIs( const TunnelRibEntry & entry ) override { entryIs( entry ); }
   void prefetchEntry( const ColoredTunnelEndpoint & tep, Vel::IndexLoad load ) const override {
      entry_.map().prefetch( keyOf( tep ), load );
   }
   void tunnelRibEntryDel( const ColoredTunnelEndpoint & tep ) override {
      entryDel( keyOf( tep ) );
   }

   std::uint64_t sequenceNumber() const override { return entry_.sequenceNumber(); }
   std::size_t size() const override { return entry_.size(); }
   void cleanup() override { entry_.entryDelAll(); }

 private:
   Table entry_;
};

} // namespace Tunnel::TunnelTable
