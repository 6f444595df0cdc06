#pragma once

#include <cstdint>
#include <optional>
#include <unordered_map>

#include "platform/vel/FlatHashMap.h"

#include "fib/ConsolidatedTunnelFibEntry.h"
#include "fib/EncapIdIndex.h"
#include "platform/mox/DumpContext.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelFib.h"

namespace Tunnel::TunnelTable {

// The only writer of the tunnel FIB. It turns each via's encapsulation into
// an encap id shared by every entry that uses the same value, counts the
// references per id, publishes an encapsulation before the first entry that
// names it and withdraws it after the last one is gone. At construction it
// adopts what a previous run left in the FIB.
class TunnelFibWriter : public Vel::PtrInterface {
 public:
   // Id to count: probed for every via written, iterated nowhere that order
   // shows.
   using EncapRefCounts = Vel::FlatHashMap< TunnelFib::EncapId, std::uint32_t >;

   explicit TunnelFibWriter( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib );

   const Vel::Ptr< TunnelFib::TunnelFib > & tunnelFib() const noexcept { return tunnelFib_; }

   // Rebuilds counts and sets from the FIB that survived a restart.
   void handleInitialized();

   // Writes the entry unless the FIB already holds the same.
   void addFibEntry( const ConsolidatedTunnelFibEntry & consFibEntry );
   void deleteFibEntry( const TunnelId & tunnelId );

   TunnelFib::TunnelFibEntry
   registerConsFibEntryForWriting( const ConsolidatedTunnelFibEntry & consFibEntry );
   TunnelFib::TunnelVia registerViaAndTunnelInfo( const ViaAndTunnelInfo & viaInfo );
   TunnelFib::EncapId insertLabelStackEncap( const Korvo::MplsLabelOperation & labelOp );
   TunnelFib::EncapId insertGreEncap( const GreTunnelInfo & info );
   TunnelFib::EncapId insertIpsecGreEncap( const IpsecGreTunnelInfo & info );
   TunnelFib::EncapId insertIpsecVtiEncap( const IpsecVtiTunnelInfo & info );
   void decrementEncapRef( TunnelFib::EncapId encapId );
   void deregisterEncaps( const TunnelFib::TunnelFibEntry & fibEntry );
   TunnelFib::EncapId nextFreeEncapId( TunnelFib::EncapType encapType );
   // Whether the FIB publishes the id; fails for invalid types.
   bool encapIdUsed( TunnelFib::EncapId encapId ) const;

   // The writer's own state, for tests and dumps: the id of a value (the
   // null id when absent), the cursor of a type, the count of an id (0 when
   // absent).
   TunnelFib::EncapId greEncapSet( const GreTunnelInfo & info ) const;
   TunnelFib::EncapId ipsecVtiEncapSet( const IpsecVtiTunnelInfo & info ) const;
   TunnelFib::EncapId ipsecGreEncapSet( const IpsecGreTunnelInfo & info ) const;
   TunnelFib::EncapId labelStackEncapSet( const Korvo::MplsLabelOperation & op ) const;
   std::size_t greEncapSets() const noexcept { return greEncapSet_.size(); }
   std::size_t ipsecVtiEncapSets() const noexcept { return ipsecVtiEncapSet_.size(); }
   std::size_t ipsecGreEncapSets() const noexcept { return ipsecGreEncapSet_.size(); }
   std::size_t labelStackEncapSets() const noexcept { return labelStackEncapSet_.size(); }
   std::uint32_t nextEncapIndex( TunnelFib::EncapType type ) const;
   std::uint32_t encapIdRefCount( TunnelFib::EncapId encapId ) const;
   const EncapRefCounts & encapIdRefCount() const noexcept {
      return encapIdRefCount_;
   }
   bool initialized() const noexcept { return initialized_; }
   void initializedIs( bool initialized ) noexcept { initialized_ = initialized; }

   void dumpState( Mox::DumpContext & ctx, unsigned indent ) const;

 private:
   template< class Record >
   TunnelFib::EncapId insertEncap( const char * signature, const typename Record::InfoType & info,
                                   TunnelFib::EncapType type, const char * typeText,
                                   EncapIdIndex< Record > & set,
                                   void ( TunnelFib::TunnelFib::*publish )( const Record & ) );

   Vel::Ptr< TunnelFib::TunnelFib > tunnelFib_;
   // Value to id, per type.
   EncapIdIndex< TunnelFib::GreEncap > greEncapSet_;
   EncapIdIndex< TunnelFib::IpsecVtiEncap > ipsecVtiEncapSet_;
   EncapIdIndex< TunnelFib::IpsecGreEncap > ipsecGreEncapSet_;
   EncapIdIndex< TunnelFib::LabelStackEncap > labelStackEncapSet_;
   std::unordered_map< TunnelFib::EncapType, std::uint32_t > nextEncapIndex_;
   EncapRefCounts encapIdRefCount_;
   bool initialized_ = false;
};

Vel::Ptr< TunnelFibWriter > tunnelFibWriterFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib );

} // namespace Tunnel::TunnelTable
