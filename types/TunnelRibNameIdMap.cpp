#include "types/TunnelRibNameIdMap.h"

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
   std::uint32_t id = nextDynamicId_;
   if ( releasedIds_.empty() ) {
      ++nextDynamicId_;
   } else {
      id = *releasedIds_.begin();
      releasedIds_.erase( releasedIds_.begin() );
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
   if ( id.value() >= firstDynamicId ) {
      releasedIds_.insert( id.value() );
   }
   return id;
}

TunnelRibId TunnelRibNameIdMap::tunnelRibId( const Vel::Name & name ) const {
   auto it = ids_.find( name );
   return it == ids_.end() ? TunnelRibId() : it->second;
}

} // namespace Tunnel::TunnelTable
