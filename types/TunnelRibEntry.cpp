#include "types/TunnelRibEntry.h"

#include <algorithm>
#include <array>
#include <sstream>

#include "platform/vel/Assert.h"

namespace Tunnel::TunnelTable {

namespace {

[[noreturn]] void throwIndexRange() {
   throw Vel::RangeException( TunnelIdCollIndex::rangeText() );
}

// Bytes before the address and between the address and the ids.
constexpr std::size_t headerLen = 1 + 1 + 1;           // version, family, length
constexpr std::size_t middleLen = 1 + 4 + 1 + 5 * 4 + 2; // colored, color, pref, metrics, count

std::size_t addressLen( Korvo::AddressFamily family ) {
   switch ( family ) {
    case Korvo::AddressFamily::ipv4:
      return 4;
    case Korvo::AddressFamily::ipv6:
      return 16;
    default:
      return 0;
   }
}

class Writer {
 public:
   explicit Writer( std::vector< std::uint8_t > & out ) : out_( out ) {}
   void put( std::uint64_t value, unsigned bytes ) {
      for ( unsigned i = 0; i < bytes; ++i ) {
         out_.push_back( static_cast< std::uint8_t >( value >> ( 8 * i ) ) );
      }
   }

 private:
   std::vector< std::uint8_t > & out_;
};

// Reads little-endian values; the caller has checked the length.
class Reader {
 public:
   explicit Reader( std::span< const std::uint8_t > in ) : in_( in ) {}
   std::uint64_t get( unsigned bytes ) {
      std::uint64_t value = 0;
      for ( unsigned i = 0; i < bytes; ++i ) {
         value |= std::uint64_t( in_[ pos_++ ] ) << ( 8 * i );
      }
      return value;
   }
   std::uint32_t get32() { return static_cast< std::uint32_t >( get( 4 ) ); }

