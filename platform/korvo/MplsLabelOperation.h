#pragma once

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
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

   // Unused slots stay zero, so member-wise comparison is value comparison.
   friend auto operator<=>( const MplsLabelOperation &, const MplsLabelOperation & ) = default;
   friend bool operator==( const MplsLabelOperation &, const MplsLabelOperation & ) = default;
   friend std::ostream & operator<<( std::ostream & os, const MplsLabelOperation & op ) {
      return os << op.stringValue();
   }

 private:
   // Inserts labels so that `below` of the current labels stay beneath them.
   void insert( std::size_t below, const MplsLabel * labels, std::size_t count ) noexcept;

   MplsLabelAction action_ = MplsLabelAction::push;
   std::uint8_t size_ = 0;
   std::array< MplsLabel, maxStackSize > labels_{};
};

} // namespace Korvo

template<>
struct std::hash< Korvo::MplsLabelOperation > {
   std::size_t operator()( const Korvo::MplsLabelOperation & op ) const noexcept {
      return op.hash();
   }
};
