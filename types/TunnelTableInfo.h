#pragma once

#include <ostream>
#include <string>

#include "platform/vel/Name.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

// Where and how a protocol tunnel table is mounted: its name, its path
// ("tunnel/table/" followed by the name) and the identifier of the table,
// which tells the mounter the table's type. The default description (empty
// name, path "tunnel/table/") stands for "no table".
class TunnelTableInfo {
 public:
   static constexpr const char * pathPrefix = "tunnel/table/";

   TunnelTableInfo() = default;
   TunnelTableInfo( Vel::String name, TunnelTableIdentifier tunnelTableId )
         : name_( std::move( name ) ), path_( pathPrefix + name_ ),
           tunnelTableId_( tunnelTableId ) {}

   const Vel::String & name() const noexcept { return name_; }
   const Vel::String & path() const noexcept { return path_; }
   TunnelTableIdentifier tunnelTableId() const noexcept { return tunnelTableId_; }

   friend bool operator==( const TunnelTableInfo &, const TunnelTableInfo & ) = default;

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const TunnelTableInfo & i ) {
      return os << i.stringValue();
   }

 private:
   Vel::String name_;
   Vel::String path_ = pathPrefix;
   TunnelTableIdentifier tunnelTableId_ = TunnelTableIdentifier::invalidTable;
};

} // namespace Tunnel::TunnelTable
