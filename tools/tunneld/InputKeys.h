#pragma once

#include <optional>
#include <string>

#include "tools/tunnelsim/TableKind.h"

namespace TunnelD {

// The names of the keys tunneld reads and writes, all under one prefix
// ("tunnel" by default). See docs/tunneld.md.
class KeySchema {
 public:
   explicit KeySchema( std::string prefix ) : prefix_( std::move( prefix ) ) {}

   const std::string & prefix() const noexcept { return prefix_; }
   std::string inputs() const { return prefix_ + ":in:"; }
   std::string outputs() const { return prefix_ + ":out:"; }
   std::string status() const { return prefix_ + ":status"; }
   std::string refused() const { return prefix_ + ":status:refused"; }
   std::string toggles() const { return inputs() + "toggles"; }

 private:
   std::string prefix_;
};

// Reads one input key: its value (absent when the key was deleted) becomes
// the change it makes to the agent's inputs. The readers are tunnelsim's, so
// a value is written exactly as in a scenario. Bad input is refused with
// TunnelSim::ScenarioError, whose path is within the value ("$.vias[0]"), or
// "$" for the key itself.
TunnelSim::Action readInputKey( const KeySchema & schema, const std::string & key,
                                const std::optional< std::string > & value );

} // namespace TunnelD
