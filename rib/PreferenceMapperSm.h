#pragma once

#include <map>

#include "ingest/TableEntrySm.h"
#include "ingest/TunnelTableEntities.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "rib/TunnelTableEntryFilter.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelRibConfig.h"
#include "types/TunnelRibId.h"

namespace Tunnel::TunnelTable {

// Keeps one tunnel RIB's entry filter in step with the RIB's configuration
// and the protocol tables: every tunnel of a configured table has the
// preference it competes with, and a tunnel that goes leaves the filter.
class PreferenceMapperSm : public TableEntrySm {
 public:
   PreferenceMapperSm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                       Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                       Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                       Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                       TunnelRibId tunnelRibId );
   ~PreferenceMapperSm() override;

   TunnelRibId tunnelRibId() const noexcept { return tunnelRibId_; }
   const Vel::Ptr< TunnelTableEntryFilter > & tableEntryFilter() const noexcept {
      return tableEntryFilter_;
   }
   const Vel::PtrConst< TunnelRibConfig > & tunnelRibConfig() const noexcept {
      return tunnelRibConfig_;
   }

   void handleTunnelTableEntry( const TunnelId & tunnelId, TunnelTableIdentifier tunnelTableId,
                                bool isDeletion ) override;
   // Rewrites the preference of every tunnel of the table (of every
   // configured table).
   void handlePrefMapping( TunnelTableIdentifier table );
   void handlePrefMapping();
   // A table's configuration entry came, went or was replaced.
   void handleRibConfigEntry( TunnelTableIdentifier table );

 private:
   struct ConfigEntryReactors {
      Vel::Ptr< TunnelRibProtoEntry > entry;
      Vel::Reactor prefMapping;
      Vel::Reactor preference;
   };

   void handleInitialized();
   void configEntryReactorsIs( TunnelTableIdentifier table, Vel::Ptr< TunnelRibProtoEntry > entry );

   Vel::PtrConst< TunnelRibConfig > tunnelRibConfig_;
   Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter_;
   TunnelRibId tunnelRibId_;
   Vel::Reactor configReactor_;
   std::map< TunnelTableIdentifier, ConfigEntryReactors > configEntryReactors_;
};

Vel::Ptr< PreferenceMapperSm >
preferenceMapperSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                           Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                           Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                           Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                           TunnelRibId tunnelRibId );

} // namespace Tunnel::TunnelTable
