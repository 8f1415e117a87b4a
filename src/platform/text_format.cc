#include "platform/text_format.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace platform {

namespace {

// Formats the commonest formats, those with only "%s", "%d" and "%%", without
// the C library's general machinery: the log of one run has thousands of such
// lines. False, with `text` in any state, for any other format or a null
// string, which vsnprintf then formats.
bool FormatSimple(const char* format, std::va_list args, std::string* text) {
  for (const char* at = format; *at != '\0';) {
    const char* percent = std::strchr(at, '%');
    if (percent == nullptr) {
      text->append(at);
      return true;
    }
    text->append(at, static_cast<size_t>(percent - at));
    switch (percent[1]) {
      case 's': {
        const char* value = va_arg(args, const char*);
        if (value == nullptr) return false;
        text->append(value);
        break;
      }
      case 'd': {
        char digits[16];
        const auto done = std::to_chars(digits, digits + sizeof digits, va_arg(args, int));
        text->append(digits, done.ptr);
        break;
      }
      case '%':
        text->push_back('%');
        break;
      default:
        return false;
    }
    at = percent + 2;
  }
  return true;
}

}  // namespace

std::string vformat(const char* format, std::va_list args) {
  std::string text;
  text.reserve(128);
  std::va_list simple;
  va_copy(simple, args);
  const bool done = FormatSimple(format, simple, &text);
  va_end(simple);
  if (done) return text;

  // Most other texts are one line: formatted once into the stack, and only a
  // longer one a second time at its length.
  text.clear();
  char line[512];
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(line, sizeof line, format, args);
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
