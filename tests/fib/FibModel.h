#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <ostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "agent/TunnelAgent.h"
#include "fib/TunnelFibSm.h"
#include "types/ProtocolTunnelTable.h"

// A plain statement of what the tunnel FIB should hold, computed from what
// the producers published by recursive flattening, and the FIB read back in
// the same terms. It shares no code with the machine: label stacks are plain
// vectors here, merged and extended by the rules written out below.

namespace FibModel {

using namespace Tunnel::TunnelTable;
namespace Fib = Tunnel::TunnelFib;
using Korvo::MplsLabel;
using Korvo::MplsLabelAction;
using Korvo::MplsLabelOperation;

// How deep a stack the forwarding plane imposes.
constexpr std::size_t maxLabels = 12;
// How many primary vias one FIB entry holds.
constexpr std::size_t maxViasPerEntry = 600;
constexpr MplsLabel entropyLabelIndicator = 7;
constexpr MplsLabel entropyLabel = MplsLabelOperation::entropyLabel;

// A label operation, labels outermost first.
struct Stack {
   MplsLabelAction action = MplsLabelAction::push;
   std::vector< MplsLabel > labels;

   bool hasEntropyLabel() const {
      for ( MplsLabel label : labels ) {
         if ( label == entropyLabel ) {
            return true;
         }
      }
      return false;
   }
   friend auto operator<=>( const Stack &, const Stack & ) = default;
};

inline Stack stackOf( const MplsLabelOperation & op ) {
   Stack stack{ op.action(), {} };
   for ( std::size_t i = 0; i < op.stackSize(); ++i ) {
      stack.labels.push_back( op.label( i ) );
   }
   return stack;
}

inline MplsLabelOperation operationOf( const Stack & stack ) {
   MplsLabelOperation op( stack.action, {} );
   for ( auto label = stack.labels.rbegin(); label != stack.labels.rend(); ++label ) {
      op.labelPush( *label );
   }
   return op;
}

// The indicator and the entropy label at the bottom; false when they do not
// fit.
inline bool withEntropyLabel( Stack & stack ) {
   if ( stack.labels.size() + 2 > maxLabels ) {
      return false;
   }
   stack.labels.push_back( entropyLabelIndicator );
   stack.labels.push_back( entropyLabel );
   return true;
}

// The stack of a tunnel carried over a lower tunnel's via: the lower labels
// outermost. A pop over labels becomes a swap.
inline std::optional< Stack > mergedBeneath( const Stack & own, const Stack & lower ) {
   if ( own.labels.size() + lower.labels.size() > maxLabels ) {
      return std::nullopt;
   }
   Stack merged{ own.action, lower.labels };
   merged.labels.insert( merged.labels.end(), own.labels.begin(), own.labels.end() );
   if ( own.action == MplsLabelAction::pop && !lower.labels.empty() ) {
      merged.action = MplsLabelAction::swap;
   }
   return merged;
}

// One programmed via: where it leaves, its encapsulation kind and what that
// encapsulation carries (a stack, or a tunnel's information as text).
struct Hop {
   Via via;
   Fib::EncapType type = Fib::EncapType::invalidEncap;
   Stack stack;
   std::string tunnelInfo;
   friend auto operator<=>( const Hop &, const Hop & ) = default;
};

inline std::ostream & operator<<( std::ostream & os, const Hop & hop ) {
   os << hop.via.stringValue() << " " << hop.type;
   if ( hop.type == Fib::EncapType::mplsLabelStackEncap ) {
      os << " " << operationOf( hop.stack ).stringValue();
   }
   if ( !hop.tunnelInfo.empty() ) {
      os << " " << hop.tunnelInfo;
   }
   return os;
}

// What the FIB shows of one tunnel.
struct Outcome {
   // The last is a fault: in the FIB and listed unprogrammable at once.
   enum class State { absent, unprogrammable, programmed, programmedAndListed };
   State state = State::absent;
   std::set< Hop > primary;
   std::set< Hop > backup;
   friend bool operator==( const Outcome &, const Outcome & ) = default;
};

inline std::ostream & operator<<( std::ostream & os, Outcome::State state ) {
   constexpr const char * names[] = { "absent", "unprogrammable", "programmed",
                                      "programmed and listed unprogrammable" };
   return os << names[ int( state ) ];
}

inline std::ostream & operator<<( std::ostream & os, const Outcome & outcome ) {
   os << outcome.state;
   for ( const Hop & hop : outcome.primary ) {
      os << "\n  " << hop;
   }
   for ( const Hop & hop : outcome.backup ) {
      os << "\n  backup " << hop;
   }
   return os;
}

// What a producer published for one tunnel, in the terms of its table.
struct Published {
   // The labelled vias of an MPLS-via entry or of a protected entry's list;
   // for BGP-LU every via with the entry's one operation.
   std::vector< MplsVia > vias;
   bool contributing = true;
   // A protected entry's single primary and its backup (default: none).
   MplsVia primary;
   MplsVia backup;
   std::optional< std::uint64_t > nexthopGroup;
   std::optional< std::pair< Via, Tunnel::GreTunnelInfo > > gre;
};

inline std::optional< TunnelId > lowerTunnel( const Via & via ) {
   if ( via.intfId().kind() != Korvo::IntfId::Kind::dynamicTunnel ) {
      return std::nullopt;
   }
   return TunnelId( via.intfId().tunnelIdValue() );
}

inline bool protectedType( TunnelType type ) {
   return type == TunnelType::rsvpLerTunnel || type == TunnelType::rsvpLerSubTunnel ||
          type == TunnelType::rsvpFrrTunnel || type == TunnelType::tiLfaTunnel;
}

// The kinds that push an entropy label when the setting asks for one.
inline bool carriesEntropyLabel( TunnelType type ) {
   switch ( type ) {
   case TunnelType::ldpTunnel:
   case TunnelType::srTunnel:
   case TunnelType::ospfSrTunnel:
   case TunnelType::staticTunnel:
   case TunnelType::srTeSegmentListTunnel:
   case TunnelType::rsvpFrrTunnel:
   case TunnelType::rsvpFrrBackupTunnel:
      return true;
   default:
      return false;
   }
}

class Model {
 public:
   std::map< TunnelId, Published > tunnels;
   bool entropyLabelPush = false;

