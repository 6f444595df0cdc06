#pragma once

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "agent/TunnelAgent.h"
#include "fib/TunnelFibSm.h"
#include "rib/TunnelRibConfigDirSm.h"
#include "types/ColoredTunnelRib.h"
#include "types/TunnelRib.h"

// An agent's outputs as lines of text, one per RIB entry, FIB entry and
// unprogrammable tunnel, in terms two agents can share: RIBs by name rather
// than id, ECMP sets in id order, encapsulations by what they carry rather
// than by encap id. Two agents over the same inputs should give the same
// lines whatever their histories.

namespace AgentTest {

using namespace Tunnel::TunnelTable;
namespace Fib = Tunnel::TunnelFib;

using Lines = std::map< std::string, std::string >;

// The entry with its ids sorted; the order of an ECMP set is the order in
// which its members arrived.
inline TunnelRibEntry sortedIds( const TunnelRibEntry & entry ) {
   std::vector< TunnelId > ids;
   for ( unsigned i = 0; i < entry.tunnelIdCount(); ++i ) {
      ids.push_back( entry.tunnelId( i ) );
   }
   std::sort( ids.begin(), ids.end() );
   TunnelRibEntry sorted = entry;
   for ( unsigned i = 0; i < ids.size(); ++i ) {
      sorted.tunnelIdIs( i, ids[ i ] );
   }
   return sorted;
}

template< class Rib >
void addRibLines( Lines & lines, const std::string & title, const Rib & rib ) {
   for ( const auto & [ key, entry ] : rib.entry() ) {
      lines[ title + " " + entry.coloredTep().stringValue() ] = sortedIds( entry ).stringValue();
   }
}

inline std::string encapText( const Fib::TunnelFib & fib, Fib::EncapId id ) {
   switch ( id.encapType() ) {
   case Fib::EncapType::invalidEncap:
      return "no encap";
   case Fib::EncapType::mplsLabelStackEncap:
      if ( const auto * record = fib.labelStackEncap().find( id ) ) {
         return record->info().stringValue();
      }
      break;
   case Fib::EncapType::greEncap:
      if ( const auto * record = fib.greEncap().find( id ) ) {
         return record->info().stringValue();
      }
      break;
   default:
      break;
   }
   return "unpublished " + id.stringValue();
}

inline std::string fibEntryText( const Fib::TunnelFib & fib, const Fib::TunnelFibEntry & entry ) {
   std::string text = entry.arePrimaryViasUsable() ? "usable" : "unusable";
   text += " seqNo " + std::to_string( entry.seqNo() );
   for ( const Fib::TunnelVia & via : entry.tunnelVia() ) {
      text += "\n    " + via.via().stringValue() + " " + encapText( fib, via.encapId() );
   }
   for ( const Fib::TunnelVia & via : entry.backupTunnelVia() ) {
      text += "\n    backup " + via.via().stringValue() + " " + encapText( fib, via.encapId() );
   }
   return text;
}

inline Lines outputsOf( const Tunnel::TunnelAgent & agent ) {
   Lines lines;
   for ( const auto & [ name, config ] : agent.ribConfigDir->tunnelRibConfig() ) {
      const std::string path = TunnelRibConfigDirSm::statusPath(
         agent.ribNameIdMap->tunnelRibId( name ) );
      if ( auto rib = agent.entityManager->lookup< TunnelRib >( path ) ) {
         addRibLines( lines, "rib " + name.text(), *rib );
      } else if ( auto colored = agent.entityManager->lookup< ColoredTunnelRib >( path ) ) {
         addRibLines( lines, "rib " + name.text(), *colored );
      } else {
         lines[ "rib " + name.text() ] = "no status table";
      }
   }
   for ( const auto & [ type, wrapper ] : agent.protocolRibs->protocolTunnelRib() ) {
      addRibLines( lines, "protocol rib " + stringValue( type ), *wrapper->tunnelRib() );
   }
   for ( const auto & [ id, listed ] : agent.unprogrammable->entry() ) {
      lines[ "unprogrammable " + id.stringValue() ] = "listed";
   }
   const Fib::TunnelFib & fib = *agent.tunnelFib;
   for ( const auto & [ id, entry ] : fib.entry() ) {
      lines[ "fib " + id.stringValue() ] = fibEntryText( fib, entry );
   }
   return lines;
}

// What the FIB machine knows of which tunnel rests on which: once idle it
// follows from the inputs alone, and a wrong edge misses a later update.
inline Lines dependenciesOf( const TunnelFibSm & sm ) {
   Lines lines;
   auto add = [ &lines ]( const std::string & title, const TunnelFibSm::DependencyMap & map ) {
      for ( const auto & [ id, set ] : map ) {
         std::string text;
         for ( TunnelId member : set ) {
            text += " " + member.stringValue();
         }
         lines[ title + " " + id.stringValue() ] = text;
      }
   };
   add( "above", sm.directlyDependentTunnels() );
   add( "directly beneath", sm.tunnelsDirectlyDependingOn() );
   add( "beneath", sm.resolvedByTunnels() );
   return lines;
}

// The lines that differ, for a readable failure.
inline std::string differences( const Lines & actual, const Lines & expected ) {
   std::set< std::string > keys;
   for ( const Lines * lines : { &actual, &expected } ) {
      for ( const auto & [ key, text ] : *lines ) {
         keys.insert( key );
      }
   }
   std::string report;
   for ( const std::string & key : keys ) {
      auto a = actual.find( key );
      auto e = expected.find( key );
      const std::string was = a == actual.end() ? "(none)" : a->second;
      const std::string should = e == expected.end() ? "(none)" : e->second;
      if ( was != should ) {
         report += key + ":\n  restarted: " + was + "\n  fresh:     " + should + "\n";
      }
   }
   return report;
}

// Faults in the FIB's encapsulations: a record no via names, a via naming an
// unpublished record, a count other than the number of vias that name the
// id, a value published twice or not mapped to its id by the writer.
inline std::vector< std::string > encapFaults( const Tunnel::TunnelAgent & agent ) {
   std::vector< std::string > faults;
   const Fib::TunnelFib & fib = *agent.tunnelFib;
   const TunnelFibWriter & writer = *agent.tunnelFibSm()->tunnelFibWriter();
   std::map< Fib::EncapId, std::uint32_t > users;
   for ( const auto & [ id, entry ] : fib.entry() ) {
      entry.forEachVia( [ & ]( const Fib::TunnelVia & via ) {
         if ( via.encapId().encapType() != Fib::EncapType::invalidEncap ) {
            ++users[ via.encapId() ];
         }
      } );
   }
   for ( const auto & [ encapId, count ] : users ) {
      if ( writer.encapIdRefCount( encapId ) != count ) {
         faults.push_back( encapId.stringValue() + " named by " + std::to_string( count ) +
                           " vias counts " +
                           std::to_string( writer.encapIdRefCount( encapId ) ) );
      }
   }
   for ( const auto & [ encapId, count ] : writer.encapIdRefCount() ) {
      if ( !users.count( encapId ) ) {
         faults.push_back( encapId.stringValue() + " named by no via counts " +
                           std::to_string( count ) );
      }
   }
   std::set< Fib::EncapId > published;
   auto checkTable = [ & ]( const auto & table, std::size_t setSize, auto idOfValue ) {
      if ( table.size() != setSize ) {
         faults.push_back( "the writer maps " + std::to_string( setSize ) + " values of " +
                           std::to_string( table.size() ) + " published" );
      }
      for ( const auto & [ encapId, record ] : table ) {
         published.insert( encapId );
         if ( record.encapId() != encapId || ( writer.*idOfValue )( record.info() ) != encapId ) {
            faults.push_back( "the record of " + encapId.stringValue() + ", " +
                              record.info().stringValue() + ", is not mapped to its id" );
         }
      }
   };
   checkTable( fib.labelStackEncap(), writer.labelStackEncapSets(),
               &TunnelFibWriter::labelStackEncapSet );
   checkTable( fib.greEncap(), writer.greEncapSets(), &TunnelFibWriter::greEncapSet );
   checkTable( fib.ipsecGreEncap(), writer.ipsecGreEncapSets(),
               &TunnelFibWriter::ipsecGreEncapSet );
   checkTable( fib.ipsecVtiEncap(), writer.ipsecVtiEncapSets(),
               &TunnelFibWriter::ipsecVtiEncapSet );
   for ( Fib::EncapId encapId : published ) {
      if ( !users.count( encapId ) ) {
         faults.push_back( "stale encapsulation " + encapId.stringValue() + " " +
                           encapText( fib, encapId ) );
      }
   }
   for ( const auto & [ encapId, count ] : users ) {
      if ( !published.count( encapId ) ) {
         faults.push_back( "vias name unpublished " + encapId.stringValue() );
      }
   }
   return faults;
}

// The status tables mounted, and the RIB names holding ids, against the
// configured RIBs.
inline std::vector< std::string > ribTableFaults( const Tunnel::TunnelAgent & agent ) {
   std::vector< std::string > faults;
   std::set< std::string > expected, mounted;
   for ( const auto & [ name, config ] : agent.ribConfigDir->tunnelRibConfig() ) {
      expected.insert(
         TunnelRibConfigDirSm::statusPath( agent.ribNameIdMap->tunnelRibId( name ) ) );
   }
   const std::string prefix = TunnelRibConfigDirSm::statusPathPrefix;
   agent.entityManager->forEachPath( [ & ]( const std::string & path ) {
      if ( path.rfind( prefix, 0 ) == 0 ) {
         mounted.insert( path );
      }
   } );
   for ( const std::string & path : mounted ) {
      if ( !expected.count( path ) ) {
         faults.push_back( "status table of no configured RIB at " + path );
      }
   }
   for ( const auto & [ name, id ] : agent.ribNameIdMap->names() ) {
      if ( !agent.ribConfigDir->tunnelRibConfig( name ) ) {
         faults.push_back( "id " + id.stringValue() + " kept for unconfigured " + name.text() );
      }
   }
   return faults;
}

} // namespace AgentTest
