#include "tools/tunneld/OutputMirror.h"

#include <charconv>

#include "agent/TunnelAgent.h"
#include "platform/toggles/FeatureToggles.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "tools/tunneld/OutputCodec.h"
#include "tools/tunnelsim/GrPrinter.h"
#include "tools/tunnelsim/JsonParse.h"
#include "tools/tunnelsim/ScenarioError.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"

namespace TunnelD {

using namespace Tunnel::TunnelTable;
using namespace Tunnel::TunnelFib;
using TunnelSim::JsonValue;

namespace {

// Calls f with the RIB as the table type it is mounted as.
template< class F >
void withRibTable( TunnelRibBase & rib, F && f ) {
   if ( auto * plain = dynamic_cast< TunnelRib * >( &rib ) ) {
      f( *plain );
   } else if ( auto * colored = dynamic_cast< ColoredTunnelRib * >( &rib ) ) {
      f( *colored );
   }
}

ColoredTunnelEndpoint endpointOf( const Korvo::IpGenPrefix & prefix ) {
   return ColoredTunnelEndpoint( prefix );
}
const ColoredTunnelEndpoint & endpointOf( const ColoredTunnelEndpoint & endpoint ) {
   return endpoint;
}

std::optional< std::uint32_t > number( std::string_view text ) {
   std::uint32_t value = 0;
   auto [ end, ec ] = std::from_chars( text.data(), text.data() + text.size(), value );
   if ( ec != std::errc{} || end != text.data() + text.size() || text.empty() ) {
      return std::nullopt;
   }
   return value;
}

// The part of a key after `head`, when it starts so.
std::optional< std::string_view > after( std::string_view key, std::string_view head ) {
   if ( key.starts_with( head ) ) {
      return key.substr( head.size() );
   }
   return std::nullopt;
}

// Records that others name: an encap (named by FIB entries) and a RIB
// (whose entries are keyed by its id).
bool isNamedRecord( const std::string & key ) {
   return key.starts_with( "encap:" ) || key.starts_with( "ribs:" );
}

// Restores the RIB names with their ids. A name gets the lowest free id, so
// the names are given in id order, and ids that were free then are held by
// stand-ins until every name has its own.
std::vector< std::pair< TunnelRibId, RibRecord > >
restoreNames( TunnelRibNameIdMap & map, std::map< TunnelRibId, RibRecord > records,
              const std::function< void( const std::string &, const std::string & ) > & refuse ) {
   std::vector< std::pair< TunnelRibId, RibRecord > > restored;
   std::vector< Vel::Name > standIns;
   for ( const auto & [ id, record ] : records ) {
      const TunnelRibId * fixed = TunnelRibNameIdMap::wellKnownId( Vel::Name( record.name ) );
      if ( !fixed && id.value() >= TunnelRibNameIdMap::firstDynamicId ) {
         while ( true ) {
            Vel::Name standIn( "\x01 stand-in " + std::to_string( standIns.size() ) );
            TunnelRibId next = map.tunnelRibNameIs( standIn );
            if ( next.value() >= id.value() ) {
               map.tunnelRibNameDel( standIn );
               break;
            }
            standIns.push_back( standIn );
         }
      }
      if ( map.tunnelRibNameHas( Vel::Name( record.name ) ) ||
           map.tunnelRibNameIs( Vel::Name( record.name ) ) != id ) {
         map.tunnelRibNameDel( Vel::Name( record.name ) );
         refuse( ribKey( id ), "the RIB name " + TunnelSim::quotedName( record.name ) +
                                  " cannot have this id again" );
         continue;
      }
      restored.emplace_back( id, record );
   }
   for ( const Vel::Name & standIn : standIns ) {
      map.tunnelRibNameDel( standIn );
   }
   return restored;
}

} // namespace

OutputMirror::OutputMirror( Tunnel::TunnelAgent & agent ) : agent_( agent ) {}

OutputMirror::~OutputMirror() = default;

void OutputMirror::load(
   const OutputState & published,
   const std::function< void( const std::string &, const std::string & ) > & refuse ) {
   // Read everything first, in an order where what a record rests on comes
   // before it: RIBs before their entries, encaps before FIB entries.
   std::map< TunnelRibId, RibRecord > ribRecords;
   std::vector< std::pair< TunnelRibId, TunnelRibEntry > > ribEntries;
   std::vector< std::pair< TunnelType, TunnelRibEntry > > protocolEntries;
   std::vector< EncapValue > encaps;
   std::vector< TunnelFibEntry > fibEntries;
   for ( const auto & [ key, text ] : published ) {
      try {
         auto json = TunnelSim::parseJson( text );
         JsonValue value( json, "$" );
         std::string expectedKey;
         if ( auto id = after( key, "ribs:" ) ) {
            auto number = TunnelD::number( *id );
            if ( !number ) {
               throw TunnelSim::ScenarioError( "$", "a RIB record key ends in a RIB id" );
            }
            ribRecords[ *number ] = readRib( value );
            expectedKey = ribKey( *number );
         } else if ( auto rest = after( key, "rib:" ) ) {
            auto number = TunnelD::number( rest->substr( 0, rest->find( ':' ) ) );
            TunnelRibEntry entry = readRibEntry( value );
            ribEntries.emplace_back( number.value_or( 0 ), entry );
            expectedKey = ribEntryKey( number.value_or( 0 ), entry.coloredTep() );
         } else if ( auto rest = after( key, "protocolRib:" ) ) {
            auto type = tunnelTypeFromString( std::string( rest->substr( 0, rest->find( ':' ) ) ) );
            TunnelRibEntry entry = readRibEntry( value );
            if ( type && agent_.protocolRibs->protocolTunnelRib( *type ) ) {
               protocolEntries.emplace_back( *type, entry );
               expectedKey = protocolRibEntryKey( *type, entry.tep() );
            }
         } else if ( after( key, "encap:" ) ) {
            EncapValue encap = readEncap( value );
            std::visit( [ & ]( const auto & record ) { expectedKey = encapKey( record.encapId() ); },
                        encap );
            encaps.push_back( encap );
         } else if ( after( key, "fib:" ) ) {
            fibEntries.push_back( readFibEntry( value ) );
            expectedKey = fibEntryKey( fibEntries.back().tunnelId() );
         } else if ( auto id = after( key, "unprogrammable:" ) ) {
            auto tunnelId = TunnelId::parse( *id );
            if ( tunnelId ) {
               agent_.unprogrammable->entryIs( *tunnelId, value.boolean() );
               expectedKey = unprogrammableKey( *tunnelId );
            }
         } else if ( auto id = after( key, "convergence:" ) ) {
            if ( auto number = TunnelD::number( *id ) ) {
               agent_.tunnelConvergence->tunnelRibConvergenceSeqnoIs(
                  *number, value.unsignedNumber( std::numeric_limits< std::uint64_t >::max() ) );
               expectedKey = convergenceKey( *number );
            }
         } else if ( key == grStatusKey ) {
            // Written anew by the machines that run now.
            continue;
         }
         if ( expectedKey != key ) {
            refuse( key, "not a key tunneld writes, or a value of another key" );
         }
      } catch ( const TunnelSim::ScenarioError & e ) {
         refuse( key, e.what() );
      }
   }

   for ( const auto & [ id, record ] :
         restoreNames( *agent_.ribNameIdMap, ribRecords, refuse ) ) {
      std::string path = TunnelRibConfigDirSm::statusPath( id );
      Vel::Ptr< TunnelRibBase > rib;
      if ( id.isSystemColoredRibId() ) {
         rib = agent_.entityManager->mount< ColoredTunnelRib >( path );
      } else {
         rib = agent_.entityManager->mount< TunnelRib >( path );
      }
      rib->idIs( id );
   }
   for ( const auto & [ id, entry ] : ribEntries ) {
      std::string path = TunnelRibConfigDirSm::statusPath( id );
      if ( auto rib = agent_.entityManager->lookup< TunnelRib >( path );
           rib && !entry.coloredTep().colored() ) {
         rib->entryIs( entry );
      } else if ( auto colored = agent_.entityManager->lookup< ColoredTunnelRib >( path ) ) {
         colored->entryIs( entry );
      } else {
         refuse( ribEntryKey( id, entry.coloredTep() ), "no RIB of this id was published" );
      }
   }
   for ( const auto & [ type, entry ] : protocolEntries ) {
      agent_.protocolRibs->protocolTunnelRib( type )->tunnelRib()->entryIs( entry );
   }
   std::set< EncapId > encapIds;
   for ( const EncapValue & encap : encaps ) {
      std::visit(
         [ & ]( const auto & record ) {
            encapIds.insert( record.encapId() );
            using Record = std::decay_t< decltype( record ) >;
            TunnelFib & fib = *agent_.tunnelFib;
            if constexpr ( std::is_same_v< Record, LabelStackEncap > ) {
               fib.labelStackEncapIs( record );
            } else if constexpr ( std::is_same_v< Record, GreEncap > ) {
               fib.greEncapIs( record );
            } else if constexpr ( std::is_same_v< Record, IpsecVtiEncap > ) {
               fib.ipsecVtiEncapIs( record );
            } else {
               fib.ipsecGreEncapIs( record );
            }
         },
         encap );
   }
   for ( const TunnelFibEntry & entry : fibEntries ) {
      bool published = true;
      entry.forEachVia( [ & ]( const TunnelVia & via ) {
         published = published && ( via.encapId().isNull() || encapIds.count( via.encapId() ) );
      } );
      if ( published ) {
         agent_.tunnelFib->entryIs( entry );
      } else {
         refuse( fibEntryKey( entry.tunnelId() ), "names an encap id that was not published" );
      }
   }
}

void OutputMirror::write( std::string key, std::optional< std::string > value ) {
   writes_.push_back( OutputWrite{ std::move( key ), std::move( value ) } );
}

void OutputMirror::attach() {
   if ( attached_ ) {
      return;
   }
   attached_ = true;
   TunnelFib & fib = *agent_.tunnelFib;
   reactors_.push_back( fib.entry().react( [ this, &fib ]( const TunnelId & id ) {
      const TunnelFibEntry * entry = fib.entryFind( id );
      write( fibEntryKey( id ), entry ? std::optional( fibEntryJson( *entry ) ) : std::nullopt );
   } ) );
   auto watchEncaps = [ this ]( const auto & table ) {
      reactors_.push_back( table.react( [ this, &table ]( const EncapId & id ) {
         const auto * record = table.find( id );
         write( encapKey( id ), record ? std::optional( encapJson( *record ) ) : std::nullopt );
      } ) );
   };
   watchEncaps( fib.labelStackEncap() );
   watchEncaps( fib.greEncap() );
   watchEncaps( fib.ipsecVtiEncap() );
   watchEncaps( fib.ipsecGreEncap() );
   const TunnelIdColl & unprogrammable = *agent_.unprogrammable;
   reactors_.push_back( unprogrammable.entry().react( [ this, &unprogrammable ]( const TunnelId & id ) {
      write( unprogrammableKey( id ),
             unprogrammable.entryHas( id )
                ? std::optional< std::string >( unprogrammable.entry( id ) ? "true" : "false" )
                : std::nullopt );
   } ) );
   const TunnelConvergence & convergence = *agent_.tunnelConvergence;
   reactors_.push_back( convergence.tunnelRibConvergenceSeqno().react(
      [ this, &convergence ]( const TunnelRibId & id ) {
         const auto * seqno = convergence.tunnelRibConvergenceSeqno().find( id );
         write( convergenceKey( id ),
                seqno ? std::optional( std::to_string( *seqno ) ) : std::nullopt );
      } ) );
   for ( const auto & [ type, wrapper ] : agent_.protocolRibs->protocolTunnelRib() ) {
      const TunnelRib & rib = *wrapper->tunnelRib();
      reactors_.push_back( rib.entry().react( [ this, &rib, type = type ]( const Korvo::IpGenPrefix & tep ) {
         const TunnelRibEntry * entry = rib.entry().find( tep );
         write( protocolRibEntryKey( type, tep ),
                entry ? std::optional( ribEntryJson( *entry ) ) : std::nullopt );
      } ) );
   }
   for ( const auto & [ id, rib ] : mountedRibs() ) {
      watchRib( id, rib );
   }
   publishedRibRecords_ = ribRecords();
   publishedGrRecord_ = grRecord();
}

void OutputMirror::watchRib( TunnelRibId id, const Vel::Ptr< TunnelRibBase > & rib ) {
   RibWatch & watch = ribs_[ id ];
   watch.rib = rib;
   withRibTable( *rib, [ & ]( auto & table ) {
      using Key = std::decay_t< decltype( table.entry().begin()->first ) >;
      watch.reactor = table.entry().react( [ this, id, &table ]( const Key & key ) {
         const TunnelRibEntry * entry = table.entry().find( key );
         write( ribEntryKey( id, endpointOf( key ) ),
                entry ? std::optional( ribEntryJson( *entry ) ) : std::nullopt );
      } );
   } );
}

void OutputMirror::sweep() {
   if ( !attached_ ) {
      return;
   }
   auto mounted = mountedRibs();
   for ( auto it = ribs_.begin(); it != ribs_.end(); ) {
      auto now = mounted.find( it->first );
      if ( now != mounted.end() && now->second == it->second.rib ) {
         ++it;
         continue;
      }
      // Gone, or mounted anew: what the old table still holds leaves the store.
      TunnelRibId id = it->first;
      withRibTable( *it->second.rib, [ & ]( auto & table ) {
         for ( const auto & [ key, entry ] : table.entry() ) {
            write( ribEntryKey( id, endpointOf( key ) ), std::nullopt );
         }
      } );
      it = ribs_.erase( it );
   }
   auto records = ribRecords();
   for ( const auto & [ id, record ] : publishedRibRecords_ ) {
      if ( !records.count( id ) ) {
         write( ribKey( id ), std::nullopt );
      }
   }
   for ( const auto & [ id, record ] : records ) {
      auto old = publishedRibRecords_.find( id );
      if ( old == publishedRibRecords_.end() || old->second != record ) {
         write( ribKey( id ), record );
      }
   }
   publishedRibRecords_ = records;
   for ( const auto & [ mountedId, rib ] : mounted ) {
      if ( ribs_.count( mountedId ) ) {
         continue;
      }
      const TunnelRibId id = mountedId;
      watchRib( id, rib );
      withRibTable( *rib, [ & ]( auto & table ) {
         for ( const auto & [ key, entry ] : table.entry() ) {
            write( ribEntryKey( id, endpointOf( key ) ), ribEntryJson( entry ) );
         }
      } );
   }
   std::string gr = grRecord();
   if ( gr != publishedGrRecord_ ) {
      write( grStatusKey, gr.empty() ? std::nullopt : std::optional( gr ) );
      publishedGrRecord_ = gr;
   }
}

std::vector< OutputWrite > OutputMirror::takeWrites() { return std::exchange( writes_, {} ); }

std::map< TunnelRibId, Vel::Ptr< TunnelRibBase > > OutputMirror::mountedRibs() const {
   std::map< TunnelRibId, Vel::Ptr< TunnelRibBase > > ribs;
   const std::string prefix = TunnelRibConfigDirSm::statusPathPrefix;
   agent_.entityManager->forEachPath( [ & ]( const std::string & path ) {
      auto id = path.starts_with( prefix ) ? number( std::string_view( path ).substr( prefix.size() ) )
                                           : std::nullopt;
      if ( !id ) {
         return;
      }
      if ( auto rib = agent_.entityManager->lookup< TunnelRib >( path ) ) {
         ribs[ *id ] = rib;
      } else if ( auto colored = agent_.entityManager->lookup< ColoredTunnelRib >( path ) ) {
         ribs[ *id ] = colored;
      }
   } );
   return ribs;
}

std::map< TunnelRibId, std::string > OutputMirror::ribRecords() const {
   std::map< TunnelRibId, std::string > records;
   auto mounted = mountedRibs();
   for ( const auto & [ name, id ] : agent_.ribNameIdMap->names() ) {
      if ( mounted.count( id ) ) {
         records[ id ] = ribJson( name.text(), id.isSystemColoredRibId() );
      }
   }
   return records;
}

std::string OutputMirror::grRecord() const {
   const auto & container = *agent_.grStatus;
   const bool fibTakesPart = agent_.tunnelFibEnabled() && Toggles::toggleEnabled( "MplsL3VpnSso" );
   if ( container.tunnelRibGrStatus().empty() && !fibTakesPart ) {
      return {};
   }
   TunnelSim::GracefulRestartView view;
   view.restartTracking = container.tunnelGrContext()->restartTracking()();
   view.restartComplete = container.tunnelGrContext()->restartComplete()();
   for ( const auto & [ id, status ] : container.tunnelRibGrStatus() ) {
      TunnelSim::GrRecordView & rib = view.ribs[ id ];
      rib.backlogEmpty = status->tunnelRibSmBacklogEmpty()();
      if ( auto counter = container.grCounters()->tunnelRibUpdateCounter( id ) ) {
         rib.tunnelTablesProcessed = counter->tunnelTablesProcessed();
      }
   }
   if ( fibTakesPart ) {
      TunnelSim::GrRecordView & fib = view.fib.emplace();
      fib.backlogEmpty = agent_.tunnelFibGrStatus->tunnelFibSmBacklogEmpty()();
      fib.tunnelTablesProcessed = agent_.tunnelFibGrStatus->tunnelTablesProcessed();
   }
   return TunnelSim::gracefulRestartJson( view ).dump();
}

void OutputMirror::addRibEntries( TunnelRibId id, const TunnelRibBase & rib,
                                  OutputState & state ) const {
   withRibTable( const_cast< TunnelRibBase & >( rib ), [ & ]( const auto & table ) {
      for ( const auto & [ key, entry ] : table.entry() ) {
         state[ ribEntryKey( id, endpointOf( key ) ) ] = ribEntryJson( entry );
      }
   } );
}

OutputState OutputMirror::state() const {
   OutputState state;
   for ( const auto & [ id, rib ] : mountedRibs() ) {
      addRibEntries( id, *rib, state );
   }
   for ( const auto & [ id, record ] : ribRecords() ) {
      state[ ribKey( id ) ] = record;
   }
   for ( const auto & [ type, wrapper ] : agent_.protocolRibs->protocolTunnelRib() ) {
      for ( const auto & [ tep, entry ] : wrapper->tunnelRib()->entry() ) {
         state[ protocolRibEntryKey( type, tep ) ] = ribEntryJson( entry );
      }
   }
   const TunnelFib & fib = *agent_.tunnelFib;
   auto addEncaps = [ & ]( const auto & table ) {
      for ( const auto & [ id, record ] : table ) {
         state[ encapKey( id ) ] = encapJson( record );
      }
   };
   addEncaps( fib.labelStackEncap() );
   addEncaps( fib.greEncap() );
   addEncaps( fib.ipsecVtiEncap() );
   addEncaps( fib.ipsecGreEncap() );
   for ( const auto & [ id, entry ] : fib.entry() ) {
      state[ fibEntryKey( id ) ] = fibEntryJson( entry );
   }
   for ( const auto & [ id, value ] : agent_.unprogrammable->entry() ) {
      state[ unprogrammableKey( id ) ] = value ? "true" : "false";
   }
   for ( const auto & [ id, seqno ] : agent_.tunnelConvergence->tunnelRibConvergenceSeqno() ) {
      state[ convergenceKey( id ) ] = std::to_string( seqno );
   }
   if ( std::string gr = grRecord(); !gr.empty() ) {
      state[ grStatusKey ] = gr;
   }
   return state;
}

std::vector< OutputWrite > OutputMirror::reconcile( const OutputState & published ) const {
   const OutputState wanted = state();
   std::vector< OutputWrite > sets, namedDeletes, deletes, writes;
   for ( const auto & [ key, value ] : wanted ) {
      auto old = published.find( key );
      if ( old == published.end() || old->second != value ) {
         ( isNamedRecord( key ) ? writes : sets ).push_back( OutputWrite{ key, value } );
      }
   }
   for ( const auto & [ key, value ] : published ) {
      if ( !wanted.count( key ) ) {
         ( isNamedRecord( key ) ? namedDeletes : deletes ).push_back( OutputWrite{ key, std::nullopt } );
      }
   }
   // Named records first and withdrawn ones last, so nothing names a missing one.
   for ( auto * part : { &sets, &deletes, &namedDeletes } ) {
      writes.insert( writes.end(), part->begin(), part->end() );
   }
   return writes;
}

} // namespace TunnelD
