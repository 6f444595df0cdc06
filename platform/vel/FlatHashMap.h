#pragma once

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/vel/Assert.h"

namespace Vel {

// Erasing from a linear-probing table without tombstones shifts the run
// after the gap back: the element at slot, whose home slot is want, stays
// unless its home lies cyclically outside (gap, slot].
inline bool staysBehindGap( std::size_t gap, std::size_t slot, std::size_t want ) noexcept {
   return gap <= slot ? ( gap < want && want <= slot ) : ( gap < want || want <= slot );
}

// A hash map kept in one array: open addressing with linear probing, erasure
// by shifting the following run back (no tombstones). For the large per-id
// tables, where a node per element costs an allocation and a cache miss on
// every lookup. The hash's value is spread by a Fibonacci multiplication, so
// a plain key word serves as the hash. Iteration order is the slot order:
// use it only where order is not part of the behaviour. Iterators and
// references do not survive an insertion or an erasure.
// With DefaultKeyIsFree, the default key never goes in and marks a free slot
// instead of a separate array of flags, so that a lookup reads one array.
template< class K, class V, class Hash = std::hash< K >, class Eq = std::equal_to< K >,
          bool DefaultKeyIsFree = false >
class FlatHashMap {
 public:
   using key_type = K;
   using mapped_type = V;
   using value_type = std::pair< K, V >;

   template< bool Const >
   class Iterator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using value_type = FlatHashMap::value_type;
      using difference_type = std::ptrdiff_t;
      using Owner = std::conditional_t< Const, const FlatHashMap, FlatHashMap >;
      using reference = std::conditional_t< Const, const value_type &, value_type & >;
      using pointer = std::conditional_t< Const, const value_type *, value_type * >;

      Iterator() = default;
      Iterator( Owner * map, std::size_t slot ) : map_( map ), slot_( slot ) { skipFree(); }
      operator Iterator< true >() const { return Iterator< true >( map_, slot_ ); }

      reference operator*() const { return map_->slots_[ slot_ ]; }
      pointer operator->() const { return &map_->slots_[ slot_ ]; }
      Iterator & operator++() {
         ++slot_;
         skipFree();
         return *this;
      }
      Iterator operator++( int ) {
         Iterator before = *this;
         ++*this;
         return before;
      }
      friend bool operator==( const Iterator & a, const Iterator & b ) {
         return a.slot_ == b.slot_;
      }
      std::size_t slot() const noexcept { return slot_; }

    private:
      void skipFree() {
         while ( slot_ < map_->slots_.size() && !map_->used( slot_ ) ) {
            ++slot_;
         }
      }
      Owner * map_ = nullptr;
      std::size_t slot_ = 0;
   };
   using iterator = Iterator< false >;
   using const_iterator = Iterator< true >;

   FlatHashMap() = default;

   std::size_t size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   iterator begin() noexcept { return iterator( this, 0 ); }
   iterator end() noexcept { return iterator( this, slots_.size() ); }
   const_iterator begin() const noexcept { return const_iterator( this, 0 ); }
   const_iterator end() const noexcept { return const_iterator( this, slots_.size() ); }

   const_iterator find( const K & key ) const {
      const std::size_t slot = slotOf( key );
      return slot == npos ? end() : const_iterator( this, slot );
   }
   iterator find( const K & key ) {
      const std::size_t slot = slotOf( key );
      return slot == npos ? end() : iterator( this, slot );
   }
   bool contains( const K & key ) const { return slotOf( key ) != npos; }
   // Starts loading what a lookup of the key reads first. A hint only.
   void prefetch( const K & key ) const noexcept {
      if ( size_ != 0 ) {
         const std::size_t slot = home( key );
         if constexpr ( !DefaultKeyIsFree ) {
            __builtin_prefetch( &used_[ slot ] );
         }
         __builtin_prefetch( &slots_[ slot ] );
      }
   }
   std::size_t count( const K & key ) const { return contains( key ) ? 1 : 0; }

   template< class... Args >
   std::pair< iterator, bool > try_emplace( const K & key, Args &&... args ) {
      if constexpr ( DefaultKeyIsFree ) {
         VEL_ASSERT( !Eq()( key, K() ), "the default key marks a free slot" );
      }
      growFor( size_ + 1 );
      std::size_t slot = home( key );
      for ( ; used( slot ); slot = next( slot ) ) {
         if ( Eq()( slots_[ slot ].first, key ) ) {
            return { iterator( this, slot ), false };
         }
      }
      slots_[ slot ] = value_type( std::piecewise_construct, std::forward_as_tuple( key ),
                                   std::forward_as_tuple( std::forward< Args >( args )... ) );
      markUsed( slot );
      ++size_;
      return { iterator( this, slot ), true };
   }
   std::pair< iterator, bool > insert_or_assign( const K & key, V value ) {
      auto [ at, inserted ] = try_emplace( key );
      at->second = std::move( value );
      return { at, inserted };
   }
   V & operator[]( const K & key ) { return try_emplace( key ).first->second; }

