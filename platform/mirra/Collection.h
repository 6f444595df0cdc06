#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <unordered_map>

#include "platform/mirra/CollectionControl.h"
#include "platform/vel/Attribute.h"
#include "platform/vel/Collection.h"
#include "platform/vel/IndexedMap.h"

namespace Mirra {

// What a lookup throws when the table's memory is found corrupted.
class CorruptionError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

using CorruptionHandler = std::function< void( const std::string & message ) >;

// A shared keyed table: lookup, iteration, a notification per changed key, a
// sequence number that advances on every write, an optional collection
// control, and a corruption handler that readers report to. It lives in
// process memory; nothing that uses it depends on that.
template< class K, class V, class Map = std::unordered_map< K, V > >
class Collection {
 public:
   using Key = K;
   using Value = V;

   // A pointer to the entry, or null when absent. Throws CorruptionError when
   // the table is corrupted.
   const V * find( const K & key ) const {
      checkIntact();
      return entries_.find( key );
   }
   bool has( const K & key ) const { return find( key ) != nullptr; }
   // The entry, or null when absent or corrupted (which is reported to the
   // corruption handler).
   const V * findReportingCorruption( const K & key ) const {
      try {
         return find( key );
      } catch ( const CorruptionError & e ) {
         reportCorruption( e.what() );
         return nullptr;
      }
   }
   // A copy of the entry, or a default one when absent or corrupted.
   V lookup( const K & key ) const {
      const V * v = findReportingCorruption( key );
      return v ? *v : V{};
   }

   void entryIs( const K & key, V value ) {
      ++sequenceNumber_;
      entries_.set( key, std::move( value ) );
   }
   void entryDel( const K & key ) {
      if ( entries_.has( key ) ) {
         ++sequenceNumber_;
         entries_.del( key );
      }
   }
   void entryDelAll() {
      if ( !entries_.empty() ) {
         ++sequenceNumber_;
         entries_.delAll();
      }
   }

   std::size_t size() const noexcept { return entries_.size(); }
   bool empty() const noexcept { return entries_.empty(); }
   auto begin() const { return entries_.begin(); }
   auto end() const { return entries_.end(); }
   const Map & map() const noexcept { return entries_.map(); }
   template< class F >
   void forEachKey( F && f ) const {
      entries_.forEachKey( std::forward< F >( f ) );
   }

   std::uint64_t sequenceNumber() const noexcept { return sequenceNumber_; }

   [[nodiscard]] Vel::Reactor react( std::function< void( const K & ) > callback ) const {
      return entries_.react( std::move( callback ) );
   }

   // The producer's declaration of the table; null until declared.
   const Vel::Attribute< Vel::Ptr< CollectionControl > > & control() const noexcept {
      return control_;
   }
   void controlIs( Vel::Ptr< CollectionControl > control ) { control_.set( std::move( control ) ); }

   void corruptionHandlerIs( CorruptionHandler handler ) { corruptionHandler_ = std::move( handler ); }
   void reportCorruption( const std::string & message ) const {
      ++corruptionReports_;
      if ( corruptionHandler_ ) {
         corruptionHandler_( message );
      }
   }
   std::uint64_t corruptionReports() const noexcept { return corruptionReports_; }
   // Test hook: makes every lookup find the table corrupted.
   void corruptedIs( bool corrupted ) noexcept { corrupted_ = corrupted; }
   // Whether a lookup would find the table sound, as a walk, which holds
   // the key already, needs to know.
   bool intact() const noexcept { return !corrupted_; }

 private:
   void checkIntact() const {
      if ( corrupted_ ) [[unlikely]] {
         throw CorruptionError( "Mirra::Collection: corrupted table" );
      }
   }

   Vel::Collection< K, V, Map > entries_;
   std::uint64_t sequenceNumber_ = 0;
   Vel::Attribute< Vel::Ptr< CollectionControl > > control_;
   CorruptionHandler corruptionHandler_;
   mutable std::uint64_t corruptionReports_ = 0;
   bool corrupted_ = false;
};

// The large shared tables: ordered, each element in a block of the table's
// own pool, found through a hash index (see Vel::IndexedMap for what a walk
// may and may not do while the table changes).
template< class K, class V, class Less = std::less< K > >
using OrderedCollection = Collection< K, V, Vel::IndexedMap< K, V, Less > >;

} // namespace Mirra