   // The vias a tunnel resolves: its list, or a protected entry's single
   // primary when it has no list. Nothing for a tunnel that computes none.
   std::vector< MplsVia > resolvedVias( TunnelId id ) const {
      auto found = tunnels.find( id );
      if ( found == tunnels.end() || !found->second.contributing ) {
         return {};
      }
      const Published & p = found->second;
      if ( protectedType( id.tunnelType() ) && p.vias.empty() && p.primary != MplsVia() ) {
         return { p.primary };
      }
      return p.vias;
   }

   // The tunnels from which a loop of tunnels over tunnels can be reached.
   std::set< TunnelId > cyclicPart() const {
      std::map< TunnelId, std::set< TunnelId > > reach;
      for ( const auto & [ id, p ] : tunnels ) {
         std::vector< TunnelId > todo{ id };
         std::set< TunnelId > & seen = reach[ id ];
         while ( !todo.empty() ) {
            const TunnelId at = todo.back();
            todo.pop_back();
            for ( const MplsVia & via : resolvedVias( at ) ) {
               const auto lower = lowerTunnel( via.via() );
               if ( lower && seen.insert( *lower ).second ) {
                  todo.push_back( *lower );
               }
            }
         }
      }
      std::set< TunnelId > onLoop, part;
      for ( const auto & [ id, seen ] : reach ) {
         if ( seen.count( id ) ) {
            onLoop.insert( id );
         }
      }
      for ( const auto & [ id, seen ] : reach ) {
         for ( TunnelId loop : onLoop ) {
            if ( id == loop || seen.count( loop ) ) {
               part.insert( id );
            }
         }
      }
      return part;
   }

   // The FIB's outcome for a tunnel outside the cyclic part.
   Outcome expected( TunnelId id ) {
      if ( auto known = memo_.find( id ); known != memo_.end() ) {
         return known->second;
      }
      if ( !visiting_.insert( id ).second ) {
         throw std::logic_error( "the model was asked about a tunnel in a loop: " +
                                 id.stringValue() );
      }
      Outcome outcome = flatten( id );
      visiting_.erase( id );
      memo_[ id ] = outcome;
      return outcome;
   }
   // Drops what was computed, after the tunnels or the setting changed.
   void forget() { memo_.clear(); }

