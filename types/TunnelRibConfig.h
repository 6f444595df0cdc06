#pragma once

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelRibProtoEntry.h"

namespace Tunnel::TunnelTable {

// The configuration of one tunnel RIB: which protocol tables it takes
// tunnels from, with their preference settings.
class TunnelRibConfig : public Vel::PtrInterface {
 public:
   using EntryCollection =
      Vel::OrderedCollection< TunnelTableIdentifier, Vel::Ptr< TunnelRibProtoEntry > >;

   explicit TunnelRibConfig( Vel::Name name ) : name_( std::move( name ) ) {}

   const Vel::Name & name() const noexcept { return name_; }

   const EntryCollection & entry() const noexcept { return entry_; }
   // The table's entry, or null when the table is not configured.
   Vel::Ptr< TunnelRibProtoEntry > entry( TunnelTableIdentifier id ) const {
      return entry_.get( id );
   }
   bool entryHas( TunnelTableIdentifier id ) const { return entry_.has( id ); }
   // Returns the table's entry, adding a new one (notifying) when absent.
   Vel::Ptr< TunnelRibProtoEntry > entryIs( TunnelTableIdentifier id ) {
      if ( auto existing = entry_.get( id ) ) {
         return existing;
      }
      auto added = Vel::make< TunnelRibProtoEntry >( id );
      entry_.set( id, added );
      return added;
   }
   void entryDel( TunnelTableIdentifier id ) { entry_.del( id ); }
   void entryDelAll() { entry_.delAll(); }

 private:
   Vel::Name name_;
   EntryCollection entry_;
};

inline Vel::Ptr< TunnelRibConfig > tunnelRibConfigFactory( Vel::Name name ) {
   return Vel::make< TunnelRibConfig >( std::move( name ) );
}

} // namespace Tunnel::TunnelTable
