#pragma once

#include <stdexcept>
#include <string>

namespace TunnelSim {

// A scenario that cannot be run as written: where in the JSON (a path such as
// "$.tables.ldp.entries[0].pref") and what was expected there.
class ScenarioError : public std::runtime_error {
 public:
   ScenarioError( std::string path, std::string problem )
         : std::runtime_error( path + ": " + problem ), path_( std::move( path ) ),
           problem_( std::move( problem ) ) {}

   const std::string & path() const noexcept { return path_; }
   const std::string & problem() const noexcept { return problem_; }

 private:
   std::string path_;
   std::string problem_;
};

} // namespace TunnelSim
