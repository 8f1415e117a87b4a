// printf-style formatting into a string of whatever length the text needs.
#pragma once

#include <cstdarg>
#include <string>

#include "platform/printf_format.h"

namespace platform {

// Formats `format` with `args` (which it consumes).
[[nodiscard]] std::string vformat(const char* format, std::va_list args) SQXA_PRINTF(1, 0);
[[nodiscard]] std::string format(const char* format, ...) SQXA_PRINTF(1, 2);

}  // namespace platform
