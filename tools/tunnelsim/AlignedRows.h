#pragma once

#include <string>
#include <vector>

namespace TunnelSim {

using Row = std::vector< std::string >;

// Rows as text, each column as wide as its widest cell, columns two blanks
// apart, every line after `indent` and without trailing blanks. The first row
// sets the column count.
std::string alignedRows( const std::vector< Row > & rows, const std::string & indent );

} // namespace TunnelSim
