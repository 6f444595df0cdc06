#pragma once

#include <cstdint>
#include <ostream>
#include <string>

#include "types/TunnelId.h"
#include "types/TunnelVia.h"

namespace Tunnel::TunnelFib {

// What the forwarding side programs for one tunnel: its primary vias, the
// backup vias that protect them, and whether the primaries may be used. The
// default value (tunnel id 0, no vias) is the absent entry.
class TunnelFibEntry {
 public:
   TunnelFibEntry() = default;
   explicit TunnelFibEntry( TunnelTable::TunnelId tunnelId ) : tunnelId_( tunnelId ) {}

   TunnelTable::TunnelId tunnelId() const noexcept { return tunnelId_; }

   const TunnelViaList & tunnelVia() const noexcept { return tunnelVia_; }
   const TunnelVia & tunnelVia( TunnelViaIndex i ) const { return tunnelVia_[ i ]; }
   void tunnelViaIs( TunnelViaIndex i, const TunnelVia & via ) { tunnelVia_.viaIs( i, via ); }
   void tunnelViaDelAll() noexcept { tunnelVia_.delAll(); }

   const BackupTunnelViaList & backupTunnelVia() const noexcept { return backupTunnelVia_; }
   const TunnelVia & backupTunnelVia( TunnelViaIndex i ) const { return backupTunnelVia_[ i ]; }
   void backupTunnelViaIs( TunnelViaIndex i, const TunnelVia & via ) {
      backupTunnelVia_.viaIs( i, via );
   }
   void backupTunnelViaDelAll() noexcept { backupTunnelVia_.delAll(); }

   // Every via, the primaries first, then the backups.
   template< class F >
   void forEachVia( F && f ) const {
      for ( const TunnelVia & via : tunnelVia_ ) {
         f( via );
      }
      for ( const TunnelVia & via : backupTunnelVia_ ) {
         f( via );
      }
   }

   bool arePrimaryViasUsable() const noexcept { return arePrimaryViasUsable_; }
   void arePrimaryViasUsableIs( bool usable ) noexcept { arePrimaryViasUsable_ = usable; }
   std::uint16_t seqNo() const noexcept { return seqNo_; }
   void seqNoIs( std::uint16_t seqNo ) noexcept { seqNo_ = seqNo; }

   explicit operator bool() const { return *this != TunnelFibEntry(); }
   friend bool operator==( const TunnelFibEntry &, const TunnelFibEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelFib::TunnelFibEntry', ** {'tunnelId': " +
             tunnelId_.stringValue() + ", 'tunnelVia': " + tunnelVia_.stringValue() +
             ", 'backupTunnelVia': " + backupTunnelVia_.stringValue() +
             ", 'arePrimaryViasUsable': " + ( arePrimaryViasUsable_ ? "True" : "False" ) +
             ", 'seqNo': " + std::to_string( seqNo_ ) + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const TunnelFibEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelTable::TunnelId tunnelId_;
   TunnelViaList tunnelVia_;
   BackupTunnelViaList backupTunnelVia_;
   bool arePrimaryViasUsable_ = false;
   std::uint16_t seqNo_ = 0;
};

static_assert( sizeof( TunnelFibEntry ) == 72,
               "TunnelFibEntry is held per tunnel: grow it on purpose" );

} // namespace Tunnel::TunnelFib
