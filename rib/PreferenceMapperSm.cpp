#include "rib/PreferenceMapperSm.h"

#include "platform/vel/Trace.h"
#include "rib/EntryFilterUpdate.h"

namespace Tunnel::TunnelTable {

PreferenceMapperSm::PreferenceMapperSm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                                        Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                                        Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                                        Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                                        TunnelRibId tunnelRibId )
      : TableEntrySm( std::move( tunnelTableEntities ), std::move( tunnelIdColl ) ),
        tunnelRibConfig_( std::move( tunnelRibConfig ) ),
        tableEntryFilter_( std::move( tableEntryFilter ) ), tunnelRibId_( tunnelRibId ) {
   configReactor_ = tunnelRibConfig_->entry().react(
      [ this ]( const TunnelTableIdentifier & table ) { handleRibConfigEntry( table ); } );
   handleInitialized();
}

PreferenceMapperSm::~PreferenceMapperSm() {
   configReactor_.zombieIs();
   for ( auto & [ table, reactors ] : configEntryReactors_ ) {
      reactors.prefMapping.zombieIs();
      reactors.preference.zombieIs();
   }
}

void PreferenceMapperSm::handleInitialized() {
   VEL_TRACE( 8 );
   for ( const auto & [ table, entry ] : tunnelRibConfig_->entry() ) {
      configEntryReactorsIs( table, entry );
   }
   // Reports every tunnel of every mounted table, which fills the filter.
   handleTunnelTableEntity();
}

void PreferenceMapperSm::configEntryReactorsIs( TunnelTableIdentifier table,
                                                Vel::Ptr< TunnelRibProtoEntry > entry ) {
   ConfigEntryReactors & reactors = configEntryReactors_[ table ];
   reactors.entry = entry;
   reactors.prefMapping =
      entry->prefMapping().react( [ this, table ] { handlePrefMapping( table ); } );
   // The configured preference only matters while it is mapped, but then a
   // new value must reach every tunnel of the table as well.
   reactors.preference = entry->preference().react( [ this, table ] {
      auto current = tunnelRibConfig_->entry( table );
      if ( current && current->prefMapping()() ) {
         handlePrefMapping( table );
      }
   } );
}

void PreferenceMapperSm::handleRibConfigEntry( TunnelTableIdentifier table ) {
   auto entry = tunnelRibConfig_->entry( table );
   if ( !entry ) {
      configEntryReactors_.erase( table );
      return;
   }
   auto known = configEntryReactors_.find( table );
   if ( known != configEntryReactors_.end() && known->second.entry == entry ) {
      return;
   }
   configEntryReactorsIs( table, entry );
   handlePrefMapping( table );
}

void PreferenceMapperSm::handleTunnelTableEntry( const TunnelId & tunnelId,
                                                 TunnelTableIdentifier tunnelTableId,
                                                 bool isDeletion ) {
   VEL_TRACE( 8 );
   auto protoEntry = tunnelRibConfig_->entry( tunnelTableId );
   // A tunnel that goes leaves the filter even when its table is no longer
   // configured: the table's reactor reports its tunnels gone only after the
   // configuration entry has been removed.
   if ( !protoEntry && !isDeletion ) {
      return;
   }
   handleConfigPreferences( tunnelRibId_, tunnelTableId, tunnelId, *tableEntryFilter_,
                            tunnelTableEntities().get(), protoEntry.get(), isDeletion );
}

void PreferenceMapperSm::handlePrefMapping( TunnelTableIdentifier table ) {
   VEL_TRACE( 8, " tableId: ", table );
   auto protoEntry = tunnelRibConfig_->entry( table );
   if ( !protoEntry ) {
      return;
   }
   // A configured table that is not mounted has no tunnels to rewrite.
   auto name = TableIdToNameMap.find( table );
   if ( name == TableIdToNameMap.end() || !tunnelTableEntities() ||
        !tunnelTableEntities()->tunnelTableHas( name->second ) ) {
      return;
   }
   handleConfigPreferences( tunnelRibId_, table, TunnelId(), *tableEntryFilter_,
                            tunnelTableEntities().get(), protoEntry.get(), false );
}

void PreferenceMapperSm::handlePrefMapping() {
   VEL_TRACE( 8 );
   tunnelRibConfig_->entry().forEachKey(
      [ this ]( const TunnelTableIdentifier & table ) { handlePrefMapping( table ); } );
}

Vel::Ptr< PreferenceMapperSm >
preferenceMapperSmFactory( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                           Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                           Vel::PtrConst< TunnelRibConfig > tunnelRibConfig,
                           Vel::Ptr< TunnelTableEntryFilter > tableEntryFilter,
                           TunnelRibId tunnelRibId ) {
   return Vel::make< PreferenceMapperSm >( std::move( tunnelTableEntities ),
                                           std::move( tunnelIdColl ),
                                           std::move( tunnelRibConfig ),
                                           std::move( tableEntryFilter ), tunnelRibId );
}

} // namespace Tunnel::TunnelTable
