#pragma once

#include "platform/vel/Sanitizer.h"

// True in the AddressSanitizer build, where the randomized tests run fewer
// operations.
inline constexpr bool underSanitizer = Vel::addressSanitizerBuild;
