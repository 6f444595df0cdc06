#pragma once

#include <ostream>
#include <string>

#include "platform/korvo/MplsLabelOperation.h"
#include "types/EncapId.h"
#include "types/GreTunnelInfo.h"
#include "types/IpsecGreTunnelInfo.h"
#include "types/IpsecVtiTunnelInfo.h"

namespace Tunnel::TunnelFib {

// One published encapsulation: its value and the id FIB entries name it by.
// The default record (null id, default value) is the absent one.
template< class Info >
class EncapRecord {
 public:
   using InfoType = Info;

   EncapRecord() = default;
   EncapRecord( EncapId encapId, Info info ) : encapId_( encapId ), info_( std::move( info ) ) {}

   EncapId encapId() const noexcept { return encapId_; }
   const Info & info() const noexcept { return info_; }

   explicit operator bool() const { return *this != EncapRecord(); }
   friend bool operator==( const EncapRecord &, const EncapRecord & ) = default;

   std::string stringValue() const {
      return "Value('Tunnel::TunnelFib::EncapRecord', ** {'encapId': " + encapId_.stringValue() +
             ", 'info': " + info_.stringValue() + "})";
   }
   friend std::ostream & operator<<( std::ostream & os, const EncapRecord & r ) {
      return os << r.stringValue();
   }

 private:
   EncapId encapId_;
   Info info_;
};

using GreEncap = EncapRecord< GreTunnelInfo >;
using IpsecVtiEncap = EncapRecord< IpsecVtiTunnelInfo >;
using IpsecGreEncap = EncapRecord< IpsecGreTunnelInfo >;
using LabelStackEncap = EncapRecord< Korvo::MplsLabelOperation >;

} // namespace Tunnel::TunnelFib