 private:
   Outcome flatten( TunnelId id ) {
      Outcome outcome;
      auto found = tunnels.find( id );
      if ( found == tunnels.end() || !found->second.contributing ) {
         return outcome;
      }
      const Published & p = found->second;
      if ( p.nexthopGroup ) {
         const Via via( *Korvo::IpGenAddr::parse( "0.0.0.0" ),
                        Korvo::IntfId::nexthopGroup( *p.nexthopGroup ) );
         outcome.primary.insert( { via, Fib::EncapType::invalidEncap, {}, "" } );
      } else if ( p.gre ) {
         outcome.primary.insert(
            { p.gre->first, Fib::EncapType::greEncap, {}, p.gre->second.stringValue() } );
      }
      // The tunnel's own entropy label goes beneath its own labels, before a
      // lower tunnel's labels go on top. Over a lower tunnel a stack that
      // has one already gets no second; a plain via is not asked.
      const bool entropy = entropyLabelPush && carriesEntropyLabel( id.tunnelType() );
      constexpr auto mpls = Fib::EncapType::mplsLabelStackEncap;
      for ( const MplsVia & via : resolvedVias( id ) ) {
         Stack own = stackOf( via.labelOperation() );
         const auto lower = lowerTunnel( via.via() );
         const bool addEntropy =
            entropy && !own.labels.empty() && !( lower && own.hasEntropyLabel() );
         if ( addEntropy && !withEntropyLabel( own ) ) {
            continue;
         }
         if ( !lower ) {
            outcome.primary.insert( { via.via(), mpls, own, "" } );
            continue;
         }
         for ( const Hop & hop : expected( *lower ).primary ) {
            if ( auto merged = mergedBeneath( own, hop.stack ) ) {
               outcome.primary.insert( { hop.via, mpls, *merged, "" } );
            }
         }
      }
      // A single protected primary keeps its backup as it stands.
      if ( protectedType( id.tunnelType() ) && p.vias.empty() && p.backup != MplsVia() ) {
         outcome.backup.insert(
            { p.backup.via(), mpls, stackOf( p.backup.labelOperation() ), "" } );
      }
      if ( outcome.primary.empty() || outcome.primary.size() > maxViasPerEntry ) {
         return Outcome{ Outcome::State::unprogrammable, {}, {} };
      }
      outcome.state = Outcome::State::programmed;
      return outcome;
   }

   std::map< TunnelId, Outcome > memo_;
   std::set< TunnelId > visiting_;
};

// The FIB's outcome for a tunnel, read from the FIB, its encap tables and
// the unprogrammable collection.
inline Outcome actualOutcome( const Tunnel::TunnelAgent & agent, TunnelId id ) {
   Outcome outcome;
   const bool listed = agent.unprogrammable->entryHas( id );
   const Fib::TunnelFibEntry * entry = agent.tunnelFib->entryFind( id );
   if ( !entry ) {
      outcome.state = listed ? Outcome::State::unprogrammable : Outcome::State::absent;
      return outcome;
   }
   outcome.state = listed ? Outcome::State::programmedAndListed : Outcome::State::programmed;
   auto hopOf = [ &agent ]( const Fib::TunnelVia & via ) {
      Hop hop{ via.via(), via.encapId().encapType(), {}, "" };
      switch ( hop.type ) {
      case Fib::EncapType::mplsLabelStackEncap:
         hop.stack = stackOf( agent.tunnelFib->labelStackEncap( via.encapId() ).info() );
         break;
      case Fib::EncapType::greEncap:
         hop.tunnelInfo = agent.tunnelFib->greEncap( via.encapId() ).info().stringValue();
         break;
      default:
         break;
      }
      return hop;
   };
   // A duplicate via would vanish in the set: count them too.
   std::size_t vias = 0;
   for ( const Fib::TunnelVia & via : entry->tunnelVia() ) {
      outcome.primary.insert( hopOf( via ) );
      ++vias;
   }
   for ( const Fib::TunnelVia & via : entry->backupTunnelVia() ) {
      outcome.backup.insert( hopOf( via ) );
      ++vias;
   }
   if ( vias != outcome.primary.size() + outcome.backup.size() ) {
      outcome.primary.insert( Hop{ Via(), Fib::EncapType::reservedEncap, {}, "duplicate via" } );
   }
   return outcome;
}

} // namespace FibModel