   std::size_t erase( const K & key ) {
      const std::size_t slot = slotOf( key );
      if ( slot == npos ) {
         return 0;
      }
      eraseSlot( slot );
      return 1;
   }
   // Returns nothing: the shift can move an element already walked past
   // into the freed slot, so a walk cannot go on from it.
   void erase( const_iterator at ) { eraseSlot( at.slot() ); }
   void clear() {
      slots_.clear();
      used_.clear();
      size_ = 0;
   }
   void reserve( std::size_t count ) { growFor( count ); }

   friend bool operator==( const FlatHashMap & a, const FlatHashMap & b ) {
      if ( a.size() != b.size() ) {
         return false;
      }
      for ( const auto & [ key, value ] : a ) {
         auto other = b.find( key );
         if ( other == b.end() || !( other->second == value ) ) {
            return false;
         }
      }
      return true;
   }

 private:
   static constexpr std::size_t npos = ~std::size_t( 0 );

   std::size_t home( const K & key ) const {
      // The high bits of the product mix every bit of the hash.
      const std::uint64_t mixed = std::uint64_t( Hash()( key ) ) * 0x9E3779B97F4A7C15ull;
      return static_cast< std::size_t >( mixed >> shift_ );
   }
   std::size_t next( std::size_t slot ) const { return ( slot + 1 ) & ( slots_.size() - 1 ); }
   bool used( std::size_t slot ) const {
      if constexpr ( DefaultKeyIsFree ) {
         return !Eq()( slots_[ slot ].first, K() );
      } else {
         return used_[ slot ] != 0;
      }
   }
   void markUsed( std::size_t slot ) {
      if constexpr ( !DefaultKeyIsFree ) {
         used_[ slot ] = 1;
      }
   }

   std::size_t slotOf( const K & key ) const {
      if ( size_ == 0 ) {
         return npos;
      }
      for ( std::size_t slot = home( key ); used( slot ); slot = next( slot ) ) {
         if ( Eq()( slots_[ slot ].first, key ) ) {
            return slot;
         }
      }
      return npos;
   }

   // Backward shift: each element of the run after the gap moves into it
   // unless its home lies cyclically within (gap, element].
   void eraseSlot( std::size_t gap ) {
      std::size_t slot = gap;
      for ( ;; ) {
         slot = next( slot );
         if ( !used( slot ) ) {
            break;
         }
         if ( !staysBehindGap( gap, slot, home( slots_[ slot ].first ) ) ) {
            slots_[ gap ] = std::move( slots_[ slot ] );
            gap = slot;
         }
      }
      slots_[ gap ] = value_type();
      if constexpr ( !DefaultKeyIsFree ) {
         used_[ gap ] = 0;
      }
      --size_;
   }

   // At most three quarters full, so probe runs stay short.
   void growFor( std::size_t count ) {
      if ( count * 4 <= slots_.size() * 3 ) {
         return;
      }
      std::size_t capacity = std::max< std::size_t >( 8, slots_.size() );
      while ( count * 4 > capacity * 3 ) {
         capacity *= 2;
      }
      std::vector< value_type > oldSlots( capacity );
      std::vector< std::uint8_t > oldUsed( DefaultKeyIsFree ? 0 : capacity, 0 );
      oldSlots.swap( slots_ );
      oldUsed.swap( used_ );
      shift_ = 64 - std::countr_zero( capacity );
      for ( std::size_t i = 0; i < oldSlots.size(); ++i ) {
         const bool wasUsed =
            DefaultKeyIsFree ? !Eq()( oldSlots[ i ].first, K() ) : oldUsed[ i ] != 0;
         if ( wasUsed ) {
            std::size_t slot = home( oldSlots[ i ].first );
            while ( used( slot ) ) {
               slot = next( slot );
            }
            slots_[ slot ] = std::move( oldSlots[ i ] );
            markUsed( slot );
         }
      }
   }

   std::vector< value_type > slots_;
   // Empty with DefaultKeyIsFree.
   std::vector< std::uint8_t > used_;
   std::size_t size_ = 0;
   unsigned shift_ = 64;
};

} // namespace Vel
