#include "driver/report.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

#include "framework/trace.h"

namespace driver {

void reportError(int line, const char* function, const char* lead, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(nullptr, 0, format, args);
  va_end(args);
  std::vector<char> message(length > 0 ? static_cast<size_t>(length) + 1 : 1, '\0');
  if (length > 0) std::vsnprintf(message.data(), message.size(), format, again);
  va_end(again);

  std::fprintf(stderr, "%sError line(%d): %s\n", lead, line, message.data());
  std::fflush(stderr);
  RAS1_Printf(RAS1_ERROR, function, "%s", message.data());
}

}  // namespace driver
