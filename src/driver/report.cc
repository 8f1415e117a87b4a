#include "driver/report.h"

#include <cstdarg>
#include <cstdio>
#include <string>

#include "framework/trace.h"
#include "platform/text_format.h"

namespace driver {

void reportError(int line, const char* function, const char* lead, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  const std::string message = platform::vformat(format, args);
  va_end(args);

  std::fprintf(stderr, "%sError line(%d): %s\n", lead, line, message.c_str());
  std::fflush(stderr);
  RAS1_Printf(RAS1_ERROR, function, "%s", message.c_str());
}

}  // namespace driver
