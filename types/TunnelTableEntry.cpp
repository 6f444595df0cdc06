#include "types/TunnelTableEntry.h"

#include <algorithm>
#include <sstream>

namespace Tunnel::TunnelTable {

const std::vector< Korvo::IpGenPrefix > & TunnelTableEntry::moreEndpoints() const noexcept {
   static const std::vector< Korvo::IpGenPrefix > none;
   return moreEndpoints_ ? *moreEndpoints_ : none;
}

bool operator<( const TunnelTableEntry & a, const TunnelTableEntry & b ) {
   if ( a.pref_ != b.pref_ ) {
      return a.pref_ < b.pref_;
   }
   auto defaultA = getDefaultPrefForType( a.tunnelId_.tunnelType() );
   auto defaultB = getDefaultPrefForType( b.tunnelId_.tunnelType() );
   if ( defaultA != defaultB ) {
      return defaultA < defaultB;
   }
   if ( a.tunnelId_ != b.tunnelId_ ) {
      return a.tunnelId_ < b.tunnelId_;
   }
   if ( a.firstEndpoint_ != b.firstEndpoint_ && a.endpointCount_ && b.endpointCount_ ) {
      return a.firstEndpoint_ < b.firstEndpoint_;
   }
   if ( a.endpointCount_ == 0 || b.endpointCount_ == 0 ) {
      if ( a.endpointCount_ != b.endpointCount_ ) {
         return a.endpointCount_ < b.endpointCount_;
      }
   } else if ( a.moreEndpoints() != b.moreEndpoints() ) {
      return a.moreEndpoints() < b.moreEndpoints();
   }
   return a.instance_ < b.instance_;
}

bool operator==( const TunnelTableEntry & a, const TunnelTableEntry & b ) {
   return a.tunnelId_ == b.tunnelId_ && a.instance_ == b.instance_ && a.pref_ == b.pref_ &&
          a.endpointCount_ == b.endpointCount_ && a.firstEndpoint_ == b.firstEndpoint_ &&
          a.moreEndpoints() == b.moreEndpoints();
}

std::string TunnelTableEntry::stringValue() const {
   std::ostringstream os;
   os << "Value('Tunnel::TunnelTable::TunnelTableEntry', ** {'tunnelId': " << tunnelId_
      << ", 'instance': " << instance_ << ", 'pref': " << pref_ << ", 'endpoints': [";
   for ( unsigned i = 0; i < endpointCount_; ++i ) {
      os << ( i ? ", " : "" ) << endpoint( i );
   }
   os << "]})";
   return os.str();
}

} // namespace Tunnel::TunnelTable
