#include "platform/text_format.h"

#include <charconv>
#include <cstdio>
#include <cstring>

namespace platform {

namespace {

// Appends the commonest formats, those with only "%s", "%d" and "%%", without
// the C library's general machinery: the log of one run has thousands of such
// lines. False, with part of the text appended, for any other format or a null
// string, which vsnprintf then formats.
bool AppendSimple(const char* format, std::va_list args, std::string* out) {
  for (const char* at = format;;) {
    const char* percent = std::strchr(at, '%');
    if (percent == nullptr) {
      out->append(at);
      return true;
    }
    out->append(at, static_cast<size_t>(percent - at));
    switch (percent[1]) {
      case 's': {
        const char* value = va_arg(args, const char*);
        if (value == nullptr) return false;
        out->append(value);
        break;
      }
      case 'd': {
        char digits[16];
        const auto done = std::to_chars(digits, digits + sizeof digits, va_arg(args, int));
        out->append(digits, static_cast<size_t>(done.ptr - digits));
        break;
      }
      case '%':
        out->push_back('%');
        break;
      default:
        return false;
    }
    at = percent + 2;
  }
}

}  // namespace

void vformat_append(std::string* text, const char* format, std::va_list args) {
  const size_t start = text->size();
  std::va_list simple;
  va_copy(simple, args);
  const bool done = AppendSimple(format, simple, text);
  va_end(simple);
  if (done) return;
  text->resize(start);
  // Most texts are one line: formatted once into the stack, and only a longer
  // one a second time at its length.
  char line[512];
  std::va_list again;
  va_copy(again, args);
  const int length = std::vsnprintf(line, sizeof line, format, args);
  if (length > 0 && static_cast<size_t>(length) < sizeof line) {
    text->append(line, static_cast<size_t>(length));
  } else if (length > 0) {
    text->resize(start + static_cast<size_t>(length));
    std::vsnprintf(text->data() + start, static_cast<size_t>(length) + 1, format, again);
  }
  va_end(again);
}

void vformat_to(std::string* text, const char* format, std::va_list args) {
  text->clear();
  vformat_append(text, format, args);
}

std::string vformat(const char* format, std::va_list args) {
  std::string text;
  text.reserve(128);
  vformat_to(&text, format, args);
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
