#pragma once

#include <compare>
#include <cstddef>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "platform/vel/InlineVector.h"
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
static_assert( sizeof( TunnelVia ) == 56, "TunnelVia is held per tunnel: grow it on purpose" );

// The vias of one list of a FIB entry, at most 600, the first InlineVias of
// them inside the entry and the rest on the heap.
template< std::size_t InlineVias >
class TunnelViaListOf {
 public:
   static constexpr unsigned maxSize = TunnelViaIndex::max + 1;
   using const_iterator = const TunnelVia *;

   unsigned size() const noexcept { return static_cast< unsigned >( vias_.size() ); }
   bool empty() const noexcept { return vias_.empty(); }
   // An index past the list raises the TunnelViaIndex range error.
   const TunnelVia & operator[]( TunnelViaIndex i ) const {
      if ( i.value() >= size() ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      return vias_[ i.value() ];
   }
   // Sets the via at an index up to the current size; at the size it appends.
   void viaIs( TunnelViaIndex i, const TunnelVia & via ) {
      if ( i.value() > size() ) {
         throw Vel::RangeException( TunnelViaIndex::rangeText() );
      }
      if ( i.value() == size() ) {
         vias_.push_back( via );
      } else {
         vias_[ i.value() ] = via;
      }
   }
   // Appends; the 601st via raises the TunnelViaIndex range error.
   void add( const TunnelVia & via ) { viaIs( TunnelViaIndex::of( size() ), via ); }
   void delAll() noexcept { vias_.clear(); }
   void reserve( unsigned count ) { vias_.reserve( count ); }

   const_iterator begin() const noexcept { return vias_.begin(); }
   const_iterator end() const noexcept { return vias_.end(); }
   const TunnelVia * data() const noexcept { return vias_.data(); }

   friend bool operator==( const TunnelViaListOf & a, const TunnelViaListOf & b ) {
      return a.vias_ == b.vias_;
   }

   std::string stringValue() const {
      std::string s = "[";
      for ( const TunnelVia & v : *this ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

 private:
   Vel::InlineVector< TunnelVia, InlineVias > vias_;
};

// Nearly every tunnel has one primary via: it lives inside the entry.
using TunnelViaList = TunnelViaListOf< 1 >;
// Few tunnels have backups: an empty backup list is only its heap handle.
using BackupTunnelViaList = TunnelViaListOf< 0 >;

} // namespace Tunnel::TunnelFib
