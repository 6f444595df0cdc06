#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fib/TunnelFibWriter.h"
#include "tests/fib/FibValues.h"
#include "UnderSanitizer.h"

using namespace FibValues;
using Tunnel::TunnelFib::TunnelFib;

namespace {

constexpr unsigned operationsPerSeed = underSanitizer ? 400 : 2000;
constexpr unsigned tunnels = 24;

// Few values of each kind, so that tunnels share encapsulations all the time.
struct Pools {
   std::vector< Via > vias = { via( "10.0.0.1", "Ethernet1" ), via( "10.0.0.2", "Ethernet1" ),
                               via( "10.0.0.1", "Ethernet2" ), via( "2001:db8::1", "Ethernet3" ) };
   std::vector< MplsLabelOperation > labelStacks = {
      push( { 100 } ), push( { 100, 200 } ), push( { 300 } ), push( {} ),
      MplsLabelOperation( MplsLabelAction::swap, { 400 } ),
      MplsLabelOperation( MplsLabelAction::pop, {} ) };
   std::vector< GreTunnelInfo > gres = { gre( "1.1.1.1", "2.2.2.1" ), gre( "1.1.1.1", "2.2.2.2" ),
                                         GreTunnelInfo() };
   std::vector< IpsecGreTunnelInfo > ipsecGres = { ipsecGre( "1.1.1.1", "3.3.3.1", "a" ),
                                                   ipsecGre( "1.1.1.1", "3.3.3.1", "b" ) };
   std::vector< IpsecVtiTunnelInfo > ipsecVtis = { ipsecVti( "1.1.1.1", "4.4.4.1", "a" ),
                                                   ipsecVti( "1.1.1.1", "4.4.4.2", "a" ) };
};

// Every encapsulation the FIB publishes, by type: value to id.
struct Published {
   std::map< MplsLabelOperation, EncapId > labelStacks;
   std::map< GreTunnelInfo, EncapId > gres;
   std::map< IpsecGreTunnelInfo, EncapId > ipsecGres;
   std::map< IpsecVtiTunnelInfo, EncapId > ipsecVtis;
};

template< class Table, class Values >
std::string readTable( const Table & table, Values & values, std::set< EncapId > & ids ) {
   for ( const auto & [ id, record ] : table ) {
      if ( record.encapId() != id || !values.emplace( record.info(), id ).second ) {
         return "record " + record.stringValue() + " under " + id.stringValue();
      }
      ids.insert( id );
   }
   return "";
}

// The writer's set of a type holds exactly what the FIB publishes of it.
template< class Values, class Lookup >
std::string mirrors( const Values & published, std::size_t setSize, Lookup setId ) {
   if ( setSize != published.size() ) {
      return "set of " + std::to_string( setSize ) + " for " +
             std::to_string( published.size() ) + " records";
   }
   for ( const auto & [ value, id ] : published ) {
      if ( setId( value ) != id ) {
         return "set maps " + value.stringValue() + " to " + setId( value ).stringValue();
      }
   }
   return "";
}

// Within one value set, an id that survives keeps its value and a value that
// survives keeps its id.
template< class Values >
std::string keptIds( const Values & before, const Values & after ) {
   for ( const auto & [ value, id ] : before ) {
      auto it = after.find( value );
      if ( it != after.end() && it->second != id ) {
         return value.stringValue() + " moved from " + id.stringValue() + " to " +
                it->second.stringValue();
      }
   }
   return "";
}

struct WriterModel {
   Pools pools;
   std::mt19937 rng;
   Vel::Ptr< TunnelFib > fib = Tunnel::TunnelFib::tunnelFibFactory();
   Vel::Ptr< TunnelFibWriter > writer = tunnelFibWriterFactory( fib );
   // What the FIB must hold: the entries last added and not deleted since.
   std::map< TunnelId, ConsolidatedTunnelFibEntry > expected;
   // Faults that readers of the FIB would see between two writes.
   std::string readerFault;
   // Encap ids notified during the current operation.
   std::set< EncapId > notified;
   std::vector< Vel::Reactor > reactors;

   explicit WriterModel( unsigned seed ) : rng( seed ) { watchReaders(); }

   unsigned pick( unsigned n ) { return std::uniform_int_distribution< unsigned >( 0, n - 1 )( rng ); }
   template< class T >
   const T & pick( const std::vector< T > & values ) {
      return values[ pick( unsigned( values.size() ) ) ];
   }

