#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

namespace TunnelSim {

// Scenario JSON keeps the order of object members as written, so tables,
// RIBs and entries are applied in the order a person reads them.
using Json = nlohmann::ordered_json;

class JsonObject;

// A value of the scenario together with its JSON path ("$.script[2].set"),
// so that every refusal can say where it is. The readers refuse anything but
// what they expect by throwing ScenarioError.
class JsonValue {
 public:
   JsonValue( const Json & json, std::string path ) : json_( &json ), path_( std::move( path ) ) {}

   const Json & json() const noexcept { return *json_; }
   const std::string & path() const noexcept { return path_; }

   // "expected <what>, got <the value>", and ", <note>" when there is one.
   [[noreturn]] void fail( std::string_view expected, std::string_view note = {} ) const;

   bool isString() const noexcept { return json_->is_string(); }
   bool isObject() const noexcept { return json_->is_object(); }
   bool isArray() const noexcept { return json_->is_array(); }

   std::string string( std::string_view what = "a string" ) const;
   bool boolean() const;
   // An integer from 0 to max.
   std::uint64_t unsignedNumber( std::uint64_t max ) const;
   // A number of seconds from 0 to maxSeconds (some thirty years, so that
   // the agent's time stays finite).
   static constexpr double maxSeconds = 1e9;
   double seconds() const;

   std::vector< JsonValue > elements( std::string_view what ) const;
   // The members of an object whose keys are names chosen by the author.
   std::vector< std::pair< std::string, JsonValue > > members( std::string_view what ) const;
   // An object whose keys must be among `known`.
   JsonObject object( std::string_view what,
                      std::initializer_list< std::string_view > known ) const;

   JsonValue member( const std::string & key ) const;
   JsonValue element( std::size_t index ) const;

 private:
   const Json * json_;
   std::string path_;
};

// The fields of an object that has been checked for unknown keys.
class JsonObject {
 public:
   JsonObject( const JsonValue & value, std::initializer_list< std::string_view > known );

   const JsonValue & value() const noexcept { return value_; }
   bool has( std::string_view name ) const;
   std::optional< JsonValue > get( std::string_view name ) const;
   // Refused, at the object's path, when the field is missing.
   JsonValue required( std::string_view name ) const;

   std::uint64_t unsignedOr( std::string_view name, std::uint64_t max,
                             std::uint64_t fallback ) const;
   bool booleanOr( std::string_view name, bool fallback ) const;

 private:
   JsonValue value_;
};

// A name as a message shows it: in quotes, escaped as in JSON, and cut after
// some sixty characters.
std::string quotedName( std::string_view text );
// The path of a member: ".name", or ["name"] when the name is not a short
// plain word (a long one is cut as quotedName cuts it).
std::string memberPath( const std::string & path, std::string_view key );

} // namespace TunnelSim
