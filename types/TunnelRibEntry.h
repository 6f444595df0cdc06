#pragma once

#include <cstddef>
#include <cstdint>
#include <ostream>
#include <span>
#include <string>
#include <vector>

#include "platform/korvo/IpGenPrefix.h"
#include "platform/vel/InlineVector.h"
#include "types/ColoredTunnelEndpoint.h"
#include "types/TunnelEntryPref.h"
#include "types/TunnelId.h"
#include "types/TunnelIdCollIndex.h"

namespace Tunnel::TunnelTable {

// What a tunnel RIB holds for one endpoint: the ECMP set of tunnel ids that
// won it (at most 600), their preference, and the metrics of the selected
// table entry.
class TunnelRibEntry {
 public:
   // The first byte of the marshalled form; a reader refuses any other.
   static constexpr std::uint8_t marshalVersion = 1;

   TunnelRibEntry() = default;
   explicit TunnelRibEntry( const ColoredTunnelEndpoint & coloredTep )
         : coloredTep_( coloredTep ) {}

   const ColoredTunnelEndpoint & coloredTep() const noexcept { return coloredTep_; }
   const Korvo::IpGenPrefix & tep() const noexcept { return coloredTep_.tep(); }

   unsigned tunnelIdCount() const noexcept { return static_cast< unsigned >( tunnelId_.size() ); }
   // An index at or beyond the count raises the TunnelIdCollIndex range error.
   TunnelId tunnelId( TunnelIdCollIndex index ) const;
   // Overwrites the slot; the slot just past the last appends. Further on
   // raises the TunnelIdCollIndex range error.
   void tunnelIdIs( TunnelIdCollIndex index, TunnelId id );
   // Removes the slot without shifting the others: the last id moves into the
   // gap. An index at or beyond the count raises the range error.
   void tunnelIdDel( TunnelIdCollIndex index );
   // Removes the id when listed (the last id takes its place); an absent id
   // changes nothing.
   void delTunnelId( TunnelId id );
   // Appends the id unless listed; the 601st id raises the range error.
   void addTunnelId( TunnelId id );
   bool hasTunnelId( TunnelId id ) const noexcept;
   // No tunnel ids: the endpoint has no tunnel.
   bool empty() const noexcept { return tunnelId_.empty(); }

   TunnelEntryPref pref() const noexcept { return pref_; }
   void prefIs( TunnelEntryPref pref ) noexcept { pref_ = pref; }

   std::uint32_t m() const noexcept { return m_; }
   void mIs( std::uint32_t m ) noexcept { m_ = m; }
   std::uint32_t metricType() const noexcept { return metricType_; }
   void metricTypeIs( std::uint32_t metricType ) noexcept { metricType_ = metricType; }
   std::uint32_t m2() const noexcept { return m2_; }
   void m2Is( std::uint32_t m2 ) noexcept { m2_ = m2; }
   std::uint32_t igpCostPref() const noexcept { return igpCostPref_; }
   void igpCostPrefIs( std::uint32_t igpCostPref ) noexcept { igpCostPref_ = igpCostPref; }
   std::uint32_t p2() const noexcept { return p2_; }
   void p2Is( std::uint32_t p2 ) noexcept { p2_ = p2; }

   // The marshalled form, little-endian: version; endpoint (address family
   // 0/4/6, prefix length, 0/4/16 address bytes, colored flag, 4-byte color);
   // pref; m, metricType, m2, igpCostPref, p2 (4 bytes each); id count (2
   // bytes); the ids (8 bytes each).
   std::size_t serializeLen() const noexcept;
   std::vector< std::uint8_t > serialize() const;
   // The length of the marshalled entry at the start of buffer, or 0 when the
   // buffer is too short to tell or holds no entry of this version.
   static std::size_t deserializeLen( std::span< const std::uint8_t > buffer ) noexcept;
   // Reads the entry at the start of buffer. A short or malformed buffer is
   // refused with false, leaving this entry unchanged.
   bool deserialize( std::span< const std::uint8_t > buffer );

   friend bool operator==( const TunnelRibEntry &, const TunnelRibEntry & ) = default;

   std::string stringValue() const;
   friend std::ostream & operator<<( std::ostream & os, const TunnelRibEntry & e ) {
      return os << e.stringValue();
   }

 private:
   ColoredTunnelEndpoint coloredTep_;
   // Most entries hold one or two ids: no allocation to copy one.
   Vel::InlineVector< TunnelId, 2 > tunnelId_;
   TunnelEntryPref pref_;
   std::uint32_t m_ = 0;
   std::uint32_t metricType_ = 0;
   std::uint32_t m2_ = 0;
   std::uint32_t igpCostPref_ = 0;
   std::uint32_t p2_ = 0;
};

} // namespace Tunnel::TunnelTable
