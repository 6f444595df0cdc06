#pragma once

#include <compare>
#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>
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
static_assert( sizeof( TunnelVia ) == 80, "TunnelVia is held per tunnel: grow it on purpose" );

// The vias of one list of a FIB entry, at most 600. Nearly every tunnel has
// one via, so the first lives inside the entry and only further vias take
// heap memory.
class TunnelViaList {
 public:
   static constexpr unsigned maxSize = TunnelViaIndex::max + 1;

   class const_iterator {
    public:
      using iterator_category = std::forward_iterator_tag;
      using value_type = TunnelVia;
      using difference_type = std::ptrdiff_t;
      using pointer = const TunnelVia *;
      using reference = const TunnelVia &;

      const_iterator() = default;
      const_iterator( const TunnelViaList * list, unsigned index ) : list_( list ), index_( index ) {}
      reference operator*() const { return list_->at( index_ ); }
      pointer operator->() const { return &list_->at( index_ ); }
      const_iterator & operator++() {
         ++index_;
         return *this;
      }
      const_iterator operator++( int ) {
         const_iterator before = *this;
         ++index_;
         return before;
      }
      friend bool operator==( const const_iterator &, const const_iterator & ) = default;

    private:
      const TunnelViaList * list_ = nullptr;
      unsigned index_ = 0;
   };

   unsigned size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   // An index past the list raises the TunnelViaIndex range error.
   const TunnelVia & operator[]( TunnelViaIndex i ) const {
      if ( i.value() >= size_ ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      return at( i.value() );
   }
   // Sets the via at an index up to the current size; at the size it appends.
   void viaIs( TunnelViaIndex i, const TunnelVia & via ) {
      if ( i.value() > size_ ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      if ( i.value() == size_ ) {
         if ( size_ > 0 ) {
            more_.push_back( via );
         } else {
            first_ = via;
         }
         ++size_;
      } else {
         mutableAt( i.value() ) = via;
      }
   }
   // Appends; the 601st via raises the TunnelViaIndex range error.
   void add( const TunnelVia & via ) { viaIs( TunnelViaIndex::of( size_ ), via ); }
   void delAll() noexcept {
      first_ = TunnelVia();
      more_.clear();
      size_ = 0;
   }
   void reserve( unsigned count ) {
      if ( count > 1 ) {
         more_.reserve( count - 1 );
      }
   }

   const_iterator begin() const noexcept { return const_iterator( this, 0 ); }
   const_iterator end() const noexcept { return const_iterator( this, size_ ); }

   friend bool operator==( const TunnelViaList & a, const TunnelViaList & b ) {
      return a.size_ == b.size_ && a.first_ == b.first_ && a.more_ == b.more_;
   }

   std::string stringValue() const {
      std::string s = "[";
      for ( const TunnelVia & v : *this ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

 private:
   const TunnelVia & at( unsigned i ) const noexcept { return i == 0 ? first_ : more_[ i - 1 ]; }
   TunnelVia & mutableAt( unsigned i ) noexcept { return i == 0 ? first_ : more_[ i - 1 ]; }

   TunnelVia first_;
   std::vector< TunnelVia > more_;
   unsigned size_ = 0;
};

} // namespace Tunnel::TunnelFib
