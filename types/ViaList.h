#pragma once

#include <algorithm>
#include <compare>
#include <cstdint>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "platform/vel/RangeException.h"

namespace Tunnel::TunnelTable {

// An index into the vias of one protocol table entry: 600 slots.
using ViaIndex = Vel::BoundedIndex< "ViaIndex", unsigned, 0u, 599u >;

constexpr unsigned maxViasPerTableEntry = ViaIndex::max + 1;

// The vias of a protocol table entry, at most 600, in the producer's order.
// Indexing is through ViaIndex, so a walk that steps to index 600 raises the
// ViaIndex range error.
template< class V >
class ViaList {
 public:
   ViaList() = default;
   ViaList( std::initializer_list< V > vias ) {
      for ( const V & v : vias ) {
         add( v );
      }
   }
   ViaList( const ViaList & other )
         : only_( other.only_ ), size_( other.size_ ),
           all_( other.all_ ? std::make_unique< std::vector< V > >( *other.all_ ) : nullptr ) {}
   ViaList( ViaList && other ) noexcept
         : only_( std::move( other.only_ ) ), size_( std::exchange( other.size_, 0 ) ),
           all_( std::move( other.all_ ) ) {}
   ViaList & operator=( const ViaList & other ) {
      if ( this != &other ) {
         *this = ViaList( other );
      }
      return *this;
   }
   ViaList & operator=( ViaList && other ) noexcept {
      only_ = std::move( other.only_ );
      size_ = std::exchange( other.size_, 0 );
      all_ = std::move( other.all_ );
      return *this;
   }

   unsigned size() const noexcept { return size_; }
   bool empty() const noexcept { return size_ == 0; }
   const V & operator[]( ViaIndex i ) const {
      if ( i.value() >= size_ ) {
         throw std::out_of_range( "ViaList index" );
      }
      return begin()[ i.value() ];
   }
   // Appends; the 601st via raises the ViaIndex range error.
   void add( const V & via ) {
      ViaIndex::of( size_ );
      if ( size_ == 0 ) {
         only_ = via;
      } else {
         if ( !all_ ) {
            all_ = std::make_unique< std::vector< V > >( 1, std::move( only_ ) );
            only_ = V();
         }
         all_->push_back( via );
      }
      ++size_;
   }
   void delAll() noexcept {
      only_ = V();
      all_.reset();
      size_ = 0;
   }

   const V * begin() const noexcept { return all_ ? all_->data() : &only_; }
   const V * end() const noexcept { return begin() + size_; }

   std::string stringValue() const {
      std::string s = "[";
      for ( const V & v : *this ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

   // Element by element, then the shorter list first.
   friend std::weak_ordering operator<=>( const ViaList & a, const ViaList & b ) {
      const unsigned common = std::min( a.size_, b.size_ );
      for ( unsigned i = 0; i < common; ++i ) {
         if ( a.begin()[ i ] < b.begin()[ i ] ) {
            return std::weak_ordering::less;
         }
         if ( b.begin()[ i ] < a.begin()[ i ] ) {
            return std::weak_ordering::greater;
         }
      }
      return a.size_ <=> b.size_;
   }
   friend bool operator==( const ViaList & a, const ViaList & b ) {
      return a.size_ == b.size_ && std::equal( a.begin(), a.end(), b.begin() );
   }

 private:
   // Nearly every tunnel has one via: it is kept in place, so copying an
   // entry allocates nothing. A second via moves them all to the heap.
   V only_{};
   std::uint32_t size_ = 0;
   std::unique_ptr< std::vector< V > > all_;
};

} // namespace Tunnel::TunnelTable
