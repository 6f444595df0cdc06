#pragma once

#include "platform/korvo/IpGenPrefix.h"
#include "platform/vel/Ptr.h"
#include "types/TunnelRibTable.h"

namespace Tunnel::TunnelTable {

// An uncolored tunnel RIB: one entry per endpoint prefix.
class TunnelRib final : public TunnelRibTable< Korvo::IpGenPrefix > {};

Vel::Ptr< TunnelRib > tunnelRibFactory();

} // namespace Tunnel::TunnelTable
