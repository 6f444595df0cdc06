#pragma once

#include <string>
#include <vector>

#include "tools/tunnelsim/JsonValue.h"
#include "tools/tunnelsim/Question.h"
#include "tools/tunnelsim/TableKind.h"

namespace TunnelSim {

// One step of a script, checked and ready to apply.
struct Step {
   enum class Kind { change, run, advance, print, dump, stop, start, restart, explain, graph };

   Kind kind;
   // Where the step is written ("$.script[3]"), and its verb ("set").
   std::string path;
   std::string verb;
   // What a change step does to the agent's inputs.
   Action change;
   // The time an advance step moves on by.
   double seconds = 0;
   // The title of a print step; may be empty.
   std::string label;
   // What an explain or graph step asks.
   Question question;
};

// A scenario file, read whole and checked before anything is applied: the
// inputs to set up before the agent starts, and the script to play then.
struct Scenario {
   // Whether the agent runs the tunnel FIB machine; without it the scenario
   // marks unprogrammable tunnels by hand.
   bool tunnelFib = true;
   Action setup;
   std::vector< Step > script;
   bool printsAnything = false;
};

// Read a whole scenario (the JSON document of a file).
Scenario readScenario( const JsonValue & document );
// Read one step: an element of a script, or one line of the streaming mode.
// With the tunnel FIB running, steps that mark tunnels (un)programmable are
// refused: the FIB owns those marks.
Step readStep( const JsonValue & value, bool tunnelFib );

} // namespace TunnelSim
