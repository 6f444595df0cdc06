#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <tuple>

#include "RibWorld.h"
#include "rib/TunnelRibExplanation.h"
#include "UnderSanitizer.h"

// Checks the explanation of every endpoint of one RIB against the RIB and
// against a plain statement of the rules: the explained winner and ECMP set
// are the RIB entry; every loss names a rule the tunnel really loses on;
// every tunnel the tables hold for the endpoint is explained once, those that
// cannot compete with what keeps them out.

namespace RibTest {

// Explanations are checked at every drain, or at every eighth under the
// sanitizers, where each costs as much as the drain's other checks together.
constexpr unsigned explanationCheckStride = underSanitizer ? 8 : 1;

struct ExplanationModel {
   const std::map< TunnelId, Published > & entries;
   const std::set< TunnelId > & unprogrammable;
   const std::set< TunnelTableIdentifier > & described;
   // The RIB's tables, each with its configured preference or none.
   const std::map< TunnelTableIdentifier, std::optional< std::uint8_t > > & tables;
};

inline void checkEndpointExplanations( const RibWorld & world, const Vel::Name & name,
                                       const ExplanationModel & model ) {
   const TunnelRibId ribId = world.idOf( name );
   const auto ribSm = world.dirSm->tunnelRibSm( ribId );
   const auto everyTable = everyProtocolTable( *world.entityManager );

   // What the model expects of each tunnel at each key it serves here.
   struct Expected {
      ExclusionReason exclusion = ExclusionReason::none;
      std::optional< std::uint8_t > preference;
      PreferenceSource source = PreferenceSource::own;
      std::uint8_t ownPreference = 0;
   };
   std::map< Key, std::map< TunnelId, Expected > > expected;
   for ( const auto & [ tid, p ] : model.entries ) {
      const TunnelType type = tid.tunnelType();
      const bool single =
         type == TunnelType::nexthopGroupTunnel || type == TunnelType::srTePolicyTunnel;
      Expected e;
      e.ownPreference = type == TunnelType::nexthopGroupTunnel ? 25
                        : type == TunnelType::srTePolicyTunnel ? 255
                                                               : p.pref;
      const auto table = model.tables.find( tid.tableType() );
      const bool eligible = type != TunnelType::rsvpLerTunnel ||
                            ( ribId.value() == 3 ? p.igpShortcutEligible
                                                 : ribId.value() != 2 || p.ldpTunnelingEligible );
      if ( table == model.tables.end() ) {
         e.exclusion = ExclusionReason::tableNotConfigured;
      } else if ( !model.described.count( table->first ) ) {
         e.exclusion = ExclusionReason::tableNotDescribed;
      } else if ( !eligible ) {
         e.exclusion = ExclusionReason::noPreference;
      } else {
         e.preference = table->second.value_or( e.ownPreference );
         e.source = table->second ? PreferenceSource::configured : PreferenceSource::own;
         if ( type == TunnelType::bgpLuTunnel && !p.contributing ) {
            e.exclusion = ExclusionReason::bgpLuNotContributing;
         } else if ( model.unprogrammable.count( tid ) ) {
            e.exclusion = ExclusionReason::unprogrammable;
         }
      }
      if ( table != model.tables.end() && !e.preference ) {
         e.source = table->second ? PreferenceSource::configured : PreferenceSource::own;
      }
      for ( const auto & tep : p.teps ) {
         expected[ ribId.isSystemColoredRibId() && type == TunnelType::srTePolicyTunnel
                      ? Key( pfx( tep ), p.color )
                      : Key( pfx( tep ) ) ][ tid ] = e;
         if ( single ) {
            break;
         }
      }
   }

   for ( const auto & [ key, tunnels ] : expected ) {
      SCOPED_TRACE( "endpoint " + key.stringValue() );
      const EndpointExplanation explained = explainEndpoint( *ribSm, key, everyTable );
      const TunnelRibEntry entry = world.at( name, key );

      // Every tunnel of the tables once, none other.
      std::map< TunnelId, const CandidateExplanation * > byId;
      for ( const CandidateExplanation & c : explained.candidates ) {
         ASSERT_TRUE( byId.emplace( c.tunnelId, &c ).second ) << c.tunnelId << " twice";
      }
      ASSERT_EQ( byId.size(), tunnels.size() );

      // The candidates that compete, in the model's selection order, and
      // who wins among them.
      std::vector< std::tuple< std::uint8_t, std::uint8_t, TunnelId > > competing;
      for ( const auto & [ tid, e ] : tunnels ) {
         const auto found = byId.find( tid );
         ASSERT_NE( found, byId.end() ) << tid << " not explained";
         const CandidateExplanation & c = *found->second;
         ASSERT_EQ( c.exclusion, e.exclusion ) << tid;
         ASSERT_EQ( c.ownPreference.value(), e.ownPreference ) << tid;
         ASSERT_EQ( c.defaultPreference, getDefaultPrefForType( tid.tunnelType() ) ) << tid;
         if ( e.preference ) {
            ASSERT_TRUE( c.preference ) << tid;
            ASSERT_EQ( c.preference->value(), *e.preference ) << tid;
         } else {
            ASSERT_FALSE( c.preference ) << tid;
         }
         if ( e.exclusion != ExclusionReason::tableNotConfigured ) {
            ASSERT_EQ( c.preferenceSource, e.source ) << tid;
         }
         if ( e.exclusion == ExclusionReason::none ) {
            competing.emplace_back( *e.preference, getDefaultPrefForType( tid.tunnelType() ), tid );
         } else {
            ASSERT_EQ( c.fate, CandidateFate::notInRib ) << tid;
         }
      }
      std::sort( competing.begin(), competing.end() );
      ASSERT_EQ( explained.known, !competing.empty() ||
                                     std::any_of( tunnels.begin(), tunnels.end(), []( const auto & t ) {
                                        return t.second.exclusion !=
                                               ExclusionReason::tableNotConfigured;
                                     } ) );

      // The explained winner and ECMP set are exactly the RIB entry.
      std::set< TunnelId > explainedSet, ribSet;
      for ( const CandidateExplanation & c : explained.candidates ) {
         if ( c.fate == CandidateFate::winner || c.fate == CandidateFate::ecmp ) {
            explainedSet.insert( c.tunnelId );
         }
      }
      for ( TunnelId tid : idsOf( entry ) ) {
         ribSet.insert( tid );
      }
      ASSERT_EQ( explainedSet, ribSet );
      if ( competing.empty() ) {
         ASSERT_EQ( explained.winner(), nullptr );
         continue;
      }
      const auto & [ bestPref, bestDefault, bestId ] = competing.front();
      ASSERT_NE( explained.winner(), nullptr );
      ASSERT_EQ( explained.winner()->tunnelId, bestId );

      // The candidates come first, in selection order.
      for ( std::size_t i = 0; i < competing.size(); ++i ) {
         ASSERT_EQ( explained.candidates[ i ].tunnelId, std::get< 2 >( competing[ i ] ) );
      }

      // Each loss names a rule the tunnel really loses on.
      for ( const auto & [ pref, defaultPref, tid ] : competing ) {
         const CandidateExplanation & c = *byId.at( tid );
         const bool ecmp = tunnelTypesCanFormEcmp( tid.tunnelType(), bestId.tunnelType() );
         switch ( c.fate ) {
         case CandidateFate::winner:
            EXPECT_EQ( tid, bestId );
            break;
         case CandidateFate::ecmp:
            EXPECT_TRUE( pref == bestPref && ecmp ) << tid;
            break;
         case CandidateFate::lostOnPreference:
            EXPECT_GT( pref, entry.pref() ) << tid;
            break;
         case CandidateFate::lostOnDefaultPreference:
            EXPECT_TRUE( pref == entry.pref() && !ecmp && defaultPref > bestDefault ) << tid;
            break;
         case CandidateFate::cannotShareEcmp:
            EXPECT_TRUE( pref == entry.pref() && !ecmp && defaultPref == bestDefault ) << tid;
            break;
         case CandidateFate::notInRib:
            ADD_FAILURE() << tid << " competes but is explained as not in the RIB";
            break;
         }
      }
   }
}

} // namespace RibTest
