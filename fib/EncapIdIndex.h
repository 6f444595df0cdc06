#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "platform/vel/FlatHashMap.h"
#include "types/TunnelFib.h"

namespace Tunnel::TunnelTable {

// The ids of the published encapsulations of one type, found by value. It
// keeps per id only the id, its value's hash and where its record is; the
// value is read from the id's record in the FIB table, which must hold the
// record, in place, while the id is indexed. A value is then stored once, in
// the FIB, however many tunnels share it, and finding a shared one reads the
// slot and the record, not the table's index as well. Open addressing with
// linear probing in one array of 16-byte slots, erasure by shifting the run
// back.
template< class Record >
class EncapIdIndex {
 public:
   using Info = typename Record::InfoType;
   using Table = TunnelFib::TunnelFib::EncapTable< Record >;

   // The table's nodes stay where they are until erased.
   static_assert( std::is_same_v< std::remove_cvref_t< decltype( std::declval< Table >().map() ) >,
                                  std::unordered_map< TunnelFib::EncapId, Record > > );

   explicit EncapIdIndex( const Table & table ) : table_( &table ) {}

   std::size_t size() const noexcept { return size_; }

   // The id of the value, or the null id.
   TunnelFib::EncapId find( const Info & info ) const {
      if ( size_ == 0 ) {
         return TunnelFib::EncapId();
      }
      const std::uint32_t hash = hashOf( info );
      for ( std::size_t slot = home( hash ); !slots_[ slot ].id.isNull(); slot = next( slot ) ) {
         if ( slots_[ slot ].hash == hash && slots_[ slot ].record->info() == info ) {
            return slots_[ slot ].id;
         }
      }
      return TunnelFib::EncapId();
   }
   // Maps the value, whose record the table holds under id, to id.
   void insertOrAssign( const Info & info, TunnelFib::EncapId id ) {
      growFor( size_ + 1 );
      const std::uint32_t hash = hashOf( info );
      std::size_t slot = home( hash );
      for ( ; !slots_[ slot ].id.isNull(); slot = next( slot ) ) {
         if ( slots_[ slot ].hash == hash && slots_[ slot ].record->info() == info ) {
            slots_[ slot ].id = id;
            slots_[ slot ].record = &recordOf( id );
            return;
         }
      }
      slots_[ slot ] = { hash, id, &recordOf( id ) };
      ++size_;
   }
   // Unmaps the value when it maps to id; the record must still be in the
   // table to be found.
   void eraseIfMappedTo( const Info & info, TunnelFib::EncapId id ) {
      if ( size_ == 0 ) {
         return;
      }
      const std::uint32_t hash = hashOf( info );
      for ( std::size_t slot = home( hash ); !slots_[ slot ].id.isNull(); slot = next( slot ) ) {
         if ( slots_[ slot ].id == id ) {
            eraseSlot( slot );
            return;
         }
      }
   }

 private:
   struct Slot {
      std::uint32_t hash = 0;
      TunnelFib::EncapId id; // null: free
      const Record * record = nullptr;
   };

   static std::uint32_t hashOf( const Info & info ) {
      const std::uint64_t mixed = std::uint64_t( std::hash< Info >()( info ) ) * 0x9E3779B97F4A7C15ull;
      return std::uint32_t( mixed >> 32 );
   }
   std::size_t home( std::uint32_t hash ) const { return hash >> shift_; }
   std::size_t next( std::size_t slot ) const { return ( slot + 1 ) & ( slots_.size() - 1 ); }
   const Record & recordOf( TunnelFib::EncapId id ) const {
      // The map itself: the index reads records the writer published.
      return table_->map().find( id )->second;
   }

   void eraseSlot( std::size_t gap ) {
      std::size_t slot = gap;
      for ( ;; ) {
         slot = next( slot );
         if ( slots_[ slot ].id.isNull() ) {
            break;
         }
         if ( !Vel::staysBehindGap( gap, slot, home( slots_[ slot ].hash ) ) ) {
            slots_[ gap ] = slots_[ slot ];
            gap = slot;
         }
      }
      slots_[ gap ] = Slot();
      --size_;
   }

   // At most three quarters full.
   void growFor( std::size_t count ) {
      if ( count * 4 <= slots_.size() * 3 ) {
         return;
      }
      std::size_t capacity = std::max< std::size_t >( 8, slots_.size() );
      while ( count * 4 > capacity * 3 ) {
         capacity *= 2;
      }
      std::vector< Slot > old( capacity );
      old.swap( slots_ );
      shift_ = 32 - unsigned( std::countr_zero( capacity ) );
      for ( const Slot & s : old ) {
         if ( !s.id.isNull() ) {
            std::size_t slot = home( s.hash );
            while ( !slots_[ slot ].id.isNull() ) {
               slot = next( slot );
            }
            slots_[ slot ] = s;
         }
      }
   }

   const Table * table_;
   std::vector< Slot > slots_;
   std::size_t size_ = 0;
   unsigned shift_ = 32;
};

} // namespace Tunnel::TunnelTable
