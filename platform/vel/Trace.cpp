#include "platform/vel/Trace.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace Vel {

namespace detail {

namespace {
int initialTraceLevel() {
   const char * env = std::getenv( "TUNNEL_TRACE" );
   return env && *env ? std::atoi( env ) : -1;
}
} // namespace

int traceLevel = initialTraceLevel();

} // namespace detail

namespace {

void stderrSink( int, const std::string & line ) {
   std::fprintf( stderr, "%s\n", line.c_str() );
}

TraceSink & currentSink() {
   static TraceSink sink = stderrSink;
   return sink;
}

} // namespace

void traceLevelIs( int level ) noexcept { detail::traceLevel = level; }
int traceLevel() noexcept { return detail::traceLevel; }

TraceSink traceSinkIs( TraceSink sink ) {
   return std::exchange( currentSink(), std::move( sink ) );
}

void traceEmit( int level, const std::string & line ) { currentSink()( level, line ); }

FastTraceRing & FastTraceRing::instance() {
   static FastTraceRing ring;
   return ring;
}

void FastTraceRing::add( std::string line ) {
   if ( lines_.size() == capacity ) {
      lines_.pop_front();
   }
   lines_.push_back( std::move( line ) );
}

void fastTrace( const char * format, ... ) {
   char buffer[ 512 ];
   va_list args;
   va_start( args, format );
   std::vsnprintf( buffer, sizeof buffer, format, args );
   va_end( args );
   FastTraceRing::instance().add( buffer );
}

TestTraceSink::TestTraceSink( int level ) : previousLevel_( traceLevel() ) {
   previousSink_ = traceSinkIs(
      [ this ]( int, const std::string & line ) { lines_.push_back( line ); } );
   traceLevelIs( level );
}

TestTraceSink::~TestTraceSink() {
   traceSinkIs( std::move( previousSink_ ) );
   traceLevelIs( previousLevel_ );
}

bool TestTraceSink::contains( const std::string & fragment ) const {
   for ( const auto & line : lines_ ) {
      if ( line.find( fragment ) != std::string::npos ) {
         return true;
      }
   }
   return false;
}

} // namespace Vel
