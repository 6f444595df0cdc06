#include "tools/tunnelsim/JsonValue.h"

#include "tools/tunnelsim/ScenarioError.h"

namespace TunnelSim {

namespace {

constexpr std::size_t longestShown = 60;

// Cut before a character, not inside one: the text is UTF-8.
std::string shortened( std::string text ) {
   if ( text.size() > longestShown ) {
      std::size_t cut = longestShown;
      while ( cut > 0 && ( static_cast< unsigned char >( text[ cut ] ) & 0xC0 ) == 0x80 ) {
         --cut;
      }
      text = text.substr( 0, cut ) + "...";
   }
   return text;
}

std::string describe( const Json & json ) {
   switch ( json.type() ) {
   case Json::value_t::object:
      return "an object";
   case Json::value_t::array:
      return json.empty() ? "an empty list" : "a list of " + std::to_string( json.size() );
   case Json::value_t::null:
      return "null";
   default:
      break;
   }
   return shortened( json.dump() );
}

bool plainWord( std::string_view key ) {
   if ( key.empty() || ( key[ 0 ] >= '0' && key[ 0 ] <= '9' ) ) {
      return false;
   }
   for ( char c : key ) {
      bool ok = ( c >= 'a' && c <= 'z' ) || ( c >= 'A' && c <= 'Z' ) || ( c >= '0' && c <= '9' ) ||
                c == '_' || c == '-';
      if ( !ok ) {
         return false;
      }
   }
   return true;
}

} // namespace

std::string quotedName( std::string_view text ) {
   return shortened(
      Json( std::string( text ) ).dump( -1, ' ', false, Json::error_handler_t::replace ) );
}

std::string memberPath( const std::string & path, std::string_view key ) {
   if ( key.size() <= longestShown && plainWord( key ) ) {
      return path + "." + std::string( key );
   }
   return path + "[" + quotedName( key ) + "]";
}

void JsonValue::fail( std::string_view expected, std::string_view note ) const {
   throw ScenarioError( path_, "expected " + std::string( expected ) + ", got " +
                                  describe( *json_ ) +
                                  ( note.empty() ? "" : ", " + std::string( note ) ) );
}

std::string JsonValue::string( std::string_view what ) const {
   if ( !json_->is_string() ) {
      fail( what );
   }
   return json_->get< std::string >();
}

bool JsonValue::boolean() const {
   if ( !json_->is_boolean() ) {
      fail( "true or false" );
   }
   return json_->get< bool >();
}

std::uint64_t JsonValue::unsignedNumber( std::uint64_t max ) const {
   std::string expected = "an integer from 0 to " + std::to_string( max );
   if ( json_->is_number_unsigned() ) {
      auto value = json_->get< std::uint64_t >();
      if ( value <= max ) {
         return value;
      }
   } else if ( json_->is_number_integer() ) {
      auto value = json_->get< std::int64_t >();
      if ( value >= 0 && static_cast< std::uint64_t >( value ) <= max ) {
         return static_cast< std::uint64_t >( value );
      }
   }
   fail( expected );
}

double JsonValue::seconds() const {
   if ( json_->is_number() ) {
      double value = json_->get< double >();
      if ( value >= 0 && value <= maxSeconds ) {
         return value;
      }
   }
   fail( "a number of seconds from 0 to 1000000000" );
}

std::vector< JsonValue > JsonValue::elements( std::string_view what ) const {
   if ( !json_->is_array() ) {
      fail( what );
   }
   std::vector< JsonValue > result;
   result.reserve( json_->size() );
   for ( std::size_t i = 0; i < json_->size(); ++i ) {
      result.push_back( element( i ) );
   }
   return result;
}

std::vector< std::pair< std::string, JsonValue > >
JsonValue::members( std::string_view what ) const {
   if ( !json_->is_object() ) {
      fail( what );
   }
   std::vector< std::pair< std::string, JsonValue > > result;
   for ( const auto & [ key, value ] : json_->items() ) {
      result.emplace_back( key, JsonValue( value, memberPath( path_, key ) ) );
   }
   return result;
}

JsonObject JsonValue::object( std::string_view what,
                              std::initializer_list< std::string_view > known ) const {
   if ( !json_->is_object() ) {
      fail( what );
   }
   return JsonObject( *this, known );
}

JsonValue JsonValue::member( const std::string & key ) const {
   return JsonValue( json_->at( key ), memberPath( path_, key ) );
}

JsonValue JsonValue::element( std::size_t index ) const {
   return JsonValue( json_->at( index ), path_ + "[" + std::to_string( index ) + "]" );
}

JsonObject::JsonObject( const JsonValue & value, std::initializer_list< std::string_view > known )
      : value_( value ) {
   for ( const auto & [ key, member ] : value.json().items() ) {
      bool isKnown = false;
      for ( std::string_view name : known ) {
         isKnown = isKnown || name == key;
      }
      if ( !isKnown ) {
         std::string expected;
         for ( std::string_view name : known ) {
            expected += ( expected.empty() ? "" : ", " ) + std::string( name );
         }
         throw ScenarioError( memberPath( value.path(), key ),
                              known.size() == 0
                                 ? std::string( "unknown field; this object takes no fields" )
                                 : "unknown field; expected one of: " + expected );
      }
   }
}

bool JsonObject::has( std::string_view name ) const {
   return value_.json().contains( std::string( name ) );
}

std::optional< JsonValue > JsonObject::get( std::string_view name ) const {
   if ( !has( name ) ) {
      return std::nullopt;
   }
   return value_.member( std::string( name ) );
}

JsonValue JsonObject::required( std::string_view name ) const {
   if ( !has( name ) ) {
      throw ScenarioError( value_.path(),
                           "expected a field \"" + std::string( name ) + "\", which is missing" );
   }
   return value_.member( std::string( name ) );
}

std::uint64_t JsonObject::unsignedOr( std::string_view name, std::uint64_t max,
                                      std::uint64_t fallback ) const {
   auto field = get( name );
   return field ? field->unsignedNumber( max ) : fallback;
}

bool JsonObject::booleanOr( std::string_view name, bool fallback ) const {
   auto field = get( name );
   return field ? field->boolean() : fallback;
}

} // namespace TunnelSim
