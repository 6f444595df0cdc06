#include "platform/toggles/FeatureToggles.h"

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace Toggles {

FeatureToggles & FeatureToggles::instance() {
   static FeatureToggles toggles;
   return toggles;
}

bool FeatureToggles::enabled( const std::string & name ) {
   load();
   auto it = values_.find( name );
   return it != values_.end() && it->second;
}

void FeatureToggles::toggleIs( const std::string & name, bool on ) {
   load();
   values_[ name ] = on;
}

void FeatureToggles::reset() {
   loaded_ = false;
   values_.clear();
}

void FeatureToggles::load() {
   if ( loaded_ ) {
      return;
   }
   loaded_ = true;
   const char * dir = std::getenv( "TUNNEL_TOGGLE_DIR" );
   std::string path = std::string( dir && *dir ? dir : "." ) + "/Tunnel.json";
   std::ifstream in( path );
   if ( !in ) {
      return;
   }
   std::stringstream text;
   text << in.rdbuf();
   parse( text.str(), values_ );
}

namespace {

struct Scanner {
   const std::string & s;
   std::size_t i = 0;

   void blanks() {
      while ( i < s.size() && std::isspace( static_cast< unsigned char >( s[ i ] ) ) ) {
         ++i;
      }
   }
   bool take( char c ) {
      blanks();
      if ( i < s.size() && s[ i ] == c ) {
         ++i;
         return true;
      }
      return false;
   }
   bool word( const char * w ) {
      blanks();
      std::string_view rest( s.data() + i, s.size() - i );
      std::string_view want( w );
      if ( rest.substr( 0, want.size() ) == want ) {
         i += want.size();
         return true;
      }
      return false;
   }
   bool string( std::string & out ) {
      if ( !take( '"' ) ) {
         return false;
      }
      while ( i < s.size() && s[ i ] != '"' ) {
         out += s[ i++ ];
      }
      return take( '"' );
   }
};

} // namespace

bool FeatureToggles::parse( const std::string & text, std::map< std::string, bool > & out ) {
   Scanner in{ text };
   std::map< std::string, bool > values;
   if ( !in.take( '{' ) ) {
      return false;
   }
   if ( !in.take( '}' ) ) {
      do {
         std::string name;
         if ( !in.string( name ) || !in.take( ':' ) ) {
            return false;
         }
         if ( in.word( "true" ) ) {
            values[ name ] = true;
         } else if ( in.word( "false" ) ) {
            values[ name ] = false;
         } else {
            return false;
         }
      } while ( in.take( ',' ) );
      if ( !in.take( '}' ) ) {
         return false;
      }
   }
   in.blanks();
   if ( in.i != text.size() ) {
      return false;
   }
   out = std::move( values );
   return true;
}

} // namespace Toggles
