#pragma once

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/TableKind.h"

namespace TunnelSim {

// Reads one entry of a protocol table of kind `table`: a JSON object whose
// fields are the entry's fields (see docs/scenario-format.md). Specialised
// for every entry kind of the protocol tables.
template< class Entry >
Entry readTableEntry( const JsonValue & value, const TableKind & table );

} // namespace TunnelSim
