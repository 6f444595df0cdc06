#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <vector>

#include "platform/vel/RangeException.h"
#include "types/EncapId.h"
#include "types/Via.h"

namespace Tunnel::TunnelFib {

// An index into the primary or the backup vias of one tunnel FIB entry.
using TunnelViaIndex = Vel::BoundedIndex< "TunnelViaIndex", unsigned, 0u, 599u >;

// One programmed via of a tunnel: where the packet leaves and the published
// encapsulation it gets there.
class TunnelVia {
 public:
   TunnelVia() = default;
   TunnelVia( TunnelTable::Via via, EncapId encapId )
         : via_( std::move( via ) ), encapId_( encapId ) {}

   const TunnelTable::Via & via() const noexcept { return via_; }
   const Korvo::IpGenAddr & hop() const noexcept { return via_.hop(); }
   const Korvo::IntfId & intfId() const noexcept { return via_.intfId(); }
   EncapId encapId() const noexcept { return encapId_; }

   std::string stringValue() const {
      return "Value('Tunnel::TunnelFib::TunnelVia', ** {'via': " + via_.stringValue() +
             ", 'encapId': " + encapId_.stringValue() + "})";
   }

   friend auto operator<=>( const TunnelVia &, const TunnelVia & ) = default;
   friend bool operator==( const TunnelVia &, const TunnelVia & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const TunnelVia & v ) {
      return os << v.stringValue();
   }

 private:
   TunnelTable::Via via_;
   EncapId encapId_;
};

// Every FIB entry holds two (the first primary and the first backup via).
static_assert( sizeof( TunnelVia ) == 36, "TunnelVia is held per tunnel: grow it on purpose" );

// The vias of one list of a FIB entry, at most 600. A list of up to
// InlineVias (0 or 1) vias keeps them inside the entry; a longer one moves
// whole to a heap array behind one pointer, so the many entries with one
// primary via and no backups carry no vector they do not use.
template< std::size_t InlineVias >
class TunnelViaListOf {
   static_assert( InlineVias <= 1, "one inline via at most" );

 public:
   static constexpr unsigned maxSize = TunnelViaIndex::max + 1;
   using const_iterator = const TunnelVia *;

   TunnelViaListOf() = default;
   TunnelViaListOf( const TunnelViaListOf & other )
         : inline_( other.inline_ ), inlineSize_( other.inlineSize_ ),
           spilled_( other.spilled_ ? std::make_unique< Spilled >( *other.spilled_ ) : nullptr ) {}
   TunnelViaListOf( TunnelViaListOf && ) noexcept = default;
   TunnelViaListOf & operator=( const TunnelViaListOf & other ) {
      if ( this != &other ) {
         *this = TunnelViaListOf( other );
      }
      return *this;
   }
   TunnelViaListOf & operator=( TunnelViaListOf && ) noexcept = default;

   unsigned size() const noexcept {
      if ( spilled_ ) {
         return static_cast< unsigned >( spilled_->size() );
      }
      if constexpr ( InlineVias > 0 ) {
         return inlineSize_;
      } else {
         return 0;
      }
   }
   bool empty() const noexcept { return size() == 0; }
   // An index past the list raises the TunnelViaIndex range error.
   const TunnelVia & operator[]( TunnelViaIndex i ) const {
      if ( i.value() >= size() ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      return data()[ i.value() ];
   }
   // Sets the via at an index up to the current size; at the size it appends.
   void viaIs( TunnelViaIndex i, const TunnelVia & via ) {
      const unsigned count = size();
      if ( i.value() > count ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      if ( i.value() < count ) {
         mutableData()[ i.value() ] = via;
         return;
      }
      if constexpr ( InlineVias > 0 ) {
         if ( !spilled_ && inlineSize_ == 0 ) {
            inline_ = via;
            inlineSize_ = 1;
            return;
         }
      }
      spill( count + 1 );
      spilled_->push_back( via );
   }
   // Appends; the 601st via raises the TunnelViaIndex range error.
   void add( const TunnelVia & via ) { viaIs( TunnelViaIndex::of( size() ), via ); }
   void delAll() noexcept {
      spilled_.reset();
      if constexpr ( InlineVias > 0 ) {
         inline_ = TunnelVia();
         inlineSize_ = 0;
      }
   }
   void reserve( unsigned count ) {
      if ( count > InlineVias ) {
         spill( count );
      }
   }

   const TunnelVia * data() const noexcept {
      if ( spilled_ ) {
         return spilled_->data();
      }
      if constexpr ( InlineVias > 0 ) {
         return &inline_;
      } else {
         return nullptr;
      }
   }
   const_iterator begin() const noexcept { return data(); }
   const_iterator end() const noexcept { return data() + size(); }

   friend bool operator==( const TunnelViaListOf & a, const TunnelViaListOf & b ) {
      return std::equal( a.begin(), a.end(), b.begin(), b.end() );
   }

   std::string stringValue() const {
      std::string s = "[";
      for ( const TunnelVia & v : *this ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

 private:
   using Spilled = std::vector< TunnelVia >;
   struct None {
      friend bool operator==( None, None ) noexcept { return true; }
   };

   TunnelVia * mutableData() noexcept { return const_cast< TunnelVia * >( data() ); }
   // Moves the inline via, if any, to the heap, with room for count.
   void spill( unsigned count ) {
      if ( !spilled_ ) {
         spilled_ = std::make_unique< Spilled >();
         spilled_->reserve( std::max( count, 4u ) );
         if constexpr ( InlineVias > 0 ) {
            if ( inlineSize_ > 0 ) {
               spilled_->push_back( inline_ );
               inline_ = TunnelVia();
               inlineSize_ = 0;
            }
         }
      } else {
         spilled_->reserve( count );
      }
   }

   [[no_unique_address]] std::conditional_t< InlineVias == 0, None, TunnelVia > inline_{};
   [[no_unique_address]] std::conditional_t< InlineVias == 0, None, std::uint8_t > inlineSize_{};
   // Every via while the list is longer than its inline room.
   std::unique_ptr< Spilled > spilled_;
};

// Nearly every tunnel has one primary via: it lives inside the entry.
using TunnelViaList = TunnelViaListOf< 1 >;
// Few tunnels have backups: an empty backup list is one null pointer.
using BackupTunnelViaList = TunnelViaListOf< 0 >;

} // namespace Tunnel::TunnelFib
