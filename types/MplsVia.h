#pragma once

#include <compare>
#include <ostream>
#include <string>

#include "platform/korvo/MplsLabelOperation.h"
#include "types/Via.h"

namespace Tunnel::TunnelTable {

// A via of a labelled tunnel: the next hop and what it does to the label
// stack. The default value (no next hop, no labels) stands for "no via".
class MplsVia {
 public:
   MplsVia() = default;
   MplsVia( Via via, Korvo::MplsLabelOperation labelOperation )
         : via_( std::move( via ) ), labelOperation_( labelOperation ) {}

   const Via & via() const noexcept { return via_; }
   void viaIs( const Via & via ) { via_ = via; }
   const Korvo::MplsLabelOperation & labelOperation() const noexcept { return labelOperation_; }
   void labelOperationIs( const Korvo::MplsLabelOperation & op ) { labelOperation_ = op; }

   std::string stringValue() const {
      return "Value('Tunnel::TunnelTable::MplsVia', ** {'via': " + via_.stringValue() +
             ", 'labelOperation': " + labelOperation_.stringValue() + "})";
   }

   friend auto operator<=>( const MplsVia &, const MplsVia & ) = default;
   friend bool operator==( const MplsVia &, const MplsVia & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const MplsVia & v ) {
      return os << v.stringValue();
   }

 private:
   Via via_;
   Korvo::MplsLabelOperation labelOperation_;
};

} // namespace Tunnel::TunnelTable
