#include "tools/tunnelsim/AlignedRows.h"

#include <algorithm>

namespace TunnelSim {

std::string alignedRows( const std::vector< Row > & rows, const std::string & indent ) {
   std::vector< std::size_t > widths( rows[ 0 ].size(), 0 );
   for ( const Row & row : rows ) {
      for ( std::size_t i = 0; i < row.size(); ++i ) {
         widths[ i ] = std::max( widths[ i ], row[ i ].size() );
      }
   }
   std::string out;
   for ( const Row & row : rows ) {
      out += indent;
      for ( std::size_t i = 0; i < row.size(); ++i ) {
         out += row[ i ];
         if ( i + 1 < row.size() ) {
            out += std::string( widths[ i ] - row[ i ].size() + 2, ' ' );
         }
      }
      // An empty last cell leaves no trailing blanks.
      out.erase( out.find_last_not_of( ' ' ) + 1 );
      out += "\n";
   }
   return out;
}

} // namespace TunnelSim