 private:
   std::span< const std::uint8_t > in_;
   std::size_t pos_ = 0;
};

} // namespace

TunnelId TunnelRibEntry::tunnelId( TunnelIdCollIndex index ) const {
   if ( index.value() >= tunnelId_.size() ) {
      throwIndexRange();
   }
   return tunnelId_[ index.value() ];
}

void TunnelRibEntry::tunnelIdIs( TunnelIdCollIndex index, TunnelId id ) {
   if ( index.value() == tunnelId_.size() ) {
      tunnelId_.push_back( id );
   } else if ( index.value() < tunnelId_.size() ) {
      tunnelId_[ index.value() ] = id;
   } else {
      throwIndexRange();
   }
}

void TunnelRibEntry::tunnelIdDel( TunnelIdCollIndex index ) {
   if ( index.value() >= tunnelId_.size() ) {
      throwIndexRange();
   }
   tunnelId_[ index.value() ] = tunnelId_.back();
   tunnelId_.pop_back();
}

void TunnelRibEntry::delTunnelId( TunnelId id ) {
   const std::size_t scan = std::min< std::size_t >( tunnelId_.size(), maxTunnelIdsPerRibEntry );
   for ( std::size_t i = 0; i < scan; ++i ) {
      if ( tunnelId_[ i ] == id ) {
         const auto last = TunnelIdCollIndex::of( static_cast< long long >( tunnelId_.size() ) - 1 );
         tunnelIdIs( TunnelIdCollIndex( static_cast< unsigned >( i ) ), tunnelId( last ) );
         tunnelIdDel( last );
         return;
      }
   }
}

void TunnelRibEntry::addTunnelId( TunnelId id ) {
   if ( hasTunnelId( id ) ) {
      return;
   }
   VEL_ASSERT( tunnelId_.size() <= maxTunnelIdsPerRibEntry, "tunnelId_.validateSize()" );
   tunnelIdIs( TunnelIdCollIndex::of( static_cast< long long >( tunnelId_.size() ) ), id );
}

bool TunnelRibEntry::hasTunnelId( TunnelId id ) const noexcept {
   return std::find( tunnelId_.begin(), tunnelId_.end(), id ) != tunnelId_.end();
}

std::size_t TunnelRibEntry::serializeLen() const noexcept {
   return headerLen + addressLen( tep().family() ) + middleLen + 8 * tunnelId_.size();
}

std::vector< std::uint8_t > TunnelRibEntry::serialize() const {
   std::vector< std::uint8_t > out;
   out.reserve( serializeLen() );
   Writer w( out );
   w.put( marshalVersion, 1 );
   w.put( static_cast< std::uint8_t >( tep().family() ), 1 );
   w.put( tep().length(), 1 );
   const auto & bytes = tep().address().bytes();
   out.insert( out.end(), bytes.begin(), bytes.begin() + addressLen( tep().family() ) );
   w.put( coloredTep_.colored() ? 1 : 0, 1 );
   w.put( coloredTep_.color(), 4 );
   w.put( pref_.value(), 1 );
   for ( std::uint32_t metric : { m_, metricType_, m2_, igpCostPref_, p2_ } ) {
      w.put( metric, 4 );
   }
   w.put( tunnelId_.size(), 2 );
   for ( TunnelId id : tunnelId_ ) {
      w.put( id.value(), 8 );
   }
   return out;
}

std::size_t TunnelRibEntry::deserializeLen( std::span< const std::uint8_t > buffer ) noexcept {
   if ( buffer.size() < headerLen || buffer[ 0 ] != marshalVersion ) {
      return 0;
   }
   const auto family = static_cast< Korvo::AddressFamily >( buffer[ 1 ] );
   if ( family != Korvo::AddressFamily::none && family != Korvo::AddressFamily::ipv4 &&
        family != Korvo::AddressFamily::ipv6 ) {
      return 0;
   }
   const std::size_t countAt = headerLen + addressLen( family ) + middleLen - 2;
   if ( buffer.size() < countAt + 2 ) {
      return 0;
   }
   const std::size_t count = buffer[ countAt ] | ( buffer[ countAt + 1 ] << 8 );
   return countAt + 2 + 8 * count;
}

bool TunnelRibEntry::deserialize( std::span< const std::uint8_t > buffer ) {
   const std::size_t len = deserializeLen( buffer );
   if ( len == 0 || buffer.size() < len ) {
      return false;
   }
   Reader r( buffer.subspan( 1 ) );
   const auto family = static_cast< Korvo::AddressFamily >( r.get( 1 ) );
   const unsigned length = static_cast< unsigned >( r.get( 1 ) );
   std::array< std::uint8_t, 16 > bytes{};
   for ( std::size_t i = 0; i < addressLen( family ); ++i ) {
      bytes[ i ] = static_cast< std::uint8_t >( r.get( 1 ) );
   }
   Korvo::IpGenAddr address;
   if ( family == Korvo::AddressFamily::ipv4 ) {
      address = Korvo::IpGenAddr::ipv4( std::uint32_t( bytes[ 0 ] ) << 24 |
                                        std::uint32_t( bytes[ 1 ] ) << 16 |
                                        std::uint32_t( bytes[ 2 ] ) << 8 | bytes[ 3 ] );
   } else if ( family == Korvo::AddressFamily::ipv6 ) {
      address = Korvo::IpGenAddr::ipv6( bytes );
   }
   // Host bits beyond the length never come from serialize().
   if ( length > address.bits() || address.masked( length ) != address ) {
      return false;
   }
   const auto colored = r.get( 1 );
   const auto color = r.get32();
   if ( colored > 1 || ( !colored && color != 0 ) ) {
      return false;
   }
   TunnelRibEntry entry(
      colored ? ColoredTunnelEndpoint( Korvo::IpGenPrefix( address, length ), color )
              : ColoredTunnelEndpoint( Korvo::IpGenPrefix( address, length ) ) );
   entry.pref_ = static_cast< std::uint8_t >( r.get( 1 ) );
   entry.m_ = r.get32();
   entry.metricType_ = r.get32();
   entry.m2_ = r.get32();
   entry.igpCostPref_ = r.get32();
   entry.p2_ = r.get32();
   const std::size_t count = r.get( 2 );
   if ( count > maxTunnelIdsPerRibEntry ) {
      return false;
   }
   entry.tunnelId_.reserve( count );
   for ( std::size_t i = 0; i < count; ++i ) {
      const std::uint64_t value = r.get( 8 );
      if ( value > TunnelId::maxValue ) {
         return false;
      }
      entry.tunnelId_.push_back( TunnelId( value ) );
   }
   *this = std::move( entry );
   return true;
}

std::string TunnelRibEntry::stringValue() const {
   std::ostringstream os;
   os << "Value('Tunnel::TunnelTable::TunnelRibEntry', ** {'coloredTep': " << coloredTep_
      << ", 'tunnelId': [";
   for ( std::size_t i = 0; i < tunnelId_.size(); ++i ) {
      os << ( i ? ", " : "" ) << tunnelId_[ i ];
   }
   os << "], 'pref': " << pref_ << ", 'm': " << m_ << ", 'metricType': " << metricType_
      << ", 'm2': " << m2_ << ", 'igpCostPref': " << igpCostPref_ << ", 'p2': " << p2_ << "})";
   return os.str();
}

} // namespace Tunnel::TunnelTable