   ViaAndTunnelInfo randomRecord() {
      ViaAndTunnelInfo info( pick( pools.vias ), EncapType::invalidEncap );
      switch ( pick( 10 ) ) {
      case 0:
         break;
      case 1:
      case 2:
         info.typeIs( EncapType::greEncap );
         info.greTunnelInfoIs( pick( pools.gres ) );
         break;
      case 3:
         info.typeIs( EncapType::ipsecGreEncap );
         info.ipsecGreTunnelInfoIs( pick( pools.ipsecGres ) );
         break;
      case 4:
         info.typeIs( EncapType::ipsecVtiEncap );
         info.ipsecVtiTunnelInfoIs( pick( pools.ipsecVtis ) );
         break;
      default:
         info.typeIs( EncapType::mplsLabelStackEncap );
         info.labelStackIs( pick( pools.labelStacks ) );
      }
      return info;
   }

   ConsolidatedTunnelFibEntry randomEntry( TunnelId id ) {
      ConsolidatedTunnelFibEntry cons( id );
      for ( unsigned n = 1 + pick( 3 ); n > 0; --n ) {
         cons.viaInfoIs( randomRecord() );
      }
      for ( unsigned n = pick( 2 ) ? 0 : 1 + pick( 2 ); n > 0; --n ) {
         cons.backupViaInfoIs( randomRecord() );
      }
      cons.arePrimaryViasUsableIs( pick( 2 ) );
      cons.seqNoIs( std::uint16_t( pick( 3 ) ) );
      return cons;
   }

   // Readers of the FIB must never see an entry that names an unpublished
   // encapsulation, at any write.
   void watchReaders() {
      reactors.push_back( fib->entry().react( [ this ]( const TunnelId & id ) {
         if ( const auto * entry = fib->entryFind( id ) ) {
            entry->forEachVia( [ & ]( const auto & v ) {
               if ( !v.encapId().isNull() && !published( v.encapId() ) ) {
                  readerFault += id.stringValue() + " names unpublished " +
                                 v.encapId().stringValue() + "; ";
               }
            } );
         }
      } ) );
      auto watch = [ this ]( const auto & table ) {
         return table.react( [ this, &table ]( const EncapId & id ) {
            notified.insert( id );
            if ( !table.has( id ) && userCount( id ) > 0 ) {
               readerFault += id.stringValue() + " withdrawn while named; ";
            }
         } );
      };
      reactors.push_back( watch( fib->labelStackEncap() ) );
      reactors.push_back( watch( fib->greEncap() ) );
      reactors.push_back( watch( fib->ipsecGreEncap() ) );
      reactors.push_back( watch( fib->ipsecVtiEncap() ) );
   }

   bool published( EncapId id ) const {
      return fib->labelStackEncap().has( id ) || fib->greEncap().has( id ) ||
             fib->ipsecGreEncap().has( id ) || fib->ipsecVtiEncap().has( id );
   }

   // The vias of FIB entries that carry each id, counted from the entries.
   std::map< EncapId, std::uint32_t > userCounts() const {
      std::map< EncapId, std::uint32_t > counts;
      for ( const auto & [ id, entry ] : fib->entry() ) {
         entry.forEachVia( [ & ]( const auto & v ) {
            if ( v.encapId().encapType() != EncapType::invalidEncap ) {
               ++counts[ v.encapId() ];
            }
         } );
      }
      return counts;
   }
   std::uint32_t userCount( EncapId id ) const {
      auto counts = userCounts();
      return counts.count( id ) ? counts.at( id ) : 0;
   }

   std::string read( Published & values, std::set< EncapId > & ids ) const {
      return readTable( fib->labelStackEncap(), values.labelStacks, ids ) +
             readTable( fib->greEncap(), values.gres, ids ) +
             readTable( fib->ipsecGreEncap(), values.ipsecGres, ids ) +
             readTable( fib->ipsecVtiEncap(), values.ipsecVtis, ids );
   }

