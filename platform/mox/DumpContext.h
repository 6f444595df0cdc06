#pragma once

#include <string>

namespace Mox {

// Collects a state dump written with printf formats.
class DumpContext {
 public:
   void printf( const char * format, ... ) __attribute__( ( format( printf, 2, 3 ) ) );
   const std::string & text() const noexcept { return text_; }
   void clear() noexcept { text_.clear(); }

 private:
   std::string text_;
};

} // namespace Mox
