#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>

#include "platform/korvo/BoundedMplsLabelStackResult.h"

namespace Korvo {

// A 20-bit MPLS label value.
using MplsLabel = std::uint32_t;

enum class MplsLabelAction : std::uint8_t { push, swap, pop };

// What a next hop does to a packet's label stack: push the labels, swap the
// top label for them, or pop the top label (a pop carries no labels). The
// labels are a bounded stack listed outermost first: label( 0 ) is the one
// the next router sees. The default pushes nothing. Text form: the action and
// the labels, "push [100 200]", the entropy label written "EL".
class MplsLabelOperation {
 public:
   // How deep a stack the forwarding plane can impose; every change that
   // grows the stack is checked against it.
   static constexpr std::size_t maxStackSize = 12;
   static constexpr MplsLabel maxLabel = 0xFFFFF;
   static constexpr MplsLabel entropyLabelIndicator = 7;
   // Stands for the entropy label, whose value the forwarding plane computes
   // per flow; it lies outside the 20-bit range so no real label mistakes it.
   static constexpr MplsLabel entropyLabel = maxLabel + 1;

   MplsLabelOperation() = default;
   // Copies and moves of the usual short stack are a few word moves.
   MplsLabelOperation( const MplsLabelOperation & other )
         : action_( other.action_ ), size_( other.size_ ), inline_( other.inline_ ) {
      if ( onHeap() ) {
         unshareBlock();
      }
   }
   MplsLabelOperation( MplsLabelOperation && other ) noexcept
         : action_( other.action_ ), size_( other.size_ ), inline_( other.inline_ ) {
      // The block, if any, is this one's now.
      other.leaveDefault();
   }
   MplsLabelOperation & operator=( const MplsLabelOperation & other ) {
      if ( onHeap() || other.onHeap() ) {
         return *this = MplsLabelOperation( other );
      }
      action_ = other.action_;
      size_ = other.size_;
      inline_ = other.inline_;
      return *this;
   }
   MplsLabelOperation & operator=( MplsLabelOperation && other ) noexcept {
      if ( this != &other ) {
         if ( onHeap() ) {
            delete[] heapLabels();
         }
         action_ = other.action_;
         size_ = other.size_;
         inline_ = other.inline_;
         other.leaveDefault();
      }
      return *this;
   }
   ~MplsLabelOperation() {
      if ( onHeap() ) {
         delete[] heapLabels();
      }
   }
   // Labels outermost first. Asserts on a label out of range, on more than
   // maxStackSize labels, and on labels given to a pop.
   MplsLabelOperation( MplsLabelAction action, std::initializer_list< MplsLabel > labels );
   // Nothing when the text is not a label operation that fits.
   static std::optional< MplsLabelOperation > parse( std::string_view text );

   MplsLabelAction action() const noexcept { return action_; }
   std::size_t stackSize() const noexcept { return size_; }
   // Asserts that index < stackSize().
   MplsLabel label( std::size_t index ) const;
   bool hasEntropyLabel() const noexcept;

   // Puts a label on top (outermost). Asserts on a label out of range.
   BoundedMplsLabelStackResult labelPush( MplsLabel label );
   // Inserts the entropy label indicator and the entropy label (outermost
   // first) with `position` of this operation's labels beneath them: 0 puts
   // the pair at the bottom of the stack, stackSize() on top.
   BoundedMplsLabelStackResult entropyLabelAndIndicatorIs( std::size_t position );
   // Merges `outer`, the operation of a lower tunnel this one is carried
   // over, into this one: its labels become the outermost, whether it pushes
   // or swaps them; an outer pop (implicit null) adds nothing. Fails,
   // changing nothing, when the merged stack would exceed maxStackSize.
   SmushResult smush( const MplsLabelOperation & outer );

   std::string stringValue() const;
   std::size_t hash() const noexcept;

   // Action, then stack size, then the labels outermost first.
   friend std::strong_ordering operator<=>( const MplsLabelOperation & a,
                                           const MplsLabelOperation & b ) noexcept {
      if ( a.action_ != b.action_ ) {
         return a.action_ <=> b.action_;
      }
      if ( a.size_ != b.size_ ) {
         return a.size_ <=> b.size_;
      }
      const MplsLabel * labelsA = a.labels();
      const MplsLabel * labelsB = b.labels();
      for ( std::size_t i = 0; i < a.size_; ++i ) {
         if ( labelsA[ i ] != labelsB[ i ] ) {
            return labelsA[ i ] <=> labelsB[ i ];
         }
      }
      return std::strong_ordering::equal;
   }
   friend bool operator==( const MplsLabelOperation & a, const MplsLabelOperation & b ) noexcept {
      if ( a.action_ != b.action_ || a.size_ != b.size_ ) {
         return false;
      }
      // Unused inline slots stay zero.
      if ( !a.onHeap() ) {
         return a.inline_ == b.inline_;
      }
      return std::memcmp( a.heapLabels(), b.heapLabels(), a.size_ * sizeof( MplsLabel ) ) == 0;
   }
   friend std::ostream & operator<<( std::ostream & os, const MplsLabelOperation & op ) {
      return os << op.stringValue();
   }

 private:
   // Nearly every stack holds one to three labels: those stay in place, and
   // only a longer stack takes a heap block, exactly as long as the stack.
   static constexpr std::size_t inlineLabels = 3;

   MplsLabelOperation( MplsLabelAction action, const MplsLabel * labels, std::size_t count );

   bool onHeap() const noexcept { return size_ > inlineLabels; }
   // The heap block's address takes the place of the last two inline slots.
   static_assert( sizeof( MplsLabel * ) <= ( inlineLabels - 1 ) * sizeof( MplsLabel ) );
   MplsLabel * heapLabels() const noexcept {
      MplsLabel * block;
      std::memcpy( &block, &inline_[ 1 ], sizeof block );
      return block;
   }
   void heapLabelsIs( MplsLabel * block ) noexcept {
      inline_ = {};
      std::memcpy( &inline_[ 1 ], &block, sizeof block );
   }
   const MplsLabel * labels() const noexcept { return onHeap() ? heapLabels() : inline_.data(); }
   // Gives a copy its own block in place of the one it shares with its source.
   void unshareBlock();
   // Without releasing the block, which another now owns.
   void leaveDefault() noexcept {
      action_ = MplsLabelAction::push;
      size_ = 0;
      inline_ = {};
   }
   // Inserts labels so that `below` of the current labels stay beneath them;
   // the caller has checked the bound.
   void insert( std::size_t below, const MplsLabel * added, std::size_t count );

   MplsLabelAction action_ = MplsLabelAction::push;
   std::uint8_t size_ = 0;
   std::array< MplsLabel, inlineLabels > inline_{};
};

static_assert( sizeof( MplsLabelOperation ) == 16, "A label operation is held per via" );

} // namespace Korvo

template<>
struct std::hash< Korvo::MplsLabelOperation > {
   std::size_t operator()( const Korvo::MplsLabelOperation & op ) const noexcept {
      return op.hash();
   }
};