   // Everything that must hold between two operations; "" when it does.
   std::string violation( const Published & before, const std::set< EncapId > & idsBefore ) {
      if ( !readerFault.empty() ) {
         return readerFault;
      }
      if ( fib->entry().size() != expected.size() ) {
         return "FIB holds " + std::to_string( fib->entry().size() ) + " entries, not " +
                std::to_string( expected.size() );
      }
      for ( const auto & [ id, cons ] : expected ) {
         const auto * entry = fib->entryFind( id );
         if ( !entry || ConsolidatedTunnelFibEntry::fromTunnelFibEntry( *entry, fib ) != cons ) {
            return "FIB entry of " + id.stringValue() + " is not " + cons.stringValue();
         }
      }
      Published now;
      std::set< EncapId > ids;
      std::string fault = read( now, ids );
      if ( !fault.empty() ) {
         return fault;
      }
      const auto counts = userCounts();
      const std::map< EncapId, std::uint32_t > writerCounts( writer->encapIdRefCount().begin(),
                                                             writer->encapIdRefCount().end() );
      if ( writerCounts != counts ) {
         return "writer counts differ from the vias that carry the ids";
      }
      std::set< EncapId > used;
      for ( const auto & [ id, count ] : counts ) {
         used.insert( id );
      }
      if ( used != ids ) {
         return "published ids differ from the ids entries name";
      }
      for ( EncapId id : notified ) {
         if ( idsBefore.count( id ) == ids.count( id ) ) {
            return id.stringValue() + " was written although it stayed " +
                   ( ids.count( id ) ? "published" : "unpublished" );
         }
      }
      const TunnelFibWriter & w = *writer;
      return mirrors( now.labelStacks, w.labelStackEncapSets(),
                      [ & ]( const auto & v ) { return w.labelStackEncapSet( v ); } ) +
             mirrors( now.gres, w.greEncapSets(),
                      [ & ]( const auto & v ) { return w.greEncapSet( v ); } ) +
             mirrors( now.ipsecGres, w.ipsecGreEncapSets(),
                      [ & ]( const auto & v ) { return w.ipsecGreEncapSet( v ); } ) +
             mirrors( now.ipsecVtis, w.ipsecVtiEncapSets(),
                      [ & ]( const auto & v ) { return w.ipsecVtiEncapSet( v ); } ) +
             keptIds( before.labelStacks, now.labelStacks ) + keptIds( before.gres, now.gres ) +
             keptIds( before.ipsecGres, now.ipsecGres ) + keptIds( before.ipsecVtis, now.ipsecVtis );
   }

   // One random operation: mostly adds of new or changed entries, some
   // re-adds of what the FIB holds, some deletes (also of absent tunnels).
   std::string step( unsigned op ) {
      const TunnelId id = ldp( 1 + pick( tunnels ) );
      const unsigned kind = pick( 10 );
      if ( kind < 5 ) {
         ConsolidatedTunnelFibEntry cons = randomEntry( id );
         writer->addFibEntry( cons );
         expected.insert_or_assign( id, cons );
      } else if ( kind < 7 ) {
         auto it = expected.find( id );
         if ( it == expected.end() ) {
            return "";
         }
         ConsolidatedTunnelFibEntry cons = it->second;
         if ( kind == 6 ) {
            // The same vias with another flag or sequence number.
            cons.arePrimaryViasUsableIs( !cons.arePrimaryViasUsable() );
            cons.seqNoIs( std::uint16_t( cons.seqNo() + 1 ) );
         }
         const std::uint64_t entryWrites = fib->entry().sequenceNumber();
         writer->addFibEntry( cons );
         if ( kind == 5 && fib->entry().sequenceNumber() != entryWrites ) {
            return "unchanged entry written at operation " + std::to_string( op );
         }
         it->second = cons;
      } else {
         writer->deleteFibEntry( id );
         expected.erase( id );
      }
      return "";
   }

   // Drops the writer and builds one over the FIB that survived, as a
   // restarted agent does; nothing in the FIB may change.
   std::string restart() {
      auto writes = [ this ] {
         return fib->entry().sequenceNumber() + fib->labelStackEncap().sequenceNumber() +
                fib->greEncap().sequenceNumber() + fib->ipsecGreEncap().sequenceNumber() +
                fib->ipsecVtiEncap().sequenceNumber();
      };
      const std::uint64_t writesBefore = writes();
      writer = nullptr;
      writer = tunnelFibWriterFactory( fib );
      return writes() == writesBefore ? "" : "restart wrote the FIB";
   }

   std::string run( unsigned operations ) {
      for ( unsigned op = 0; op < operations; ++op ) {
         Published before;
         std::set< EncapId > idsBefore;
         read( before, idsBefore );
         notified.clear();
         std::string fault = op == operations / 2 ? restart() : step( op );
         if ( fault.empty() ) {
            fault = violation( before, idsBefore );
         }
         if ( !fault.empty() ) {
            return "operation " + std::to_string( op ) + ": " + fault;
         }
      }
      return "";
   }
};

TEST( TunnelFibWriterModel, CountsSetsAndRecordsFollowTheEntriesThroughChurnAndRestart ) {
   for ( unsigned seed : { 1u, 7u, 42u, 1234u, 99991u } ) {
      WriterModel model( seed );
      EXPECT_EQ( model.run( operationsPerSeed ), "" ) << "seed " << seed;
      // The pools are small enough that sharing and withdrawal both happen.
      EXPECT_GT( model.fib->labelStackEncap().size(), 1u );
      EXPECT_LT( model.fib->labelStackEncap().size(), model.expected.size() );
   }
}

} // namespace
