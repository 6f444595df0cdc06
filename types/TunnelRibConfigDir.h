#pragma once

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelRibConfig.h"

namespace Tunnel::TunnelTable {

// The directory of tunnel RIB configurations, keyed by RIB name.
class TunnelRibConfigDir : public Vel::PtrInterface {
 public:
   using ConfigCollection = Vel::OrderedCollection< Vel::Name, Vel::Ptr< TunnelRibConfig > >;

   const ConfigCollection & tunnelRibConfig() const noexcept { return tunnelRibConfig_; }
   Vel::Ptr< TunnelRibConfig > tunnelRibConfig( const Vel::Name & name ) const {
      return tunnelRibConfig_.get( name );
   }
   // Stores a configuration under its name, replacing any earlier one.
   Vel::Ptr< TunnelRibConfig > tunnelRibConfigIs( Vel::Ptr< TunnelRibConfig > config ) {
      Vel::Name name = config->name();
      tunnelRibConfig_.set( name, config );
      return config;
   }
   // A new, empty configuration under the name.
   Vel::Ptr< TunnelRibConfig > tunnelRibConfigIs( const Vel::Name & name ) {
      return tunnelRibConfigIs( tunnelRibConfigFactory( name ) );
   }
   void tunnelRibConfigDel( const Vel::Name & name ) { tunnelRibConfig_.del( name ); }

 private:
   ConfigCollection tunnelRibConfig_;
};

} // namespace Tunnel::TunnelTable
