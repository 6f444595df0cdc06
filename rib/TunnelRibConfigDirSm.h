#pragma once

#include "platform/mox/DumpContext.h"
#include "platform/mox/TaskScheduler.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "platform/vel/Reactor.h"
#include "rib/TunnelRibSm.h"
#include "types/BgpLuConvergence.h"
#include "types/ProtocolTunnelRibCollection.h"
#include "types/TunnelConvergence.h"
#include "types/TunnelIdColl.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"
#include "types/TunnelRibConfigDir.h"
#include "types/TunnelRibGrStatusContainer.h"
#include "types/TunnelRibNameIdMap.h"
#include "types/TunnelTableInfoCollection.h"

namespace Tunnel::TunnelTable {

// The top of the tunnel RIB machinery: keeps exactly one TunnelRibSm alive
// per configured tunnel RIB, with its status table mounted.
class TunnelRibConfigDirSm : public Vel::PtrInterface {
 public:
   static constexpr const char * statusPathPrefix = "tunnel/tunnelRibs/status/";
   static constexpr const char * coloredTunnelRibTypeName =
      "Tunnel::TunnelTable::ColoredTunnelRib";

   using TunnelRibSmCollection = Vel::OrderedCollection< TunnelRibId, Vel::Ptr< TunnelRibSm > >;

   TunnelRibConfigDirSm( Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
                         Vel::Ptr< TunnelConvergence > tunnelConvergence,
                         Vel::PtrConst< TunnelRibConfigDir > tunnelRibConfigDir,
                         Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
                         Vel::Ptr< Statix::EntityManager > entityManager,
                         Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
                         Vel::PtrConst< TunnelIdColl > tunnelIdColl,
                         Vel::Ptr< TunnelRibNameIdMap > tunnelRibIdMap,
                         Vel::Ptr< Mox::TaskScheduler > scheduler,
                         Vel::Ptr< Gr::TunnelRibGrStatusContainer > tunnelRibGrStatusContainer );
   ~TunnelRibConfigDirSm() override;

   void handleInitialized();
   void handleRibConfig();
   void handleRibConfig( Vel::Name name );
   void createTunnelRibSm( const Vel::PtrConst< TunnelRibConfig > & tunnelRibConfig,
                           const Vel::Ptr< TunnelRibBase > & tunnelRib );
   void deleteTunnelRib( Vel::Name name );
   void removeStaleIdMapEntries();

   const TunnelRibSmCollection & tunnelRibSm() const noexcept { return tunnelRibSm_; }
   Vel::Ptr< TunnelRibSm > tunnelRibSm( TunnelRibId id ) const { return tunnelRibSm_.get( id ); }
   void tunnelRibSmIs( TunnelRibId id, Vel::Ptr< TunnelRibSm > sm );
   void tunnelRibSmDel( TunnelRibId id );
   void tunnelRibSmDelAll();

   void dumpState( Mox::DumpContext & ctx, int indent ) const;

   static std::string statusPath( TunnelRibId id ) { return statusPathPrefix + id.stringValue(); }

 private:
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence_;
   Vel::Ptr< TunnelConvergence > tunnelConvergence_;
   Vel::PtrConst< TunnelRibConfigDir > tunnelRibConfigDir_;
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl_;
   Vel::Ptr< Statix::EntityManager > entityManager_;
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl_;
   Vel::PtrConst< TunnelIdColl > tunnelIdColl_;
   Vel::Ptr< TunnelRibNameIdMap > tunnelRibIdMap_;
   Vel::Ptr< Mox::TaskScheduler > scheduler_;
   Vel::Ptr< Gr::TunnelRibGrStatusContainer > tunnelRibGrStatusContainer_;
   TunnelRibSmCollection tunnelRibSm_;

   Vel::Reactor configDirReactor_;
};

Vel::Ptr< TunnelRibConfigDirSm > tunnelRibConfigDirSmFactory(
   Vel::PtrConst< BgpLuConvergence > bgpLuConvergence,
   Vel::Ptr< TunnelConvergence > tunnelConvergence,
   Vel::PtrConst< TunnelRibConfigDir > tunnelRibConfigDir,
   Vel::PtrConst< TunnelTableInfoCollection > tunnelTableInfoColl,
   Vel::Ptr< Statix::EntityManager > entityManager,
   Vel::Ptr< ProtocolTunnelRibCollection > protoTunnelRibColl,
   Vel::PtrConst< TunnelIdColl > tunnelIdColl, Vel::Ptr< TunnelRibNameIdMap > tunnelRibIdMap,
   Vel::Ptr< Mox::TaskScheduler > scheduler,
   Vel::Ptr< Gr::TunnelRibGrStatusContainer > tunnelRibGrStatusContainer );

} // namespace Tunnel::TunnelTable
