#pragma once

#include <ostream>
#include <string>

#include "types/GreTunnelInfo.h"
#include "types/IpsecGreTunnelInfo.h"
#include "types/IpsecVtiTunnelInfo.h"
#include "types/TunnelTableEntry.h"
#include "types/Via.h"

namespace Tunnel::TunnelTable {

// The entry of a statically configured tunnel interface: the tunnel, the via
// its packets leave by, and the encapsulation (Info: GRE, IPsec+GRE or
// IPsec-VTI tunnel information).
template< class Info >
class InterfaceTunnelTableEntry {
 public:
   using TunnelInfo = Info;

   InterfaceTunnelTableEntry() = default;
   InterfaceTunnelTableEntry( TunnelId tunnelId, Via via, Info tunnelInfo )
         : entry_( tunnelId, TunnelEntryPref( 255 ) ), via_( std::move( via ) ),
           tunnelInfo_( std::move( tunnelInfo ) ) {}

   const TunnelTableEntry & entry() const noexcept { return entry_; }
   void entryIs( const TunnelTableEntry & entry ) { entry_ = entry; }
   TunnelId tunnelId() const noexcept { return entry_.tunnelId(); }
   const Via & via() const noexcept { return via_; }
   void viaIs( const Via & via ) { via_ = via; }
   const Info & tunnelInfo() const noexcept { return tunnelInfo_; }
   void tunnelInfoIs( const Info & info ) { tunnelInfo_ = info; }

   explicit operator bool() const { return *this != InterfaceTunnelTableEntry(); }
   friend bool operator==( const InterfaceTunnelTableEntry &,
                           const InterfaceTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::InterfaceTunnelTableEntry', ** {'entry': " +
             entry_.stringValue() + ", 'via': " + via_.stringValue() +
             ", 'tunnelInfo': " + tunnelInfo_.stringValue() + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const InterfaceTunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   TunnelTableEntry entry_;
   Via via_;
   Info tunnelInfo_;
};

using GreIntfTunnelTableEntry = InterfaceTunnelTableEntry< GreTunnelInfo >;
using IpsecGreIntfTunnelTableEntry = InterfaceTunnelTableEntry< IpsecGreTunnelInfo >;
using IpsecVtiIntfTunnelTableEntry = InterfaceTunnelTableEntry< IpsecVtiTunnelInfo >;

} // namespace Tunnel::TunnelTable
