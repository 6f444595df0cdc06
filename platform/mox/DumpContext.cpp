#include "platform/mox/DumpContext.h"

#include <cstdarg>
#include <cstdio>

namespace Mox {

void DumpContext::printf( const char * format, ... ) {
   va_list args;
   va_start( args, format );
   va_list copy;
   va_copy( copy, args );
   int length = std::vsnprintf( nullptr, 0, format, copy );
   va_end( copy );
   if ( length > 0 ) {
      std::string::size_type start = text_.size();
      text_.resize( start + static_cast< std::size_t >( length ) + 1 );
      std::vsnprintf( text_.data() + start, static_cast< std::size_t >( length ) + 1, format,
                      args );
      text_.resize( start + static_cast< std::size_t >( length ) );
   }
   va_end( args );
}

} // namespace Mox
