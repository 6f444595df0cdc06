#pragma once

#include <functional>
#include <stdexcept>
#include <string>

namespace Vel {

// What a test's assertion handler throws, carrying the assertion's fixed text.
class AssertionError : public std::logic_error {
 public:
   using std::logic_error::logic_error;
};

using AssertionHandler =
   std::function< void( const char * text, const char * file, int line ) >;

// Replaces the process's assertion handler and returns the previous one. The
// default prints the text with file and line and aborts.
AssertionHandler assertionHandlerIs( AssertionHandler handler );

// A handler that throws AssertionError( text ): tests and the scenario runner
// use it to report an assertion instead of dying.
void throwingAssertionHandler( const char * text, const char * file, int line );

[[noreturn]] void assertionFailed( const char * text, const char * file, int line );

} // namespace Vel

#define VEL_ASSERT( condition, text )                                              \
   do {                                                                             \
      if ( !( condition ) ) [[unlikely]] {                                          \
         ::Vel::assertionFailed( text, __FILE__, __LINE__ );                        \
      }                                                                             \
   } while ( 0 )
