#pragma once

// True in the AddressSanitizer build, where the randomized tests run fewer
// operations. g++ names the sanitizer with a macro, clang with a feature.
#if defined( __SANITIZE_ADDRESS__ )
inline constexpr bool underSanitizer = true;
#elif defined( __has_feature )
#if __has_feature( address_sanitizer )
inline constexpr bool underSanitizer = true;
#else
inline constexpr bool underSanitizer = false;
#endif
#else
inline constexpr bool underSanitizer = false;
#endif
