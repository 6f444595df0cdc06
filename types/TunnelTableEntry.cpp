#include "types/TunnelTableEntry.h"

#include <algorithm>
#include <sstream>

namespace Tunnel::TunnelTable {

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
   auto aEnd = a.endpoints_.begin() + a.endpointCount_;
   auto bEnd = b.endpoints_.begin() + b.endpointCount_;
   if ( !std::equal( a.endpoints_.begin(), aEnd, b.endpoints_.begin(), bEnd ) ) {
      return std::lexicographical_compare( a.endpoints_.begin(), aEnd, b.endpoints_.begin(),
                                           bEnd );
   }
   return a.instance_ < b.instance_;
}

bool operator==( const TunnelTableEntry & a, const TunnelTableEntry & b ) {
   return a.tunnelId_ == b.tunnelId_ && a.instance_ == b.instance_ && a.pref_ == b.pref_ &&
          std::equal( a.endpoints_.begin(), a.endpoints_.begin() + a.endpointCount_,
                      b.endpoints_.begin(), b.endpoints_.begin() + b.endpointCount_ );
}

std::string TunnelTableEntry::stringValue() const {
   std::ostringstream os;
   os << "Value('Tunnel::TunnelTable::TunnelTableEntry', ** {'tunnelId': " << tunnelId_
      << ", 'instance': " << instance_ << ", 'pref': " << pref_ << ", 'endpoints': [";
   for ( unsigned i = 0; i < endpointCount_; ++i ) {
      os << ( i ? ", " : "" ) << endpoints_[ i ];
   }
   os << "]})";
   return os.str();
}

} // namespace Tunnel::TunnelTable
