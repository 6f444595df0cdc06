#pragma once

#include <string>
#include <utility>

#include "platform/mirra/Collection.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Ptr.h"
#include "types/EncapRecord.h"
#include "types/TunnelFibEntry.h"

namespace Tunnel::TunnelFib {

// The tunnel FIB that the forwarding side programs from: one entry per
// tunnel, and per encapsulation type a table of the published encapsulations
// that entries name by encap id. Every table notifies per key and counts its
// writes, so readers can watch and tell whether anything was written.
class TunnelFib : public Statix::Mountable {
 public:
   // Where the agent mounts it.
   static constexpr const char * mountPath = "tunnel/tunnelFib";

   using EntryTable = Mirra::OrderedCollection< TunnelTable::TunnelId, TunnelFibEntry >;
   template< class Record >
   using EncapTable = Mirra::Collection< EncapId, Record >;

   const EntryTable & entry() const noexcept { return entry_; }
   // The entry of the tunnel, or the absent entry.
   TunnelFibEntry entry( TunnelTable::TunnelId id ) const { return entry_.lookup( id ); }
   const TunnelFibEntry * entryFind( TunnelTable::TunnelId id ) const { return entry_.find( id ); }
   void entryIs( const TunnelFibEntry & e ) { entry_.entryIs( e.tunnelId(), e ); }
   void entryIs( TunnelFibEntry && e ) {
      const TunnelTable::TunnelId id = e.tunnelId();
      entry_.entryIs( id, std::move( e ) );
   }
   void entryDel( TunnelTable::TunnelId id ) { entry_.entryDel( id ); }

   const EncapTable< GreEncap > & greEncap() const noexcept { return greEncap_; }
   GreEncap greEncap( EncapId id ) const { return greEncap_.lookup( id ); }
   void greEncapIs( const GreEncap & r ) { greEncap_.entryIs( r.encapId(), r ); }
   void greEncapDel( EncapId id ) { greEncap_.entryDel( id ); }

   const EncapTable< IpsecVtiEncap > & ipsecVtiEncap() const noexcept { return ipsecVtiEncap_; }
   IpsecVtiEncap ipsecVtiEncap( EncapId id ) const { return ipsecVtiEncap_.lookup( id ); }
   void ipsecVtiEncapIs( const IpsecVtiEncap & r ) { ipsecVtiEncap_.entryIs( r.encapId(), r ); }
   void ipsecVtiEncapDel( EncapId id ) { ipsecVtiEncap_.entryDel( id ); }

   const EncapTable< IpsecGreEncap > & ipsecGreEncap() const noexcept { return ipsecGreEncap_; }
   IpsecGreEncap ipsecGreEncap( EncapId id ) const { return ipsecGreEncap_.lookup( id ); }
   void ipsecGreEncapIs( const IpsecGreEncap & r ) { ipsecGreEncap_.entryIs( r.encapId(), r ); }
   void ipsecGreEncapDel( EncapId id ) { ipsecGreEncap_.entryDel( id ); }

   const EncapTable< LabelStackEncap > & labelStackEncap() const noexcept {
      return labelStackEncap_;
   }
   LabelStackEncap labelStackEncap( EncapId id ) const { return labelStackEncap_.lookup( id ); }
   void labelStackEncapIs( const LabelStackEncap & r ) {
      labelStackEncap_.entryIs( r.encapId(), r );
   }
   void labelStackEncapDel( EncapId id ) { labelStackEncap_.entryDel( id ); }

   void cleanup() override {
      entry_.entryDelAll();
      greEncap_.entryDelAll();
      ipsecVtiEncap_.entryDelAll();
      ipsecGreEncap_.entryDelAll();
      labelStackEncap_.entryDelAll();
   }

 private:
   EntryTable entry_;
   EncapTable< GreEncap > greEncap_;
   EncapTable< IpsecVtiEncap > ipsecVtiEncap_;
   EncapTable< IpsecGreEncap > ipsecGreEncap_;
   EncapTable< LabelStackEncap > labelStackEncap_;
};

Vel::Ptr< TunnelFib > tunnelFibFactory();

} // namespace Tunnel::TunnelFib
