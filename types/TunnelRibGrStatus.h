#pragma once

#include <cstdint>

#include "platform/vel/Attribute.h"
#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelGrContext.h"
#include "types/TunnelRibId.h"

namespace Tunnel::Gr {

// The stages of a tunnel RIB's restart that are counted.
enum class TunnelRibGrStage : std::uint8_t { tunnelTablesProcessed = 0 };

// Per tunnel RIB, how many times each restart stage was reached.
class TunnelRibUpdateCounter : public Vel::PtrInterface {
 public:
   std::uint64_t tunnelTablesProcessed() const noexcept { return tunnelTablesProcessed_; }
   void tunnelTablesProcessedInc() noexcept { ++tunnelTablesProcessed_; }

 private:
   std::uint64_t tunnelTablesProcessed_ = 0;
};

// The snapshot of GR counters, one counter per tunnel RIB.
class TunnelRibGrCounters : public Vel::PtrInterface {
 public:
   Vel::Ptr< TunnelRibUpdateCounter > tunnelRibUpdateCounterIs( TunnelTable::TunnelRibId id ) {
      if ( auto existing = counters_.get( id ) ) {
         return existing;
      }
      auto added = Vel::make< TunnelRibUpdateCounter >();
      counters_.set( id, added );
      return added;
   }
   bool tunnelRibUpdateCounterHas( TunnelTable::TunnelRibId id ) const {
      return counters_.has( id );
   }
   Vel::Ptr< TunnelRibUpdateCounter > tunnelRibUpdateCounter( TunnelTable::TunnelRibId id ) const {
      return counters_.get( id );
   }
   void tunnelRibUpdateCounterDel( TunnelTable::TunnelRibId id ) { counters_.del( id ); }

 private:
   Vel::OrderedCollection< TunnelTable::TunnelRibId, Vel::Ptr< TunnelRibUpdateCounter > >
      counters_;
};

// One tunnel RIB's graceful-restart status. It also carries the agent's GR
// context and the counters snapshot that the RIB's machines report to, as
// they were when the record was made, so that a builder handed only this
// record reaches both.
class TunnelRibGrStatus : public Vel::PtrInterface {
 public:
   explicit TunnelRibGrStatus( TunnelTable::TunnelRibId id,
                               Vel::PtrConst< TunnelGrContext > tunnelGrContext = nullptr,
                               Vel::Ptr< TunnelRibGrCounters > grCounters = nullptr )
         : tunnelRibId_( id ), tunnelGrContext_( std::move( tunnelGrContext ) ),
           grCounters_( std::move( grCounters ) ) {}

   TunnelTable::TunnelRibId tunnelRibId() const noexcept { return tunnelRibId_; }
   const Vel::Attribute< bool > & tunnelRibSmBacklogEmpty() const noexcept {
      return tunnelRibSmBacklogEmpty_;
   }
   void tunnelRibSmBacklogEmptyIs( bool empty ) { tunnelRibSmBacklogEmpty_.set( empty ); }

   const Vel::PtrConst< TunnelGrContext > & tunnelGrContext() const noexcept {
      return tunnelGrContext_;
   }
   const Vel::Ptr< TunnelRibGrCounters > & grCounters() const noexcept { return grCounters_; }

 private:
   TunnelTable::TunnelRibId tunnelRibId_;
   Vel::Attribute< bool > tunnelRibSmBacklogEmpty_{ false };
   Vel::PtrConst< TunnelGrContext > tunnelGrContext_;
   Vel::Ptr< TunnelRibGrCounters > grCounters_;
};

} // namespace Tunnel::Gr
