#include "types/TunnelTableInfo.h"

#include <sstream>

namespace Tunnel::TunnelTable {

std::string TunnelTableInfo::stringValue() const {
   std::ostringstream os;
   os << "Value('Tunnel::TunnelTable::TunnelTableInfo', ** {'name': '" << name_ << "', 'path': '"
      << path_ << "', 'tunnelTableId': " << tunnelTableId_ << "})";
   return os.str();
}

} // namespace Tunnel::TunnelTable
