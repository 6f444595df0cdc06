#pragma once

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

#include "types/ColoredTunnelEndpoint.h"
#include "types/ProtectedTunnelTableEntryBase.h"

namespace Tunnel::TunnelTable {

// The entry of an RSVP LER tunnel: a protected tunnel that may carry a color
// (its endpoints are then colored), says for which of the two application
// tunnel RIBs it is eligible, and has an IGP-cost preference.
class RsvpLerTunnelTableEntry : public ProtectedTunnelTableEntryBase {
 public:
   RsvpLerTunnelTableEntry() = default;
   RsvpLerTunnelTableEntry( TunnelId tunnelId, TunnelEntryPref pref )
         : ProtectedTunnelTableEntryBase( tunnelId, pref ) {}

   const std::optional< TunnelColor > & color() const noexcept { return color_; }
   void colorIs( std::optional< TunnelColor > color ) noexcept { color_ = color; }
   // May serve the IGP shortcut tunnel RIB.
   bool igpShortcutEligible() const noexcept { return igpShortcutEligible_; }
   void igpShortcutEligibleIs( bool eligible ) noexcept { igpShortcutEligible_ = eligible; }
   // May serve the LDP tunneling tunnel RIB.
   bool ldpTunnelingEligible() const noexcept { return ldpTunnelingEligible_; }
   void ldpTunnelingEligibleIs( bool eligible ) noexcept { ldpTunnelingEligible_ = eligible; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t pref ) noexcept { igpCostPref_ = pref; }

   explicit operator bool() const { return *this != RsvpLerTunnelTableEntry(); }
   friend bool operator==( const RsvpLerTunnelTableEntry &,
                           const RsvpLerTunnelTableEntry & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::RsvpLerTunnelTableEntry', ** {" + fieldsText() +
             ", 'color': " + ( color_ ? std::to_string( *color_ ) : "None" ) +
             ", 'igpShortcutEligible': " + ( igpShortcutEligible_ ? "True" : "False" ) +
             ", 'ldpTunnelingEligible': " + ( ldpTunnelingEligible_ ? "True" : "False" ) +
             ", 'igpCostPref': " + std::to_string( igpCostPref_ ) + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const RsvpLerTunnelTableEntry & e ) {
      return os << e.stringValue();
   }

 private:
   std::optional< TunnelColor > color_;
   bool igpShortcutEligible_ = false;
   bool ldpTunnelingEligible_ = false;
   std::uint32_t igpCostPref_ = 0;
};

} // namespace Tunnel::TunnelTable
