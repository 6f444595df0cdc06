#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/vel/Reactor.h"
#include "types/TunnelRibBase.h"
#include "types/TunnelRibId.h"

namespace Tunnel {
class TunnelAgent;
}

namespace TunnelD {

// One write of an output key: a value to set, or none to delete the key.
struct OutputWrite {
   std::string key;
   std::optional< std::string > value;
};

// Every output key with its value, by key (the part after "<prefix>:out:").
using OutputState = std::map< std::string, std::string >;

// Mirrors the agent's output tables as keys. Each change of a table becomes
// a write queued in the order the machines made it, with the value the key
// had at that moment, so the store passes through the same states as the
// tables: an encap record appears before the first FIB entry naming it and
// goes after the last one. The tunnel RIBs come and go with configuration,
// so `sweep` looks for them after every run of the machines.
class OutputMirror {
 public:
   explicit OutputMirror( Tunnel::TunnelAgent & agent );
   ~OutputMirror();
   OutputMirror( const OutputMirror & ) = delete;
   OutputMirror & operator=( const OutputMirror & ) = delete;

   // Before the machines are built: puts what tunneld published before back
   // into the output tables. Keys that cannot be read, or whose RIB is
   // gone, are reported through `refuse` and left out.
   void load( const OutputState & published,
              const std::function< void( const std::string & key, const std::string & reason ) > &
                 refuse );
   // Starts mirroring, once; writes made before are not queued.
   void attach();
   // Picks up RIBs mounted or unmounted since, RIB names, and the GR record.
   void sweep();
   std::vector< OutputWrite > takeWrites();

   // What the output keys should hold now.
   OutputState state() const;
   // The writes that turn `published` into `state()` in an order that keeps
   // every FIB entry's encap records published.
   std::vector< OutputWrite > reconcile( const OutputState & published ) const;

 private:
   struct RibWatch {
      Vel::Ptr< Tunnel::TunnelTable::TunnelRibBase > rib;
      Vel::Reactor reactor;
   };

   void write( std::string key, std::optional< std::string > value );
   void watchRib( Tunnel::TunnelTable::TunnelRibId id,
                  const Vel::Ptr< Tunnel::TunnelTable::TunnelRibBase > & rib );
   void addRibEntries( Tunnel::TunnelTable::TunnelRibId id,
                       const Tunnel::TunnelTable::TunnelRibBase & rib, OutputState & state ) const;
   std::map< Tunnel::TunnelTable::TunnelRibId, Vel::Ptr< Tunnel::TunnelTable::TunnelRibBase > >
   mountedRibs() const;
   std::map< Tunnel::TunnelTable::TunnelRibId, std::string > ribRecords() const;
   std::string grRecord() const;

   Tunnel::TunnelAgent & agent_;
   bool attached_ = false;
   std::vector< Vel::Reactor > reactors_;
   std::map< Tunnel::TunnelTable::TunnelRibId, RibWatch > ribs_;
   std::map< Tunnel::TunnelTable::TunnelRibId, std::string > publishedRibRecords_;
   std::string publishedGrRecord_;
   std::vector< OutputWrite > writes_;
};

} // namespace TunnelD
