#pragma once

namespace Vel {

// True in the AddressSanitizer build. g++ names the sanitizer with a macro,
// clang with a feature.
#if defined( __SANITIZE_ADDRESS__ )
inline constexpr bool addressSanitizerBuild = true;
#elif defined( __has_feature )
#if __has_feature( address_sanitizer )
inline constexpr bool addressSanitizerBuild = true;
#else
inline constexpr bool addressSanitizerBuild = false;
#endif
#else
inline constexpr bool addressSanitizerBuild = false;
#endif

} // namespace Vel
