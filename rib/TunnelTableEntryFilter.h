#pragma once

#include <cstdint>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// The tunnels that may take part in one tunnel RIB, each with the preference
// it competes with. Written by the RIB's preference mapper, read by its
// builder; a reactor is told every id whose preference appears, changes or
// goes.
class TunnelTableEntryFilter : public Vel::PtrInterface {
 public:
   using PreferenceCollection =
      Vel::Collection< TunnelId, std::uint32_t, TunnelIdHashMap< std::uint32_t > >;

   const PreferenceCollection & preference() const noexcept { return preference_; }
   // The id's preference; 0 when the filter holds none.
   std::uint32_t preference( TunnelId id ) const { return preference_.get( id ); }
   bool preferenceHas( TunnelId id ) const { return preference_.has( id ); }
   // Rewriting an id with the preference it already has changes nothing and
   // notifies nobody.
   void preferenceIs( TunnelId id, std::uint32_t pref );
   void preferenceDel( TunnelId id ) { preference_.del( id ); }
   void preferenceDelAll() { preference_.delAll(); }

 private:
   PreferenceCollection preference_;
};

Vel::Ptr< TunnelTableEntryFilter > tunnelTableEntryFilterFactory();

} // namespace Tunnel::TunnelTable
