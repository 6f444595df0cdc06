#pragma once

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"

namespace Tunnel::TunnelTable {

// The names of the protocol tunnel tables that one tunnel RIB wants.
class TunnelTableTypeFilter : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< Vel::String, Vel::Present >;

   const Coll & table() const noexcept { return table_; }
   bool tableHas( const Vel::String & name ) const { return table_.has( name ); }
   void tableIs( const Vel::String & name ) { table_.set( name, {} ); }
   void tableDel( const Vel::String & name ) { table_.del( name ); }
   void tableDelAll() { table_.delAll(); }

 private:
   Coll table_;
};

Vel::Ptr< TunnelTableTypeFilter > tunnelTableTypeFilterFactory();

} // namespace Tunnel::TunnelTable
