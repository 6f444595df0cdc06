#pragma once

#include "ingest/InputProcessedSm.h"
#include "ingest/ProtocolTunnelSm.h"
#include "ingest/TunnelTableEntities.h"
#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "types/InputProcessedStatus.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelId.h"
#include "types/TunnelIdColl.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

// The base of every consumer of tunnel table entries. It keeps one protocol
// reactor per table filed in the TunnelTableEntities and funnels every
// reported change into handleTunnelTableEntry; with an input status present
// it tracks graceful restart of the tables that support it.
class TableEntrySm : public Vel::PtrInterface {
 public:
   using TunnelSmColl = Vel::OrderedCollection< Vel::String, Vel::Ptr< ProtocolTunnelSm > >;
   using TunnelTypeToTunnelIdColl = Vel::OrderedCollection< Vel::String, TunnelTableIdentifier >;

   ~TableEntrySm() override;

   const Vel::PtrConst< TunnelTableEntities > & tunnelTableEntities() const noexcept {
      return tunnelTableEntities_;
   }
   const Vel::PtrConst< TunnelIdColl > & unprogrammableTunnelId() const noexcept {
      return unprogrammableTunnelId_;
   }

   const TunnelSmColl & tunnelSm() const noexcept { return tunnelSm_; }
   Vel::Ptr< ProtocolTunnelSm > tunnelSm( const Vel::String & name ) const {
      return tunnelSm_.get( name );
   }
   void tunnelSmIs( const Vel::String & name, Vel::Ptr< ProtocolTunnelSm > sm ) {
      tunnelSm_.set( name, std::move( sm ) );
   }
   void tunnelSmDel( const Vel::String & name ) { tunnelSm_.del( name ); }
   void tunnelSmDelAll() { tunnelSm_.delAll(); }

   // The tables whose GR is tracked, by name.
   const TunnelTypeToTunnelIdColl & tunnelTypeToTunnelIdMap() const noexcept {
      return tunnelTypeToTunnelIdMap_;
   }
   void tunnelTypeToTunnelIdMapIs( const Vel::String & name, TunnelTableIdentifier id ) {
      tunnelTypeToTunnelIdMap_.set( name, id );
   }
   void tunnelTypeToTunnelIdMapDel( const Vel::String & name ) {
      tunnelTypeToTunnelIdMap_.del( name );
   }
   void tunnelTypeToTunnelIdMapDelAll() { tunnelTypeToTunnelIdMap_.delAll(); }

   // Setting the input status also takes its tunnel GR context and creates
   // the inputProcessedSm that decides when tracked tables are quiesced. A
   // change of its backlogsEmpty runs markGrStatusBacklogEmpty().
   const Vel::Ptr< Gr::InputProcessedStatus > & inputProcessedStatus() const noexcept {
      return inputProcessedStatus_;
   }
   void inputProcessedStatusIs( Vel::Ptr< Gr::InputProcessedStatus > status );
   void inputProcessedStatusDel();
   // A change of its restartComplete runs maybeMarkInputProcessedBacklogEmpty().
   const Vel::PtrConst< Gr::TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }
   void tunnelGrContextIs( Vel::PtrConst< Gr::TunnelGrContext > context );
   void tunnelGrContextDel() { tunnelGrContextIs( nullptr ); }
   const Vel::Ptr< Gr::InputProcessedSm > & inputProcessedSm() const noexcept {
      return inputProcessedSm_;
   }
   // Made over the current inputProcessedStatus, which must exist.
   void inputProcessedSmIs();
   void inputProcessedSmDel() { inputProcessedSm_ = nullptr; }

   // The one callback of every protocol reactor.
   virtual void handleTunnelTableEntry( const TunnelId & tunnelId,
                                        TunnelTableIdentifier tunnelTableId, bool removed ) = 0;
   virtual void handleUnprogrammableEntry( const TunnelId & tunnelId );
   virtual void initializeInputProcessedSm();
   virtual void maybeMarkInputProcessedBacklogEmpty();
   virtual void markGrStatusBacklogEmpty();

   // A table was filed, replaced or removed under name.
   void handleTunnelTableEntity( const Vel::String & name );
   // Every table filed now; the owner runs it once it is initialized.
   void handleTunnelTableEntity();

 protected:
   TableEntrySm( Vel::PtrConst< TunnelTableEntities > tunnelTableEntities,
                 Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId );

 private:
   Vel::PtrConst< TunnelTableEntities > tunnelTableEntities_;
   Vel::Reactor tunnelTableReactor_;
   Vel::PtrConst< TunnelIdColl > unprogrammableTunnelId_;
   Vel::Reactor unprogrammableTunnelIdReactor_;
   TunnelSmColl tunnelSm_;
   TunnelTypeToTunnelIdColl tunnelTypeToTunnelIdMap_;
   Vel::Ptr< Gr::InputProcessedStatus > inputProcessedStatus_;
   Vel::Reactor inputProcessedStatusReactor_;
   Vel::PtrConst< Gr::TunnelGrContext > tunnelGrContext_;
   Vel::Reactor tunnelGrContextReactor_;
   Vel::Ptr< Gr::InputProcessedSm > inputProcessedSm_;
};

} // namespace Tunnel::TunnelTable
