#pragma once

#include "platform/vel/Collection.h"
#include "platform/vel/Name.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelTableInfo.h"

namespace Tunnel::TunnelTable {

// The published descriptions of the protocol tunnel tables, by table name.
// A lookup of an absent name gives the default description.
class TunnelTableInfoCollection : public Vel::PtrInterface {
 public:
   using Coll = Vel::OrderedCollection< Vel::String, TunnelTableInfo >;

   const Coll & tableInfo() const noexcept { return tableInfo_; }
   TunnelTableInfo tableInfo( const Vel::String & name ) const { return tableInfo_.get( name ); }
   void tableInfoIs( const Vel::String & name, const TunnelTableInfo & info ) {
      tableInfo_.set( name, info );
   }
   void tableInfoDel( const Vel::String & name ) { tableInfo_.del( name ); }
   void tableInfoDelAll() { tableInfo_.delAll(); }

 private:
   Coll tableInfo_;
};

Vel::Ptr< TunnelTableInfoCollection > tunnelTableInfoCollectionFactory();

} // namespace Tunnel::TunnelTable
