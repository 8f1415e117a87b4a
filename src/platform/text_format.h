// printf-style formatting into a string of whatever length the text needs.
#pragma once

#include <cstdarg>
#include <string>

#include "platform/printf_format.h"

namespace platform {

// Formats `format` with `args` (which it consumes).
[[nodiscard]] std::string vformat(const char* format, std::va_list args) SQXA_PRINTF(1, 0);
// The same into `text`, replacing what it held but keeping its storage: a
// writer of many lines formats them all in one buffer.
void vformat_to(std::string* text, const char* format, std::va_list args) SQXA_PRINTF(2, 0);
// The same after what `text` holds: a log formats its lines straight into the
// block it writes.
void vformat_append(std::string* text, const char* format, std::va_list args) SQXA_PRINTF(2, 0);
[[nodiscard]] std::string format(const char* format, ...) SQXA_PRINTF(1, 2);

}  // namespace platform
