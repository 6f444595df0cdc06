#include "fib/TunnelFibWriter.h"

#include "platform/vel/Assert.h"
#include "platform/vel/Trace.h"

namespace Tunnel::TunnelTable {

using TunnelFib::EncapId;
using TunnelFib::EncapType;

namespace {

constexpr const char * notImplemented = "encap type not implemented";

// Takes a published encapsulation back: its value leaves the index and its
// record the FIB. The index keeps a value that it maps to another id, which a
// FIB adopted with an entry naming an unpublished id (whose record reads as
// the default value) would otherwise cost a live encapsulation.
template< class Record >
void withdrawEncap( EncapIdIndex< Record > & set, const Record & record, EncapId encapId,
                    TunnelFib::TunnelFib & tunnelFib,
                    void ( TunnelFib::TunnelFib::*withdraw )( EncapId ) ) {
   set.eraseIfMappedTo( record.info(), encapId );
   ( tunnelFib.*withdraw )( encapId );
}

} // namespace

TunnelFibWriter::TunnelFibWriter( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib )
      : tunnelFib_( std::move( tunnelFib ) ), greEncapSet_( tunnelFib_->greEncap() ),
        ipsecVtiEncapSet_( tunnelFib_->ipsecVtiEncap() ),
        ipsecGreEncapSet_( tunnelFib_->ipsecGreEncap() ),
        labelStackEncapSet_( tunnelFib_->labelStackEncap() ) {
   handleInitialized();
}

void TunnelFibWriter::handleInitialized() {
   for ( const auto & [ tunnelId, entry ] : tunnelFib_->entry() ) {
      entry.forEachVia( [ this ]( const TunnelFib::TunnelVia & via ) {
         if ( via.encapId().encapType() != EncapType::invalidEncap ) {
            ++encapIdRefCount_[ via.encapId() ];
         }
      } );
   }
   for ( const auto & [ id, record ] : tunnelFib_->labelStackEncap() ) {
      labelStackEncapSet_.insertOrAssign( record.info(), id );
   }
   for ( const auto & [ id, record ] : tunnelFib_->greEncap() ) {
      greEncapSet_.insertOrAssign( record.info(), id );
   }
   for ( const auto & [ id, record ] : tunnelFib_->ipsecGreEncap() ) {
      ipsecGreEncapSet_.insertOrAssign( record.info(), id );
   }
   for ( const auto & [ id, record ] : tunnelFib_->ipsecVtiEncap() ) {
      ipsecVtiEncapSet_.insertOrAssign( record.info(), id );
   }
}

// --- Entries.

void TunnelFibWriter::addFibEntry( const ConsolidatedTunnelFibEntry & consFibEntry ) {
   VEL_TRACE( 9, " consFibEntry: ", consFibEntry );
   const TunnelFib::TunnelFibEntry * current = tunnelFib_->entryFind( consFibEntry.tunnelId() );
   if ( current && consFibEntry.isProgrammedAs( *current, tunnelFib_ ) ) {
      return;
   }
   // The new references are taken before the old ones go, so an
   // encapsulation that both entries share is never withdrawn.
   std::optional< TunnelFib::TunnelFibEntry > old;
   if ( current ) {
      old = *current;
   }
   tunnelFib_->entryIs( registerConsFibEntryForWriting( consFibEntry ) );
   if ( old ) {
      deregisterEncaps( *old );
   }
}

void TunnelFibWriter::deleteFibEntry( const TunnelId & tunnelId ) {
   VEL_TRACE( 9, tunnelId );
   const TunnelFib::TunnelFibEntry * current = tunnelFib_->entryFind( tunnelId );
   if ( !current ) {
      return;
   }
   // Readers of the FIB never see an entry naming a withdrawn encapsulation:
   // the entry goes first, its references after.
   const TunnelFib::TunnelFibEntry old = *current;
   tunnelFib_->entryDel( tunnelId );
   deregisterEncaps( old );
   VEL_TRACE( 9, "  tunnelId ", tunnelId, " entry deleted" );
}

TunnelFib::TunnelFibEntry
TunnelFibWriter::registerConsFibEntryForWriting( const ConsolidatedTunnelFibEntry & consFibEntry ) {
   VEL_TRACE( 9, " ", consFibEntry );
   VEL_ASSERT( consFibEntry.viaInfos() <= TunnelFib::TunnelViaList::maxSize,
               "consFibEntry.viaInfos() <= TunnelViaIndex::maxSize()" );
   VEL_ASSERT( consFibEntry.backupViaInfos() <= TunnelFib::TunnelViaList::maxSize,
               "consFibEntry.backupViaInfos() <= TunnelViaIndex::maxSize()" );
   TunnelFib::TunnelFibEntry fibEntry( consFibEntry.tunnelId() );
   fibEntry.arePrimaryViasUsableIs( consFibEntry.arePrimaryViasUsable() );
   fibEntry.seqNoIs( consFibEntry.seqNo() );
   unsigned index = 0;
   for ( const ViaAndTunnelInfo & info : consFibEntry.viaInfo() ) {
      fibEntry.tunnelViaIs( TunnelFib::TunnelViaIndex( index++ ), registerViaAndTunnelInfo( info ) );
   }
   index = 0;
   for ( const ViaAndTunnelInfo & info : consFibEntry.backupViaInfo() ) {
      fibEntry.backupTunnelViaIs( TunnelFib::TunnelViaIndex( index++ ),
                                  registerViaAndTunnelInfo( info ) );
   }
   return fibEntry;
}

TunnelFib::TunnelVia TunnelFibWriter::registerViaAndTunnelInfo( const ViaAndTunnelInfo & viaInfo ) {
   VEL_TRACE( 9, " ", viaInfo );
   EncapId id;
   switch ( viaInfo.type() ) {
   case EncapType::invalidEncap:
      break;
   case EncapType::greEncap:
      id = insertGreEncap( viaInfo.greTunnelInfo() );
      break;
   case EncapType::ipsecVtiEncap:
      id = insertIpsecVtiEncap( viaInfo.ipsecVtiTunnelInfo() );
      break;
   case EncapType::ipsecGreEncap:
      id = insertIpsecGreEncap( viaInfo.ipsecGreTunnelInfo() );
      break;
   case EncapType::mplsLabelStackEncap:
      id = insertLabelStackEncap( viaInfo.labelStack() );
      break;
   default:
      VEL_ASSERT( false, notImplemented );
   }
   return TunnelFib::TunnelVia( viaInfo.via(), id );
}

void TunnelFibWriter::deregisterEncaps( const TunnelFib::TunnelFibEntry & fibEntry ) {
   for ( const TunnelFib::TunnelVia & via : fibEntry.tunnelVia() ) {
      decrementEncapRef( via.encapId() );
   }
   for ( const TunnelFib::TunnelVia & via : fibEntry.backupTunnelVia() ) {
      decrementEncapRef( via.encapId() );
   }
}

// --- Encapsulations.

// The part the four inserts share: find the value's id or publish it under a
// new one, then count the reference. `signature` keeps the caller's name on
// the trace lines.
template< class Record >
EncapId TunnelFibWriter::insertEncap( const char * signature, const typename Record::InfoType & info,
                                      EncapType type, const char * typeText,
                                      EncapIdIndex< Record > & set,
                                      void ( TunnelFib::TunnelFib::*publish )( const Record & ) ) {
   EncapId id = set.find( info );
   if ( id.isNull() ) {
      id = nextFreeEncapId( type );
      ( *tunnelFib_.*publish )( Record( id, info ) );
      set.insertOrAssign( info, id );
      VEL_TRACE_AS( signature, 9, "  Created ", typeText, " encapId ", id );
   } else {
      VEL_TRACE_AS( signature, 9, "  Found existing ", typeText, " encapId ", id );
   }
   const std::uint32_t count = ++encapIdRefCount_[ id ];
   VEL_TRACE_AS( signature, 9, "  EncapId ", id, " refCount: ", count );
   return id;
}

EncapId TunnelFibWriter::insertLabelStackEncap( const Korvo::MplsLabelOperation & labelOp ) {
   VEL_TRACE( 9, " labelOp: ", labelOp );
   return insertEncap( __PRETTY_FUNCTION__, labelOp, EncapType::mplsLabelStackEncap, "MPLS",
                       labelStackEncapSet_, &TunnelFib::TunnelFib::labelStackEncapIs );
}

EncapId TunnelFibWriter::insertGreEncap( const GreTunnelInfo & info ) {
   VEL_TRACE( 9, " [ src: ", info.src(), " dst: ", info.dst(), " ]" );
   return insertEncap( __PRETTY_FUNCTION__, info, EncapType::greEncap, "GRE", greEncapSet_,
                       &TunnelFib::TunnelFib::greEncapIs );
}

EncapId TunnelFibWriter::insertIpsecGreEncap( const IpsecGreTunnelInfo & info ) {
   VEL_TRACE( 9, " [ src: ", info.gre().src(), " dst: ", info.gre().dst(), " ]" );
   return insertEncap( __PRETTY_FUNCTION__, info, EncapType::ipsecGreEncap, "IPsec+GRE",
                       ipsecGreEncapSet_, &TunnelFib::TunnelFib::ipsecGreEncapIs );
}

EncapId TunnelFibWriter::insertIpsecVtiEncap( const IpsecVtiTunnelInfo & info ) {
   VEL_TRACE( 9, " [ src: ", info.src(), " dst: ", info.dst(), " ]" );
   return insertEncap( __PRETTY_FUNCTION__, info, EncapType::ipsecVtiEncap, "IPsec VTI",
                       ipsecVtiEncapSet_, &TunnelFib::TunnelFib::ipsecVtiEncapIs );
}

void TunnelFibWriter::decrementEncapRef( EncapId encapId ) {
   VEL_TRACE( 9, " ", encapId );
   if ( encapId.encapType() == EncapType::invalidEncap ) {
      return;
   }
   auto count = encapIdRefCount_.find( encapId );
   if ( count == encapIdRefCount_.end() ) {
      return;
   }
   VEL_ASSERT( count->second > 0, "encapIdRefCount( encapId ) > 0" );
   if ( --count->second > 0 ) {
      return;
   }
   // The count goes before the record: whoever the withdrawal wakes finds the
   // id unused in both.
   encapIdRefCount_.erase( count );
   TunnelFib::TunnelFib & fib = *tunnelFib_;
   switch ( encapId.encapType() ) {
   case EncapType::greEncap:
      withdrawEncap( greEncapSet_, fib.greEncap( encapId ), encapId, fib,
                     &TunnelFib::TunnelFib::greEncapDel );
      break;
   case EncapType::ipsecVtiEncap:
      withdrawEncap( ipsecVtiEncapSet_, fib.ipsecVtiEncap( encapId ), encapId, fib,
                     &TunnelFib::TunnelFib::ipsecVtiEncapDel );
      break;
   case EncapType::ipsecGreEncap:
      withdrawEncap( ipsecGreEncapSet_, fib.ipsecGreEncap( encapId ), encapId, fib,
                     &TunnelFib::TunnelFib::ipsecGreEncapDel );
      break;
   case EncapType::mplsLabelStackEncap:
      withdrawEncap( labelStackEncapSet_, fib.labelStackEncap( encapId ), encapId, fib,
                     &TunnelFib::TunnelFib::labelStackEncapDel );
      break;
   case EncapType::invalidEncap:
      VEL_TRACE( 9, "  encapId ", encapId, " encapType ", encapId.encapType(),
                 " is invalid, no deletion done." );
      break;
   default:
      VEL_ASSERT( false, notImplemented );
   }
}

EncapId TunnelFibWriter::nextFreeEncapId( EncapType encapType ) {
   const EncapId startingEncapId = EncapId::encapValueIs( encapType, nextEncapIndex( encapType ) );
   EncapId candidateEncapId = startingEncapId;
   while ( encapIdUsed( candidateEncapId ) ) {
      candidateEncapId = EncapId::encapValueIs( encapType, ++nextEncapIndex_[ encapType ] );
      VEL_ASSERT( candidateEncapId != startingEncapId, "all encapIndex values are allocated!" );
   }
   return candidateEncapId;
}

bool TunnelFibWriter::encapIdUsed( EncapId encapId ) const {
   switch ( encapId.encapType() ) {
   case EncapType::greEncap:
      return tunnelFib_->greEncap().has( encapId );
   case EncapType::ipsecVtiEncap:
      return tunnelFib_->ipsecVtiEncap().has( encapId );
   case EncapType::ipsecGreEncap:
      return tunnelFib_->ipsecGreEncap().has( encapId );
   case EncapType::mplsLabelStackEncap:
      return tunnelFib_->labelStackEncap().has( encapId );
   case EncapType::reservedEncap:
      VEL_ASSERT( false, notImplemented );
      return false;
   default:
      VEL_ASSERT( false, "This function should not be used for checking invalidEncaps." );
      return false;
   }
}

// --- State.

EncapId TunnelFibWriter::greEncapSet( const GreTunnelInfo & info ) const {
   return greEncapSet_.find( info );
}
EncapId TunnelFibWriter::ipsecVtiEncapSet( const IpsecVtiTunnelInfo & info ) const {
   return ipsecVtiEncapSet_.find( info );
}
EncapId TunnelFibWriter::ipsecGreEncapSet( const IpsecGreTunnelInfo & info ) const {
   return ipsecGreEncapSet_.find( info );
}
EncapId TunnelFibWriter::labelStackEncapSet( const Korvo::MplsLabelOperation & op ) const {
   return labelStackEncapSet_.find( op );
}

std::uint32_t TunnelFibWriter::nextEncapIndex( EncapType type ) const {
   auto it = nextEncapIndex_.find( type );
   return it == nextEncapIndex_.end() ? 0 : it->second;
}

std::uint32_t TunnelFibWriter::encapIdRefCount( EncapId encapId ) const {
   auto it = encapIdRefCount_.find( encapId );
   return it == encapIdRefCount_.end() ? 0 : it->second;
}

void TunnelFibWriter::dumpState( Mox::DumpContext & ctx, unsigned indent ) const {
   ctx.printf( "%*cTunnelFibWriter\n", int( indent ), ' ' );
   ctx.printf( "%*c  encapIds=%zu mpls=%zu gre=%zu ipsecGre=%zu ipsecVti=%zu\n", int( indent ),
               ' ', encapIdRefCount_.size(), labelStackEncapSet_.size(), greEncapSet_.size(),
               ipsecGreEncapSet_.size(), ipsecVtiEncapSet_.size() );
}

Vel::Ptr< TunnelFibWriter > tunnelFibWriterFactory( Vel::Ptr< TunnelFib::TunnelFib > tunnelFib ) {
   return Vel::make< TunnelFibWriter >( std::move( tunnelFib ) );
}

} // namespace Tunnel::TunnelTable
