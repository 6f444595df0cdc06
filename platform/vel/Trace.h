#pragma once

#include <cstdarg>
#include <deque>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace Vel {

// One trace facility with levels 0-9, off by default. The environment
// variable TUNNEL_TRACE=<level> turns it on at start; tools set it directly.
// While a level is off a trace point costs one branch: nothing is formatted.
namespace detail {
extern int traceLevel;
}

inline bool traceEnabled( int level ) noexcept { return level <= detail::traceLevel; }
void traceLevelIs( int level ) noexcept; // -1 turns tracing off
int traceLevel() noexcept;

// Where finished lines go; the default writes them to standard error.
using TraceSink = std::function< void( int level, const std::string & line ) >;
TraceSink traceSinkIs( TraceSink sink );
void traceEmit( int level, const std::string & line );

// The fast-trace ring: the most recent lines written with fastTrace, kept in
// memory so a post-mortem can read them.
class FastTraceRing {
 public:
   static constexpr std::size_t capacity = 256;
   static FastTraceRing & instance();

   void add( std::string line );
   const std::deque< std::string > & lines() const noexcept { return lines_; }
   void clear() noexcept { lines_.clear(); }

 private:
   std::deque< std::string > lines_;
};

void fastTrace( const char * format, ... ) __attribute__( ( format( printf, 1, 2 ) ) );

// Captures trace lines for a test while it lives, at the given level.
class TestTraceSink {
 public:
   explicit TestTraceSink( int level = 9 );
   ~TestTraceSink();
   TestTraceSink( const TestTraceSink & ) = delete;
   TestTraceSink & operator=( const TestTraceSink & ) = delete;

   const std::vector< std::string > & lines() const noexcept { return lines_; }
   bool contains( const std::string & fragment ) const;
   void clear() noexcept { lines_.clear(); }

 private:
   std::vector< std::string > lines_;
   TraceSink previousSink_;
   int previousLevel_;
};

template< class... Parts >
std::string traceText( const char * signature, const Parts &... parts ) {
   std::ostringstream os;
   os << signature;
   if constexpr ( sizeof...( parts ) > 0 ) {
      ( os << ... << parts );
   }
   return os.str();
}

} // namespace Vel

// A trace line: the function's signature as the compiler prints it, then the
// fragments in order.
#define VEL_TRACE( level, ... )                                                   \
   do {                                                                           \
      if ( ::Vel::traceEnabled( level ) ) [[unlikely]] {                          \
         ::Vel::traceEmit( level, ::Vel::traceText( __PRETTY_FUNCTION__,          \
                                                    ##__VA_ARGS__ ) );            \
      }                                                                           \
   } while ( 0 )

// The same with a signature text given explicitly, where the text that people
// know differs from what the compiler prints.
#define VEL_TRACE_AS( signature, level, ... )                                     \
   do {                                                                           \
      if ( ::Vel::traceEnabled( level ) ) [[unlikely]] {                          \
         ::Vel::traceEmit( level, ::Vel::traceText( signature, ##__VA_ARGS__ ) ); \
      }                                                                           \
   } while ( 0 )
