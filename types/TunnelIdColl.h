#pragma once

#include <cstddef>

#include "platform/vel/Collection.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// A set of tunnel ids, in id order. The values belong to the writer; readers
// test membership.
class TunnelIdColl : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< TunnelId, bool >;

   const Coll & entry() const noexcept { return entry_; }
   bool entryHas( TunnelId id ) const { return entry_.has( id ); }
   // The id's value; false when absent.
   bool entry( TunnelId id ) const { return entry_.get( id ); }
   // Rewriting an id with the value it has notifies nobody: a listed tunnel
   // listed again costs its readers no work.
   void entryIs( TunnelId id, bool value ) {
      if ( const bool * current = entry_.find( id ); !current || *current != value ) {
         entry_.set( id, value );
      }
   }
   void entryDel( TunnelId id ) { entry_.del( id ); }
   void entryDelAll() { entry_.delAll(); }

   std::size_t size() const noexcept { return entry_.size(); }
   bool empty() const noexcept { return entry_.empty(); }

 private:
   Coll entry_;
};

Vel::Ptr< TunnelIdColl > tunnelIdCollFactory();

} // namespace Tunnel::TunnelTable
