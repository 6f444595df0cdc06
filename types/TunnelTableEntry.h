#pragma once

#include <compare>
#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "platform/korvo/IpGenPrefix.h"
#include "platform/vel/RangeException.h"
#include "types/TunnelEntryPref.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// An index into the endpoints of one table entry: 16 slots.
using TunnelEndpointIndex = Vel::BoundedIndex< "TunnelEndpointIndex", unsigned, 0u, 15u >;

// The generic part of every protocol table entry, and the candidate record
// that a RIB builder orders per endpoint: the tunnel, its preference, the
// endpoints it serves and the producer's instance of the tunnel.
class TunnelTableEntry {
 public:
   static constexpr unsigned maxEndpoints = TunnelEndpointIndex::max + 1;

   TunnelTableEntry() = default;
   TunnelTableEntry( TunnelId tunnelId, TunnelEntryPref pref )
         : tunnelId_( tunnelId ), pref_( pref ) {}
   TunnelTableEntry( const TunnelTableEntry & other )
         : tunnelId_( other.tunnelId_ ), instance_( other.instance_ ), pref_( other.pref_ ),
           endpointCount_( other.endpointCount_ ), firstEndpoint_( other.firstEndpoint_ ) {
      copyMoreEndpoints( other );
   }
   TunnelTableEntry( TunnelTableEntry && other ) noexcept = default;
   TunnelTableEntry & operator=( const TunnelTableEntry & other ) {
      tunnelId_ = other.tunnelId_;
      instance_ = other.instance_;
      pref_ = other.pref_;
      endpointCount_ = other.endpointCount_;
      firstEndpoint_ = other.firstEndpoint_;
      copyMoreEndpoints( other );
      return *this;
   }
   TunnelTableEntry & operator=( TunnelTableEntry && other ) noexcept = default;

   TunnelId tunnelId() const noexcept { return tunnelId_; }
   void tunnelIdIs( TunnelId id ) noexcept { tunnelId_ = id; }
   TunnelEntryPref pref() const noexcept { return pref_; }
   void prefIs( TunnelEntryPref pref ) noexcept { pref_ = pref; }
   // The producer's instance of the tunnel (an LSP instance, a candidate
   // path); tells two publications of one tunnel id apart.
   std::uint64_t instance() const noexcept { return instance_; }
   void instanceIs( std::uint64_t instance ) noexcept { instance_ = instance; }

   unsigned endpointCount() const noexcept { return endpointCount_; }
   const Korvo::IpGenPrefix & endpoint( TunnelEndpointIndex i ) const {
      return i.value() == 0 ? firstEndpoint_ : ( *moreEndpoints_ )[ i.value() - 1 ];
   }
   // Appends an endpoint; the 17th raises the TunnelEndpointIndex range error.
   void endpointAdd( const Korvo::IpGenPrefix & tep ) {
      const unsigned index = TunnelEndpointIndex::of( endpointCount_ ).value();
      if ( index == 0 ) {
         firstEndpoint_ = tep;
      } else {
         if ( !moreEndpoints_ ) {
            moreEndpoints_ = std::make_unique< std::vector< Korvo::IpGenPrefix > >();
         }
         moreEndpoints_->push_back( tep );
      }
      ++endpointCount_;
   }
   void endpointDelAll() noexcept {
      firstEndpoint_ = Korvo::IpGenPrefix();
      moreEndpoints_.reset();
      endpointCount_ = 0;
   }

   // The candidate order: preference, the type's default preference, tunnel
   // id, endpoint list (lexicographic, a prefix first), instance.
   friend bool operator<( const TunnelTableEntry & a, const TunnelTableEntry & b );
   friend bool operator==( const TunnelTableEntry & a, const TunnelTableEntry & b );

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const TunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   // The endpoints after the first; empty when there are none.
   const std::vector< Korvo::IpGenPrefix > & moreEndpoints() const noexcept;
   void copyMoreEndpoints( const TunnelTableEntry & other ) {
      if ( other.moreEndpoints_ ) {
         moreEndpoints_ =
            std::make_unique< std::vector< Korvo::IpGenPrefix > >( *other.moreEndpoints_ );
      } else {
         moreEndpoints_.reset();
      }
   }

   TunnelId tunnelId_;
   std::uint64_t instance_ = 0;
   // Nearly every tunnel serves one endpoint: it is kept inline, the rest
   // (up to maxEndpoints in all) on the heap, absent until a second comes.
   std::unique_ptr< std::vector< Korvo::IpGenPrefix > > moreEndpoints_;
   TunnelEntryPref pref_;
   std::uint8_t endpointCount_ = 0;
   Korvo::IpGenPrefix firstEndpoint_;
};

static_assert( sizeof( TunnelTableEntry ) == 48, "Every table entry holds one" );

} // namespace Tunnel::TunnelTable
