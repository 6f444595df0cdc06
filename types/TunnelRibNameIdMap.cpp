#include "types/TunnelRibNameIdMap.h"

#include <set>

namespace Tunnel::TunnelTable {

const TunnelRibId * TunnelRibNameIdMap::wellKnownId( const Vel::Name & name ) {
   static const std::map< Vel::Name, TunnelRibId > wellKnown = {
      { systemTunnelRibName, TunnelRibId::systemTunnelRib },
      { systemColoredTunnelRibName, TunnelRibId::systemColoredTunnelRib },
      { ldpTunnelingRibName, TunnelRibId::ldpTunnelingRib },
      { igpShortcutRibName, TunnelRibId::igpShortcutRib },
   };
   auto it = wellKnown.find( name );
   return it == wellKnown.end() ? nullptr : &it->second;
}

TunnelRibId TunnelRibNameIdMap::tunnelRibNameIs( const Vel::Name & name ) {
   if ( auto it = ids_.find( name ); it != ids_.end() ) {
      return it->second;
   }
   if ( const TunnelRibId * fixed = wellKnownId( name ) ) {
      return ids_[ name ] = *fixed;
   }
   std::set< std::uint32_t > taken;
   for ( const auto & [ n, id ] : ids_ ) {
      taken.insert( id.value() );
   }
   std::uint32_t id = firstDynamicId;
   while ( taken.count( id ) ) {
      ++id;
   }
   return ids_[ name ] = TunnelRibId( id );
}

TunnelRibId TunnelRibNameIdMap::tunnelRibNameDel( const Vel::Name & name ) {
   auto it = ids_.find( name );
   if ( it == ids_.end() ) {
      return TunnelRibId();
   }
   TunnelRibId id = it->second;
   ids_.erase( it );
   return id;
}

TunnelRibId TunnelRibNameIdMap::tunnelRibId( const Vel::Name & name ) const {
   auto it = ids_.find( name );
   return it == ids_.end() ? TunnelRibId() : it->second;
}

} // namespace Tunnel::TunnelTable
