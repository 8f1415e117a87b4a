#include "platform/text_format.h"

#include <cstdio>

namespace platform {

std::string vformat(const char* format, std::va_list args) {
  // Most texts are one line: formatted once into the stack, and only a longer
  // one a second time at its length.
  char line[512];
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(line, sizeof line, format, args);
  std::string text;
  if (length > 0 && static_cast<size_t>(length) < sizeof line) {
    text.assign(line, static_cast<size_t>(length));
  } else if (length > 0) {
    text.resize(static_cast<size_t>(length));
    std::vsnprintf(text.data(), text.size() + 1, format, again);
  }
  va_end(again);
  return text;
}

std::string format(const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  std::string text = vformat(format, args);
  va_end(args);
  return text;
}

}  // namespace platform
