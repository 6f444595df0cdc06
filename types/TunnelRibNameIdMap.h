#pragma once

#include <cstdint>
#include <map>
#include <set>

#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelRibId.h"

namespace Tunnel::TunnelTable {

// The persistent map from tunnel RIB name to TunnelRibId, shared with other
// agents. Well-known names keep fixed ids; any other name gets the lowest id
// above the well-known ones that no name holds, so a released id is reused.
class TunnelRibNameIdMap : public Vel::PtrInterface {
 public:
   static constexpr const char * systemTunnelRibName = "system-tunnel-rib";
   static constexpr const char * systemColoredTunnelRibName = "system-colored-tunnel-rib";
   static constexpr const char * ldpTunnelingRibName = "system-ldp-tunneling-rib";
   static constexpr const char * igpShortcutRibName = "system-igp-shortcut-rib";
   static constexpr std::uint32_t firstDynamicId = 4;

   // The name's id, assigning one when the name has none.
   TunnelRibId tunnelRibNameIs( const Vel::Name & name );
   // Removes the name and returns the id it had (0 when it had none).
   TunnelRibId tunnelRibNameDel( const Vel::Name & name );
   bool tunnelRibNameHas( const Vel::Name & name ) const { return ids_.count( name ) != 0; }
   TunnelRibId tunnelRibId( const Vel::Name & name ) const;

   const std::map< Vel::Name, TunnelRibId > & names() const noexcept { return ids_; }
   std::size_t size() const noexcept { return ids_.size(); }

   // The fixed id of a well-known name, or nothing.
   static const TunnelRibId * wellKnownId( const Vel::Name & name );

 private:
   std::map< Vel::Name, TunnelRibId > ids_;
   // Dynamic ids below nextDynamicId_ are held by a name or released; the
   // released ones are handed out again, lowest first.
   std::uint32_t nextDynamicId_ = firstDynamicId;
   std::set< std::uint32_t > releasedIds_;
};

} // namespace Tunnel::TunnelTable
