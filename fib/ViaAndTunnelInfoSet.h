#pragma once

#include <algorithm>
#include <string>

#include "fib/ViaAndTunnelInfo.h"
#include "platform/vel/InlineVector.h"

namespace Tunnel::TunnelTable {

// A set of via records in record order, kept in one sorted array: an entry's
// vias are few, built once and walked in order, so the first lives inline,
// the rest share one allocation, and iteration order is the same however
// they were inserted.
class ViaAndTunnelInfoSet {
 public:
   using Records = Vel::InlineVector< ViaAndTunnelInfo, 1 >;
   using const_iterator = Records::const_iterator;

   // False when an identical record was already there.
   bool insert( const ViaAndTunnelInfo & info ) {
      auto at = std::lower_bound( records_.begin(), records_.end(), info );
      if ( at != records_.end() && *at == info ) {
         return false;
      }
      records_.insert( at, info );
      return true;
   }
   bool erase( const ViaAndTunnelInfo & info ) {
      auto at = std::lower_bound( records_.begin(), records_.end(), info );
      if ( at == records_.end() || *at != info ) {
         return false;
      }
      records_.erase( at );
      return true;
   }
   bool has( const ViaAndTunnelInfo & info ) const {
      return std::binary_search( records_.begin(), records_.end(), info );
   }
   void clear() noexcept { records_.clear(); }
   void reserve( std::size_t count ) { records_.reserve( count ); }

   std::size_t size() const noexcept { return records_.size(); }
   bool empty() const noexcept { return records_.empty(); }
   const_iterator begin() const noexcept { return records_.begin(); }
   const_iterator end() const noexcept { return records_.end(); }

   friend bool operator==( const ViaAndTunnelInfoSet &, const ViaAndTunnelInfoSet & ) = default;

   std::string stringValue() const {
      std::string s = "[";
      for ( const ViaAndTunnelInfo & v : records_ ) {
         s += ( s.size() > 1 ? ", " : "" ) + v.stringValue();
      }
      return s + "]";
   }

 private:
   Records records_;
};

} // namespace Tunnel::TunnelTable
