#include "rib/TunnelRibExplanation.h"

#include <algorithm>
#include <tuple>

#include "rib/EntryFilterUpdate.h"
#include "types/EncapsulatedTableEntry.h"
#include "types/ProtocolTunnelTable.h"
#include "types/TunnelTableInfo.h"

namespace Tunnel::TunnelTable {

namespace {

// The tables whose tunnels may enter a RIB.
using RibTables = std::tuple< LdpTunnelTable, IsisSrTunnelTable, OspfSrTunnelTable,
                              BgpLuTunnelTable, StaticTunnelTable, NexthopGroupTunnelTable,
                              SrTePolicyTunnelTable, RsvpLerTunnelTable, IsisFlexAlgoTunnelTable >;

// Calls visit( id ) for every tunnel of the RIB tables that lists the prefix
// among its endpoints.
template< class Visit >
void forEachTunnelServing( const TunnelTableEntities & tables, const Korvo::IpGenPrefix & prefix,
                           Visit && visit ) {
   std::apply(
      [ & ]< class... Table >( const Table &... ) {
         ( [ & ] {
              const auto table = tables.typedTable< Table >();
              if ( !table ) {
                 return;
              }
              for ( const auto & [ id, entry ] : table->entry() ) {
                 const TunnelTableEntry generic = entry.entry();
                 for ( unsigned i = 0; i < generic.endpointCount(); ++i ) {
                    if ( generic.endpoint( TunnelEndpointIndex::of( i ) ) == prefix ) {
                       visit( id );
                       break;
                    }
                 }
              }
           }(),
           ... );
      },
      RibTables() );
}

// What keeps a tunnel that is no candidate out of the RIB, tested in the
// order the RIB's machines apply them; none when nothing does.
ExclusionReason exclusionOf( const TunnelRibSm & ribSm, const EncapsulatedTableEntry & entry,
                             bool & ineligibleForAppRib ) {
   const TunnelId id = entry.tunnelId();
   const TunnelTableIdentifier table = id.tableType();
   if ( !ribSm.tunnelRibConfig()->entryHas( table ) ) {
      return ExclusionReason::tableNotConfigured;
   }
   const auto & mounted = ribSm.tunnelTableEntities();
   if ( !mounted || !mounted->tunnelTableHas( TableIdToNameMap.at( table ) ) ) {
      return ExclusionReason::tableNotDescribed;
   }
   const auto & builder = *ribSm.tunnelRibBuilderSm();
   if ( !builder.tunnelTableEntryFilter()->preferenceHas( id ) ) {
      if ( id.tunnelType() == TunnelType::rsvpLerTunnel ) {
         if ( auto rsvpLer = mounted->rsvpLerTable() ) {
            ineligibleForAppRib = !tunnelEligibleForRib( builder.tunnelRibId(), *rsvpLer, id );
         }
      }
      return ExclusionReason::noPreference;
   }
   if ( !bgpLuEntryContributes( entry ) ) {
      return ExclusionReason::bgpLuNotContributing;
   }
   const auto & unprogrammable = builder.unprogrammableTunnelId();
   if ( unprogrammable && unprogrammable->entryHas( id ) ) {
      return ExclusionReason::unprogrammable;
   }
   return ExclusionReason::none;
}

// The fate of a candidate the RIB entry does not hold, against the winner,
// by the rules the builder decides with: a smaller preference wins; at equal
// preference, types that can share an ECMP set share it, and otherwise the
// smaller default preference of the type wins. What none of them explains
// is left to the builder's next review.
CandidateFate lossAgainst( const TunnelTableEntry & candidate, const TunnelTableEntry & winner ) {
   const TunnelType type = candidate.tunnelId().tunnelType();
   const TunnelType winnerType = winner.tunnelId().tunnelType();
   if ( candidate.pref() > winner.pref() ) {
      return CandidateFate::lostOnPreference;
   }
   if ( candidate.pref() == winner.pref() && !tunnelTypesCanFormEcmp( type, winnerType ) ) {
      const TunnelEntryPref own = getDefaultPrefForType( type );
      const TunnelEntryPref winners = getDefaultPrefForType( winnerType );
      if ( own > winners ) {
         return CandidateFate::lostOnDefaultPreference;
      }
      if ( own == winners ) {
         return CandidateFate::cannotShareEcmp;
      }
   }
   return CandidateFate::notInRib;
}

CandidateExplanation describe( const TunnelRibSm & ribSm, const EncapsulatedTableEntry & entry,
                               TunnelId id ) {
   CandidateExplanation result;
   result.tunnelId = id;
   result.ownPreference = entry ? entry.entry().pref() : TunnelEntryPref();
   result.defaultPreference = getDefaultPrefForType( id.tunnelType() );
   const auto & filter = *ribSm.tunnelRibBuilderSm()->tunnelTableEntryFilter();
   if ( filter.preferenceHas( id ) ) {
      result.preference = TunnelEntryPref( std::uint8_t( filter.preference( id ) ) );
   }
   if ( auto config = ribSm.tunnelRibConfig()->entry( id.tableType() ) ) {
      result.preferenceSource =
         config->prefMapping()() ? PreferenceSource::configured : PreferenceSource::own;
   }
   return result;
}

} // namespace

const CandidateExplanation * EndpointExplanation::winner() const {
   for ( const CandidateExplanation & candidate : candidates ) {
      if ( candidate.fate == CandidateFate::winner ) {
         return &candidate;
      }
   }
   return nullptr;
}

Vel::Ptr< TunnelTableEntities > everyProtocolTable( const Statix::EntityManager & entityManager ) {
   auto tables = tunnelTableEntitiesFactory();
   std::apply(
      [ & ]< class... Table >( const Table &... ) {
         ( [ & ] {
              const std::string path =
                 TunnelTableInfo::pathPrefix + std::string( Table::tableName );
              if ( auto table = entityManager.lookup< Table >( path ) ) {
                 tables->tunnelTableIs( Vel::String( Table::tableName ), table );
              }
           }(),
           ... );
      },
      ProtocolTunnelTables() );
   return tables;
}

EndpointExplanation explainEndpoint( const TunnelRibSm & ribSm, const ColoredTunnelEndpoint & tep,
                                     const Vel::Ptr< TunnelTableEntities > & everyTable ) {
   const auto & builder = *ribSm.tunnelRibBuilderSm();
   EndpointExplanation result;
   result.tep = builder.ribTep( tep );
   result.ribEntry = builder.tunnelRib()->tunnelRibEntry( result.tep );

   std::vector< TunnelId > candidateIds;
   if ( const auto ordered = builder.internalTunnelRib()->entry( result.tep ) ) {
      const TunnelTableEntry * winner = nullptr;
      for ( const auto & [ candidate, present ] : *ordered ) {
         if ( result.ribEntry.hasTunnelId( candidate.tunnelId() ) ) {
            winner = &candidate;
            break;
         }
      }
      for ( const auto & [ candidate, present ] : *ordered ) {
         const TunnelId id = candidate.tunnelId();
         // A tunnel republished with other endpoints or another instance at
         // the same preference may stay a candidate twice: it is told once.
         if ( std::find( candidateIds.begin(), candidateIds.end(), id ) != candidateIds.end() ) {
            continue;
         }
         const EncapsulatedTableEntry entry = EncapsulatedTableEntry::getEntry( id, everyTable );
         CandidateExplanation explained = describe( ribSm, entry, id );
         // The candidate competes with the preference it was ranked by.
         explained.preference = candidate.pref();
         if ( result.ribEntry.hasTunnelId( id ) ) {
            explained.fate = &candidate == winner ? CandidateFate::winner : CandidateFate::ecmp;
         } else {
            explained.exclusion = entry ? exclusionOf( ribSm, entry, explained.ineligibleForAppRib )
                                        : ExclusionReason::awaitingReview;
            if ( explained.exclusion == ExclusionReason::none && winner ) {
               explained.fate = lossAgainst( candidate, *winner );
            }
            if ( explained.fate == CandidateFate::notInRib &&
                 explained.exclusion == ExclusionReason::none ) {
               explained.exclusion = ExclusionReason::awaitingReview;
            }
         }
         candidateIds.push_back( id );
         result.candidates.push_back( explained );
      }
   }
   result.known = !result.candidates.empty() || !result.ribEntry.empty();

   std::vector< TunnelId > others;
   forEachTunnelServing( *everyTable, tep.tep(), [ & ]( TunnelId id ) {
      if ( std::find( candidateIds.begin(), candidateIds.end(), id ) == candidateIds.end() ) {
         others.push_back( id );
      }
   } );
   std::sort( others.begin(), others.end() );
   for ( TunnelId id : others ) {
      const EncapsulatedTableEntry entry = EncapsulatedTableEntry::getEntry( id, everyTable );
      const auto teps = builder.ribTeps( entry );
      if ( std::find( teps.begin(), teps.end(), result.tep ) == teps.end() ) {
         continue;
      }
      CandidateExplanation explained = describe( ribSm, entry, id );
      explained.exclusion = exclusionOf( ribSm, entry, explained.ineligibleForAppRib );
      if ( explained.exclusion == ExclusionReason::none ) {
         explained.exclusion = ExclusionReason::awaitingReview;
      }
      result.known |= explained.exclusion != ExclusionReason::tableNotConfigured;
      result.candidates.push_back( explained );
   }
   return result;
}

} // namespace Tunnel::TunnelTable
