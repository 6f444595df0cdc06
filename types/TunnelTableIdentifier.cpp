#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

std::ostream & operator<<( std::ostream & os, TunnelTableIdentifier id ) {
   return os << static_cast< std::uint32_t >( id );
}

} // namespace Tunnel::TunnelTable
