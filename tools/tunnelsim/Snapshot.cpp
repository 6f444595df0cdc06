#include "tools/tunnelsim/Snapshot.h"

#include <algorithm>
#include <charconv>

#include "fib/TunnelFibSm.h"
#include "platform/toggles/FeatureToggles.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "rib/TunnelRibSm.h"
#include "agent/TunnelAgent.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"

namespace TunnelSim {

using namespace Tunnel::TunnelTable;

namespace {

template< class Rib >
void addEntries( const Rib & rib, RibView & view ) {
   for ( const auto & [ key, entry ] : rib.entry() ) {
      view.entries.push_back( entry );
   }
}

template< class Table >
void addEncaps( const Table & table, FibView & fib ) {
   for ( const auto & [ id, record ] : table ) {
      fib.encaps[ id ].value = record.info();
   }
}

FibView fibView( const Tunnel::TunnelAgent & agent ) {
   const Tunnel::TunnelFib::TunnelFib & tunnelFib = *agent.tunnelFib;
   FibView fib;
   addEncaps( tunnelFib.greEncap(), fib );
   addEncaps( tunnelFib.ipsecVtiEncap(), fib );
   addEncaps( tunnelFib.ipsecGreEncap(), fib );
   addEncaps( tunnelFib.labelStackEncap(), fib );
   for ( const auto & [ id, entry ] : tunnelFib.entry() ) {
      fib.entries.push_back( entry );
      entry.forEachVia( [ & ]( const Tunnel::TunnelFib::TunnelVia & via ) {
         auto encap = fib.encaps.find( via.encapId() );
         if ( encap != fib.encaps.end() ) {
            ++encap->second.refCount;
         }
      } );
   }
   if ( const auto & fibSm = agent.tunnelFibSm() ) {
      for ( auto & [ id, encap ] : fib.encaps ) {
         std::uint32_t counted = fibSm->tunnelFibWriter()->encapIdRefCount( id );
         if ( counted != encap.refCount ) {
            encap.writerRefCount = counted;
         }
      }
   }
   for ( const auto & [ id, unprogrammable ] : agent.unprogrammable->entry() ) {
      fib.unprogrammable.push_back( id );
   }
   return fib;
}

GrRecordView::Input inputView( const Tunnel::Gr::InputProcessedStatus & status,
                               bool inputProcessedSm ) {
   GrRecordView::Input input;
   input.backlogsEmpty = status.backlogsEmpty()();
   for ( const auto & [ tableId, quiesced ] : status.tunnelTablesQuiesced() ) {
      input.tablesQuiesced[ tableId ] = quiesced;
   }
   input.inputProcessedSm = inputProcessedSm;
   return input;
}

std::optional< GracefulRestartView > gracefulRestartView( const Tunnel::TunnelAgent & agent ) {
   const auto & container = *agent.grStatus;
   const bool fibTakesPart =
      agent.tunnelFibEnabled() && Toggles::toggleEnabled( "MplsL3VpnSso" );
   if ( container.tunnelRibGrStatus().empty() && !fibTakesPart ) {
      return std::nullopt;
   }
   GracefulRestartView view;
   view.restartTracking = container.tunnelGrContext()->restartTracking()();
   view.restartComplete = container.tunnelGrContext()->restartComplete()();
   for ( const auto & [ id, status ] : container.tunnelRibGrStatus() ) {
      GrRecordView & rib = view.ribs[ id ];
      rib.backlogEmpty = status->tunnelRibSmBacklogEmpty()();
      if ( auto counter = container.grCounters()->tunnelRibUpdateCounter( id ) ) {
         rib.tunnelTablesProcessed = counter->tunnelTablesProcessed();
      }
      const auto & dirSm = agent.ribConfigDirSm();
      auto ribSm = dirSm ? dirSm->tunnelRibSm( id ) : nullptr;
      const auto * builder = ribSm ? ribSm->tunnelRibBuilderSm().get() : nullptr;
      if ( builder && builder->inputProcessedStatus() ) {
         rib.input = inputView( *builder->inputProcessedStatus(),
                                bool( builder->inputProcessedSm() ) );
      }
   }
   if ( fibTakesPart ) {
      GrRecordView & fib = view.fib.emplace();
      fib.backlogEmpty = agent.tunnelFibGrStatus->tunnelFibSmBacklogEmpty()();
      fib.tunnelTablesProcessed = agent.tunnelFibGrStatus->tunnelTablesProcessed();
      const auto & fibSm = agent.tunnelFibSm();
      if ( fibSm && fibSm->inputProcessedStatus() ) {
         fib.input = inputView( *fibSm->inputProcessedStatus(), bool( fibSm->inputProcessedSm() ) );
      }
   }
   return view;
}

std::map< TunnelRibId, std::string > namesById( const Tunnel::TunnelAgent & agent ) {
   std::map< TunnelRibId, std::string > names;
   for ( const auto & [ name, id ] : agent.ribNameIdMap->names() ) {
      names.emplace( id, name.text() );
   }
   return names;
}

} // namespace

Snapshot takeSnapshot( const Tunnel::TunnelAgent & agent, const SnapshotOptions & options ) {
   Snapshot snapshot;
   snapshot.time = agent.scheduler->now();
   const std::string prefix = TunnelRibConfigDirSm::statusPathPrefix;
   const auto names = namesById( agent );
   agent.entityManager->forEachPath( [ & ]( const std::string & path ) {
      if ( !path.starts_with( prefix ) ) {
         return;
      }
      std::string_view digits( path );
      digits.remove_prefix( prefix.size() );
      std::uint32_t id = 0;
      auto [ end, ec ] = std::from_chars( digits.data(), digits.data() + digits.size(), id );
      if ( ec != std::errc{} || end != digits.data() + digits.size() ) {
         return;
      }
      auto name = names.find( id );
      RibView view{ id, name == names.end() ? std::string() : name->second, false, {} };
      if ( auto rib = agent.entityManager->lookup< TunnelRib >( path ) ) {
         addEntries( *rib, view );
      } else if ( auto colored = agent.entityManager->lookup< ColoredTunnelRib >( path ) ) {
         view.colored = true;
         addEntries( *colored, view );
      } else {
         return;
      }
      snapshot.ribs.push_back( std::move( view ) );
   } );
   std::sort( snapshot.ribs.begin(), snapshot.ribs.end(),
              []( const RibView & a, const RibView & b ) { return a.id < b.id; } );
   if ( options.protocolRibs ) {
      for ( const auto & [ type, wrapper ] : agent.protocolRibs->protocolTunnelRib() ) {
         RibView view{ TunnelRibId::systemTunnelRib, stringValue( type ), false, {} };
         if ( wrapper->tunnelRib() ) {
            addEntries( *wrapper->tunnelRib(), view );
         }
         snapshot.protocolRibs.emplace_back( type, std::move( view ) );
      }
   }
   for ( const auto & [ id, seqno ] : agent.tunnelConvergence->tunnelRibConvergenceSeqno() ) {
      snapshot.convergence[ id ] = seqno;
   }
   snapshot.gracefulRestart = gracefulRestartView( agent );
   if ( agent.tunnelFibEnabled() ) {
      snapshot.fib = fibView( agent );
   }
   if ( options.dump ) {
      snapshot.dump = agent.dump();
   }
   return snapshot;
}

std::map< RibEntryKey, const TunnelRibEntry * > ribEntriesByKey( const Snapshot & snapshot ) {
   std::map< RibEntryKey, const TunnelRibEntry * > result;
   for ( const RibView & rib : snapshot.ribs ) {
      for ( const TunnelRibEntry & entry : rib.entries ) {
         ColoredTunnelEndpoint key =
            rib.colored ? entry.coloredTep() : ColoredTunnelEndpoint( entry.tep() );
         result[ { rib.id, key } ] = &entry;
      }
   }
   return result;
}

} // namespace TunnelSim
