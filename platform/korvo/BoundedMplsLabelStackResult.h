#pragma once

#include <cstdint>
#include <ostream>
#include <string_view>

namespace Korvo {

// The outcome of a change to a bounded label stack. A change that fails leaves
// the label operation as it was.
class BoundedMplsLabelStackResult {
 public:
   enum class Error : std::uint8_t {
      none,
      // the stack would hold more than MplsLabelOperation::maxStackSize labels
      stackFull,
      // an insertion position beyond the stack
      positionInvalid,
      // the operation's action cannot take the change (labels on a pop, a
      // merge with an outer operation that is not a push)
      actionUnsupported,
   };

   BoundedMplsLabelStackResult() = default;
   explicit BoundedMplsLabelStackResult( Error error ) noexcept : error_( error ) {}

   bool success() const noexcept { return error_ == Error::none; }
   Error error() const noexcept { return error_; }

   std::string_view stringValue() const noexcept {
      switch ( error_ ) {
      case Error::none:
         return "success";
      case Error::stackFull:
         return "stackFull";
      case Error::positionInvalid:
         return "positionInvalid";
      case Error::actionUnsupported:
         return "actionUnsupported";
      }
      return "unknown";
   }

   friend bool operator==( BoundedMplsLabelStackResult, BoundedMplsLabelStackResult ) = default;
   friend std::ostream & operator<<( std::ostream & os, BoundedMplsLabelStackResult r ) {
      return os << r.stringValue();
   }

 private:
   Error error_ = Error::none;
};

// What merging one label operation beneath another yields.
using SmushResult = BoundedMplsLabelStackResult;

} // namespace Korvo
