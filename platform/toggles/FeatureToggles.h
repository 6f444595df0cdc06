#pragma once

#include <map>
#include <string>

namespace Toggles {

// Named feature switches, read once per process from the toggle file
// "Tunnel.json" in the directory that TUNNEL_TOGGLE_DIR names (else the
// working directory), then cached. The file is a flat JSON object of booleans:
// { "TunnelUnflatten": true, "MplsL3VpnSso": false }. A missing file or name
// means off.
class FeatureToggles {
 public:
   static FeatureToggles & instance();

   bool enabled( const std::string & name );
   // Sets a toggle before (or instead of) the file's value; tests and the
   // scenario runner use it.
   void toggleIs( const std::string & name, bool on );
   // Forgets the cache so the next read consults the file again.
   void reset();

   // Parses the file's text; returns false (and leaves `out` untouched) when
   // it is not a flat object of booleans.
   static bool parse( const std::string & text, std::map< std::string, bool > & out );

 private:
   void load();

   bool loaded_ = false;
   std::map< std::string, bool > values_;
};

inline bool toggleEnabled( const std::string & name ) {
   return FeatureToggles::instance().enabled( name );
}

} // namespace Toggles
