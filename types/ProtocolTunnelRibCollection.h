#pragma once

#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/ProtocolTunnelRibWrapper.h"
#include "types/TunnelType.h"

namespace Tunnel::TunnelTable {

// Per tunnel type, the wrapper of that type's own tunnel RIB.
class ProtocolTunnelRibCollection : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< TunnelType, Vel::Ptr< ProtocolTunnelRibWrapper > >;

   explicit ProtocolTunnelRibCollection( Vel::String name ) : name_( std::move( name ) ) {}

   const Vel::String & name() const noexcept { return name_; }

   const Coll & protocolTunnelRib() const noexcept { return protocolTunnelRib_; }
   // The type's wrapper, or null.
   Vel::Ptr< ProtocolTunnelRibWrapper > protocolTunnelRib( TunnelType type ) const {
      return protocolTunnelRib_.get( type );
   }
   // The type's wrapper; a new one, with no RIB, when the type has none.
   Vel::Ptr< ProtocolTunnelRibWrapper > protocolTunnelRibIs( TunnelType type );
   void protocolTunnelRibDel( TunnelType type ) { protocolTunnelRib_.del( type ); }
   void protocolTunnelRibDelAll() { protocolTunnelRib_.delAll(); }

   std::size_t size() const noexcept { return protocolTunnelRib_.size(); }
   bool empty() const noexcept { return protocolTunnelRib_.empty(); }

 private:
   const Vel::String name_;
   Coll protocolTunnelRib_;
};

Vel::Ptr< ProtocolTunnelRibCollection > protocolTunnelRibCollectionFactory( Vel::String name );

} // namespace Tunnel::TunnelTable
