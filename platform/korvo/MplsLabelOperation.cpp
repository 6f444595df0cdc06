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
   }
   insert( 0, labels.begin(), labels.size() );
}

MplsLabelOperation::MplsLabelOperation( MplsLabelAction action, const MplsLabel * labels,
                                        std::size_t count )
      : action_( action ) {
   insert( 0, labels, count );
}

void MplsLabelOperation::unshareBlock() {
   MplsLabel * block = new MplsLabel[ size_ ];
   std::copy( heapLabels(), heapLabels() + size_, block );
   heapLabelsIs( block );
}

std::optional< MplsLabelOperation > MplsLabelOperation::parse( std::string_view text ) {
   skipBlanks( text );
   std::string_view actionName = takeToken( text );
   auto found = std::find( std::begin( actionNames ), std::end( actionNames ), actionName );
   if ( found == std::end( actionNames ) ) {
      return std::nullopt;
   }
   const auto action = static_cast< MplsLabelAction >( found - std::begin( actionNames ) );
   std::array< MplsLabel, maxStackSize > labels;
   std::size_t size = 0;
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
         if ( size == 0 || labels[ size - 1 ] != entropyLabelIndicator ) {
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
      if ( size == maxStackSize ) {
         return std::nullopt;
      }
      labels[ size++ ] = label;
   }
   text.remove_prefix( 1 );
   skipBlanks( text );
   if ( !text.empty() || ( action == MplsLabelAction::pop && size != 0 ) ) {
      return std::nullopt;
   }
   return MplsLabelOperation( action, labels.data(), size );
}

MplsLabel MplsLabelOperation::label( std::size_t index ) const {
   VEL_ASSERT( index < size_, "Label index beyond the stack" );
   return labels()[ index ];
}

bool MplsLabelOperation::hasEntropyLabel() const noexcept {
   return std::find( labels(), labels() + size_, entropyLabel ) != labels() + size_;
}

void MplsLabelOperation::insert( std::size_t below, const MplsLabel * added,
                                 std::size_t count ) {
   const std::size_t at = size_ - below;
   const std::size_t grown = size_ + count;
   if ( grown <= inlineLabels ) {
      std::copy_backward( inline_.begin() + at, inline_.begin() + size_,
                          inline_.begin() + grown );
      std::copy( added, added + count, inline_.begin() + at );
   } else {
      // Every growth past the inline slots takes a new block: it is rare,
      // and the block stays exactly as long as the stack.
      MplsLabel * block = new MplsLabel[ grown ];
      const MplsLabel * old = labels();
      std::copy( old, old + at, block );
      std::copy( added, added + count, block + at );
      std::copy( old + at, old + size_, block + at + count );
      if ( onHeap() ) {
         delete[] heapLabels();
      }
      heapLabelsIs( block );
   }
   size_ = static_cast< std::uint8_t >( grown );
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
   insert( size_, outer.labels(), outer.size_ );
   return {};
}

std::string MplsLabelOperation::stringValue() const {
   std::string text( actionNames[ static_cast< std::size_t >( action_ ) ] );
   text += " [";
   const MplsLabel * stack = labels();
   for ( std::size_t i = 0; i < size_; ++i ) {
      if ( i != 0 ) {
         text += ' ';
      }
      text += stack[ i ] == entropyLabel ? std::string( "EL" ) : std::to_string( stack[ i ] );
   }
   text += ']';
   return text;
}

std::size_t MplsLabelOperation::hash() const noexcept {
   std::uint64_t h = 1469598103934665603ull ^ static_cast< std::uint8_t >( action_ );
   h = ( h ^ size_ ) * 1099511628211ull;
   const MplsLabel * stack = labels();
   for ( std::size_t i = 0; i < size_; ++i ) {
      h = ( h ^ stack[ i ] ) * 1099511628211ull;
   }
   return static_cast< std::size_t >( h );
}

} // namespace Korvo
