#pragma once

#include "platform/statix/EntityManager.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelTableBase.h"
#include "types/TunnelTableInfo.h"

namespace Tunnel::TunnelTable {

// Mounts protocol tunnel tables as their descriptions say, through the
// entity manager, so that a producer and every reader of one path share one
// table.
class TunnelTableMounter {
 public:
   explicit TunnelTableMounter( Vel::Ptr< Statix::EntityManager > entityManager )
         : entityManager_( std::move( entityManager ) ) {}

   // The table at the description's path, of the type its identifier names;
   // null for an identifier that names no table type.
   Vel::PtrConst< TunnelTableBase > readMountTable( const TunnelTableInfo & info ) const;

   // The description under which a table of the given name is published
   // ("ldp", "greTunnelInterface", ...); the default one for an unknown name.
   static TunnelTableInfo tableInfo( const Vel::String & name );

 private:
   Vel::Ptr< Statix::EntityManager > entityManager_;
};

} // namespace Tunnel::TunnelTable
