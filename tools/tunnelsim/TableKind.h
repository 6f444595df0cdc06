#pragma once

#include <functional>
#include <string_view>
#include <vector>

#include "tools/tunnelsim/JsonValue.h"
#include "types/TunnelId.h"
#include "types/TunnelTableIdentifier.h"
#include "types/TunnelType.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelSim {

// A change the scenario makes to the agent's inputs, read and checked before
// any change is made.
using Action = std::function< void( Tunnel::TunnelAgent & ) >;

// One protocol tunnel table as the scenario knows it: its name, the tunnel
// type of its ids, and how an entry written in the scenario becomes a write
// into the table at "tunnel/table/<name>".
struct TableKind {
   std::string_view name;
   Tunnel::TunnelTable::TunnelTableIdentifier tableId;
   Tunnel::TunnelTable::TunnelType type;
   // Reads one entry; the action writes it (insert or overwrite).
   std::function< Action( const JsonValue & entry ) > readEntry;
   // The action deletes the entry of the id.
   std::function< Action( Tunnel::TunnelTable::TunnelId id ) > deleteEntry;
   // The action declares the table, as its producer does by giving it a
   // collection control (made when there is none), and says whether the
   // producer has written all it had.
   std::function< Action( bool complete ) > tableCompleteIs;

   // Whether a tunnel of the id's type is published in this table (the
   // "rsvpFrr" table also holds the RSVP FRR backup tunnels).
   bool acceptsId( Tunnel::TunnelTable::TunnelId id ) const;
   // Reads an id of this table, refusing ids of another type.
   Tunnel::TunnelTable::TunnelId readId( const JsonValue & value ) const;
};

// Whether some table holds tunnels of the id's type.
bool someTableHolds( Tunnel::TunnelTable::TunnelId id );
// Refuses, at the value's path, a tunnel id of a type no table holds: no
// tunnel of that type can exist, so none can be marked or carry a via.
[[noreturn]] void refuseTablelessId( const JsonValue & value, std::string_view expected,
                                     Tunnel::TunnelTable::TunnelId id );
// Reads a tunnel id of a type some table holds.
Tunnel::TunnelTable::TunnelId readTableTunnelId( const JsonValue & value );

// Every protocol table a scenario can write, in the order the docs list them.
const std::vector< TableKind > & tableKinds();
// The kind of a table name, refusing, at the value's path, any other name.
const TableKind & readTableKind( const JsonValue & where, const std::string & name );

} // namespace TunnelSim
