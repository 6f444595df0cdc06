#pragma once

#include <ostream>
#include <string>

#include "types/MplsTunnelTableEntryBase.h"

namespace Tunnel::TunnelTable {

// The entry of a tunnel with local protection (the RSVP kinds, TI-LFA): one
// primary via with an optional backup via, or else a list of primary vias
// (then no backup applies). A backup equal to the default MplsVia means none.
class ProtectedTunnelTableEntryBase : public MplsTunnelTableEntryBase {
 public:
   ProtectedTunnelTableEntryBase() = default;
   ProtectedTunnelTableEntryBase( TunnelId tunnelId, TunnelEntryPref pref )
         : MplsTunnelTableEntryBase( tunnelId, pref ) {}

   const MplsVia & primaryVia() const noexcept { return primaryVia_; }
   void primaryViaIs( const MplsVia & via ) { primaryVia_ = via; }
   const MplsVia & backupVia() const noexcept { return backupVia_; }
   void backupViaIs( const MplsVia & via ) { backupVia_ = via; }

   explicit operator bool() const { return *this != ProtectedTunnelTableEntryBase(); }
   friend bool operator==( const ProtectedTunnelTableEntryBase &,
                           const ProtectedTunnelTableEntryBase & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::ProtectedTunnelTableEntryBase', ** {" + fieldsText() +
             "})";
   }
   friend std::ostream & operator<<( std::ostream & os,
                                     const ProtectedTunnelTableEntryBase & e ) {
      return os << e.stringValue();
   }

 protected:
   std::string fieldsText() const {
      return MplsTunnelTableEntryBase::fieldsText() + ", 'primaryVia': " +
             primaryVia_.stringValue() + ", 'backupVia': " + backupVia_.stringValue();
   }

 private:
   MplsVia primaryVia_;
   MplsVia backupVia_;
};

using RsvpLerSubTunnelTableEntry = ProtectedTunnelTableEntryBase;
using RsvpFrrTunnelTableEntry = ProtectedTunnelTableEntryBase;
using TiLfaTunnelTableEntry = ProtectedTunnelTableEntryBase;

} // namespace Tunnel::TunnelTable
