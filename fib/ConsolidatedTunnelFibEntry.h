#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

#include "fib/ViaAndTunnelInfoSet.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelFib.h"
#include "types/TunnelId.h"

namespace Tunnel::TunnelTable {

// The writer-independent form of one tunnel FIB entry: the tunnel's primary
// and backup vias, each with the encapsulation it needs. The via calculation
// builds it; the writer turns it into encap ids and a TunnelFibEntry, and can
// rebuild it from a programmed entry to tell whether anything changed.
class ConsolidatedTunnelFibEntry {
 public:
   ConsolidatedTunnelFibEntry() = default;
   explicit ConsolidatedTunnelFibEntry( TunnelId tunnelId ) : tunnelId_( tunnelId ) {}
   // Its records hold collections, so there is no string constructor: this
   // one fails "No String constructor for ConsolidatedTunnelFibEntry - has
   // collection".
   explicit ConsolidatedTunnelFibEntry( std::string_view text );

   // Rebuilds the entry that a programmed FIB entry stands for, looking each
   // via's encap id up in the FIB's encap tables.
   static ConsolidatedTunnelFibEntry
   fromTunnelFibEntry( const TunnelFib::TunnelFibEntry & fibEntry,
                       const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib );
   void addViaInfoFromTunnelVia( const TunnelFib::TunnelVia & tunnelVia,
                                 const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib,
                                 bool backup );
   // Whether fromTunnelFibEntry( fibEntry, tunnelFib ) equals this entry.
   // Vias that the FIB lists in record order, as the writer writes them, are
   // compared in place, so the answer costs no allocation.
   bool isProgrammedAs( const TunnelFib::TunnelFibEntry & fibEntry,
                        const Vel::PtrConst< TunnelFib::TunnelFib > & tunnelFib ) const;

   TunnelId tunnelId() const noexcept { return tunnelId_; }

   const ViaAndTunnelInfoSet & viaInfo() const noexcept { return viaInfo_; }
   // The number of primary records.
   std::size_t viaInfos() const noexcept { return viaInfo_.size(); }
   void viaInfoIs( const ViaAndTunnelInfo & info ) { viaInfo_.insert( info ); }
   void viaInfoDel( const ViaAndTunnelInfo & info ) { viaInfo_.erase( info ); }
   void viaInfoDelAll() noexcept { viaInfo_.clear(); }
   bool viaInfoHas( const ViaAndTunnelInfo & info ) const { return viaInfo_.has( info ); }

   const ViaAndTunnelInfoSet & backupViaInfo() const noexcept { return backupViaInfo_; }
   std::size_t backupViaInfos() const noexcept { return backupViaInfo_.size(); }
   void backupViaInfoIs( const ViaAndTunnelInfo & info ) { backupViaInfo_.insert( info ); }
   void backupViaInfoDel( const ViaAndTunnelInfo & info ) { backupViaInfo_.erase( info ); }
   void backupViaInfoDelAll() noexcept { backupViaInfo_.clear(); }
   bool backupViaInfoHas( const ViaAndTunnelInfo & info ) const {
      return backupViaInfo_.has( info );
   }

   bool arePrimaryViasUsable() const noexcept { return arePrimaryViasUsable_; }
   void arePrimaryViasUsableIs( bool usable ) noexcept { arePrimaryViasUsable_ = usable; }
   std::uint16_t seqNo() const noexcept { return seqNo_; }
   void seqNoIs( std::uint16_t seqNo ) noexcept { seqNo_ = seqNo; }

   void insertLabelStackVia( const Via & via, const Korvo::MplsLabelOperation & labelStack );
   void insertBackupLabelStackVia( const Via & via, const Korvo::MplsLabelOperation & labelStack );
   void insertGreVia( const Via & via, const GreTunnelInfo & info );
   void insertIpsecVtiVia( const Via & via, const IpsecVtiTunnelInfo & info );
   void insertIpsecGreVia( const Via & via, const IpsecGreTunnelInfo & info );
   void insertInvalidVia( const Via & via );

   // True when it differs from an empty entry.
   explicit operator bool() const { return *this != ConsolidatedTunnelFibEntry(); }
   // Records compare in iteration order, which the sets keep sorted.
   friend bool operator==( const ConsolidatedTunnelFibEntry &,
                           const ConsolidatedTunnelFibEntry & ) = default;

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const ConsolidatedTunnelFibEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelId tunnelId_;
   ViaAndTunnelInfoSet viaInfo_;
   ViaAndTunnelInfoSet backupViaInfo_;
   bool arePrimaryViasUsable_ = false;
   std::uint16_t seqNo_ = 0;
};

// The record a programmed via stands for: its via and the encapsulation its
// encap id names in the FIB (an id the FIB does not hold gives the record of
// its type with a default payload).
ViaAndTunnelInfo viaAndTunnelInfoFromTunnelVia( const TunnelFib::TunnelVia & tunnelVia,
                                                const TunnelFib::TunnelFib & tunnelFib );

} // namespace Tunnel::TunnelTable
