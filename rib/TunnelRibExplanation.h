#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "ingest/TunnelTableEntities.h"
#include "platform/statix/EntityManager.h"
#include "platform/vel/Ptr.h"
#include "rib/TunnelRibSm.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelEntryPref.h"
#include "types/TunnelId.h"
#include "types/TunnelRibEntry.h"

namespace Tunnel::TunnelTable {

// Why a RIB holds what it holds for one endpoint, read on demand from the
// RIB's own machines: the builder's candidates in selection order, each with
// its fate, and the tunnels the tables hold for the endpoint that never
// became candidates, each with what keeps it out. Nothing is kept between
// calls and nothing is computed while no one asks.

enum class CandidateFate : std::uint8_t {
   winner,                   // first of the RIB entry's tunnels in selection order
   ecmp,                     // in the RIB entry beside the winner
   lostOnPreference,         // competes with a greater preference than the winner's
   lostOnDefaultPreference,  // equal preference, its type's default is greater
   cannotShareEcmp,          // equal preference and default, types that cannot share
   notInRib,                 // see ExclusionReason
};

enum class ExclusionReason : std::uint8_t {
   none,
   tableNotConfigured,    // the RIB does not take the table
   tableNotDescribed,     // the RIB takes it, but it is not described (not mounted)
   noPreference,          // the RIB's filter holds no preference for the tunnel
   bgpLuNotContributing,  // a BGP-LU entry that is not contributing
   unprogrammable,        // listed as unprogrammable by the FIB
   awaitingReview,        // none of the above: the builder has yet to review it
};

enum class PreferenceSource : std::uint8_t { own, configured };

struct CandidateExplanation {
   TunnelId tunnelId;
   // The preference the table entry publishes (25 and 255 for nexthop groups
   // and SR-TE policies, which publish none).
   TunnelEntryPref ownPreference;
   // The preference it competes with in this RIB; none when the RIB's filter
   // holds none for it.
   std::optional< TunnelEntryPref > preference;
   PreferenceSource preferenceSource = PreferenceSource::own;
   TunnelEntryPref defaultPreference;
   CandidateFate fate = CandidateFate::notInRib;
   ExclusionReason exclusion = ExclusionReason::none;
   // For noPreference: an RSVP LER tunnel that this application RIB does not
   // take by its eligibility flags.
   bool ineligibleForAppRib = false;
};

struct EndpointExplanation {
   // The endpoint as the RIB keys it.
   ColoredTunnelEndpoint tep;
   // Empty (no tunnel ids) when the RIB has no entry for it.
   TunnelRibEntry ribEntry;
   // The builder's candidates in selection order, then the tunnels the tables
   // hold for the endpoint that are not candidates, in tunnel id order.
   std::vector< CandidateExplanation > candidates;
   // The RIB knows the endpoint: it has candidates or an entry for it, or a
   // table it takes holds a tunnel for it.
   bool known = false;

   // The winner's explanation, or null.
   const CandidateExplanation * winner() const;
};

// Every protocol table that producers have written, described or not, as
// one set of table entities: what the explanations search for tunnels that
// never reached a RIB.
Vel::Ptr< TunnelTableEntities > everyProtocolTable( const Statix::EntityManager & entityManager );

// Explains the RIB's choice for the endpoint (a colored endpoint counts as
// its prefix in a RIB that does not key on colors). everyTable holds every
// table producers publish.
EndpointExplanation explainEndpoint( const TunnelRibSm & ribSm, const ColoredTunnelEndpoint & tep,
                                     const Vel::Ptr< TunnelTableEntities > & everyTable );

} // namespace Tunnel::TunnelTable
