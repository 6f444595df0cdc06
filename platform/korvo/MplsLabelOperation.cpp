#include "platform/korvo/MplsLabelOperation.h"

#include <algorithm>
#include <charconv>

#include "platform/vel/Assert.h"

namespace Korvo {

namespace {

constexpr std::string_view actionNames[] = { "push", "swap", "pop" };

bool validLabel( MplsLabel label ) noexcept {
   return label <= MplsLabelOperation::maxLabel || label == MplsLabelOperation::entropyLabel;
}

void skipBlanks( std::string_view & text ) {
   while ( !text.empty() && ( text.front() == ' ' || text.front() == '\t' ) ) {
      text.remove_prefix( 1 );
   }
}

// The next run of characters up to a blank or a bracket.
std::string_view takeToken( std::string_view & text ) {
   std::size_t end = 0;
   while ( end < text.size() && text[ end ] != ' ' && text[ end ] != '\t' &&
           text[ end ] != '[' && text[ end ] != ']' ) {
      ++end;
   }
   std::string_view token = text.substr( 0, end );
   text.remove_prefix( end );
   return token;
}

} // namespace

MplsLabelOperation::MplsLabelOperation( MplsLabelAction action,
                                        std::initializer_list< MplsLabel > labels )
      : action_( action ) {
   VEL_ASSERT( labels.size() <= maxStackSize, "Label stack exceeds maxStackSize" );
   VEL_ASSERT( action != MplsLabelAction::pop || labels.size() == 0,
               "A pop carries no labels" );
   for ( MplsLabel label : labels ) {
      VEL_ASSERT( validLabel( label ), "MPLS label out of range" );
      labels_[ size_++ ] = label;
   }
}

std::optional< MplsLabelOperation > MplsLabelOperation::parse( std::string_view text ) {
   MplsLabelOperation op;
   skipBlanks( text );
   std::string_view action = takeToken( text );
   auto found = std::find( std::begin( actionNames ), std::end( actionNames ), action );
   if ( found == std::end( actionNames ) ) {
      return std::nullopt;
   }
   op.action_ = static_cast< MplsLabelAction >( found - std::begin( actionNames ) );
   skipBlanks( text );
   if ( !text.starts_with( '[' ) ) {
      return std::nullopt;
   }
   text.remove_prefix( 1 );
   for ( skipBlanks( text ); !text.starts_with( ']' ); skipBlanks( text ) ) {
      std::string_view token = takeToken( text );
      MplsLabel label = 0;
      if ( token == "EL" ) {
         // The entropy label only ever follows its indicator.
         if ( op.size_ == 0 || op.labels_[ op.size_ - 1 ] != entropyLabelIndicator ) {
            return std::nullopt;
         }
         label = entropyLabel;
      } else {
         const char * end = token.data() + token.size();
         auto [ ptr, ec ] = std::from_chars( token.data(), end, label );
         if ( token.empty() || ec != std::errc() || ptr != end || label > maxLabel ) {
            return std::nullopt;
         }
      }
      if ( op.size_ == maxStackSize ) {
         return std::nullopt;
      }
      op.labels_[ op.size_++ ] = label;
   }
   text.remove_prefix( 1 );
   skipBlanks( text );
   if ( !text.empty() || ( op.action_ == MplsLabelAction::pop && op.size_ != 0 ) ) {
      return std::nullopt;
   }
   return op;
}

MplsLabel MplsLabelOperation::label( std::size_t index ) const {
   VEL_ASSERT( index < size_, "Label index beyond the stack" );
   return labels_[ index ];
}

bool MplsLabelOperation::hasEntropyLabel() const noexcept {
   return std::find( labels_.begin(), labels_.begin() + size_, entropyLabel ) !=
          labels_.begin() + size_;
}

void MplsLabelOperation::insert( std::size_t below, const MplsLabel * labels,
                                 std::size_t count ) noexcept {
   std::size_t at = size_ - below;
   std::copy_backward( labels_.begin() + at, labels_.begin() + size_,
                       labels_.begin() + size_ + count );
   std::copy( labels, labels + count, labels_.begin() + at );
   size_ = static_cast< std::uint8_t >( size_ + count );
}

BoundedMplsLabelStackResult MplsLabelOperation::labelPush( MplsLabel label ) {
   VEL_ASSERT( validLabel( label ), "MPLS label out of range" );
   using Error = BoundedMplsLabelStackResult::Error;
   if ( action_ == MplsLabelAction::pop ) {
      return BoundedMplsLabelStackResult( Error::actionUnsupported );
   }
   if ( size_ == maxStackSize ) {
      return BoundedMplsLabelStackResult( Error::stackFull );
   }
   insert( size_, &label, 1 );
   return {};
}

BoundedMplsLabelStackResult MplsLabelOperation::entropyLabelAndIndicatorIs( std::size_t position ) {
   using Error = BoundedMplsLabelStackResult::Error;
   if ( action_ == MplsLabelAction::pop ) {
      return BoundedMplsLabelStackResult( Error::actionUnsupported );
   }
   if ( position > size_ ) {
      return BoundedMplsLabelStackResult( Error::positionInvalid );
   }
   if ( size_ + 2u > maxStackSize ) {
      return BoundedMplsLabelStackResult( Error::stackFull );
   }
   const MplsLabel pair[] = { entropyLabelIndicator, entropyLabel };
   insert( position, pair, 2 );
   return {};
}

SmushResult MplsLabelOperation::smush( const MplsLabelOperation & outer ) {
   using Error = BoundedMplsLabelStackResult::Error;
   // Whatever the outer operation's action, what it imposes at the head end
   // is its labels: a swap's labels go on top like a push's, and a pop (the
   // lower tunnel's next hop takes the packet unlabelled, an implicit null)
   // carries none and adds nothing.
   if ( std::size_t( size_ ) + outer.size_ > maxStackSize ) {
      return SmushResult( Error::stackFull );
   }
   // Popping the top label and then pushing is swapping it.
   if ( action_ == MplsLabelAction::pop && outer.size_ != 0 ) {
      action_ = MplsLabelAction::swap;
   }
   insert( size_, outer.labels_.data(), outer.size_ );
   return {};
}

std::string MplsLabelOperation::stringValue() const {
   std::string text( actionNames[ static_cast< std::size_t >( action_ ) ] );
   text += " [";
   for ( std::size_t i = 0; i < size_; ++i ) {
      if ( i != 0 ) {
         text += ' ';
      }
      text += labels_[ i ] == entropyLabel ? std::string( "EL" ) : std::to_string( labels_[ i ] );
   }
   text += ']';
   return text;
}

std::size_t MplsLabelOperation::hash() const noexcept {
   std::uint64_t h = 1469598103934665603ull ^ static_cast< std::uint8_t >( action_ );
   h = ( h ^ size_ ) * 1099511628211ull;
   for ( std::size_t i = 0; i < size_; ++i ) {
      h = ( h ^ labels_[ i ] ) * 1099511628211ull;
   }
   return static_cast< std::size_t >( h );
}

} // namespace Korvo
