#include "platform/vel/Assert.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Vel {

namespace {

[[noreturn]] void abortingHandler( const char * text, const char * file, int line ) {
   std::fprintf( stderr, "%s:%d: assertion failed: %s\n", file, line, text );
   std::abort();
}

AssertionHandler & currentHandler() {
   static AssertionHandler handler = abortingHandler;
   return handler;
}

} // namespace

AssertionHandler assertionHandlerIs( AssertionHandler handler ) {
   return std::exchange( currentHandler(), std::move( handler ) );
}

void throwingAssertionHandler( const char * text, const char *, int ) {
   throw AssertionError( text );
}

void assertionFailed( const char * text, const char * file, int line ) {
   currentHandler()( text, file, line );
   // A handler that returns has not stopped the program; the invariant is
   // still broken, so stop here.
   abortingHandler( text, file, line );
}

} // namespace Vel
