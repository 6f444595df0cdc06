#pragma once

#include <cstdint>

#include "platform/vel/Attribute.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelTableIdentifier.h"

namespace Tunnel::TunnelTable {

// One protocol table configured for a tunnel RIB, with its preference
// settings. An entity, so that a reactor can watch one setting of one table.
class TunnelRibProtoEntry : public Vel::PtrInterface {
 public:
   explicit TunnelRibProtoEntry( TunnelTableIdentifier tableId ) : tableId_( tableId ) {}

   TunnelTableIdentifier tableId() const noexcept { return tableId_; }

   // When non-zero, `preference` replaces each entry's own preference.
   const Vel::Attribute< std::uint32_t > & prefMapping() const noexcept { return prefMapping_; }
   void prefMappingIs( std::uint32_t mapping ) { prefMapping_.set( mapping ); }
   const Vel::Attribute< std::uint8_t > & preference() const noexcept { return preference_; }
   void preferenceIs( std::uint8_t preference ) { preference_.set( preference ); }
   // When 1, `igpCostPref` replaces each entry's own IGP-cost preference.
   const Vel::Attribute< std::uint32_t > & igpCostPrefMapping() const noexcept {
      return igpCostPrefMapping_;
   }
   void igpCostPrefMappingIs( std::uint32_t mapping ) { igpCostPrefMapping_.set( mapping ); }
   const Vel::Attribute< std::uint8_t > & igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint8_t pref ) { igpCostPref_.set( pref ); }

 private:
   TunnelTableIdentifier tableId_;
   Vel::Attribute< std::uint32_t > prefMapping_{ 0 };
   Vel::Attribute< std::uint8_t > preference_{ 0 };
   Vel::Attribute< std::uint32_t > igpCostPrefMapping_{ 0 };
   Vel::Attribute< std::uint8_t > igpCostPref_{ 0 };
};

} // namespace Tunnel::TunnelTable
