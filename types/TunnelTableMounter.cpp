#include "types/TunnelTableMounter.h"

#include "types/ProtocolTunnelTable.h"

namespace Tunnel::TunnelTable {

namespace {

template< class... Table >
Vel::PtrConst< TunnelTableBase > mountTable( Statix::EntityManager & entityManager,
                                             const TunnelTableInfo & info,
                                             std::tuple< Table... > * ) {
   Vel::PtrConst< TunnelTableBase > mounted;
   // The first table whose id matches is mounted; the fold's value is unused.
   static_cast< void >( ( ( info.tunnelTableId() == Table::tableId &&
                            ( mounted = entityManager.mount< Table >( info.path() ), true ) ) ||
                          ... ) );
   return mounted;
}

template< class... Table >
TunnelTableInfo tableInfoOf( const Vel::String & name, std::tuple< Table... > * ) {
   TunnelTableInfo info;
   static_cast< void >(
      ( ( name == Table::tableName && ( info = TunnelTableInfo( name, Table::tableId ), true ) ) ||
        ... ) );
   return info;
}

} // namespace

Vel::PtrConst< TunnelTableBase >
TunnelTableMounter::readMountTable( const TunnelTableInfo & info ) const {
   return mountTable( *entityManager_, info, static_cast< ProtocolTunnelTables * >( nullptr ) );
}

TunnelTableInfo TunnelTableMounter::tableInfo( const Vel::String & name ) {
   return tableInfoOf( name, static_cast< ProtocolTunnelTables * >( nullptr ) );
}

} // namespace Tunnel::TunnelTable
