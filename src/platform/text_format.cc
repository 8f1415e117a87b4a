#include "platform/text_format.h"

#include <charconv>
#include <cstdio>
#include <cstring>
#include <span>

namespace platform {

namespace {

// Formats the commonest formats, those with only "%s", "%d" and "%%", without
// the C library's general machinery: the log of one run has thousands of such
// lines. The length of the text in `out`, or -1 for any other format, a null
// string or a text longer than `out`, which vsnprintf then formats.
int FormatSimple(const char* format, std::va_list args, std::span<char> out) {
  size_t size = 0;
  auto put = [&](const char* text, size_t length) {
    if (length > out.size() - size) return false;
    std::memcpy(out.data() + size, text, length);
    size += length;
    return true;
  };
  for (const char* at = format;;) {
    const char* percent = std::strchr(at, '%');
    if (percent == nullptr) return put(at, std::strlen(at)) ? static_cast<int>(size) : -1;
    if (!put(at, static_cast<size_t>(percent - at))) return -1;
    bool fits = true;
    switch (percent[1]) {
      case 's': {
        const char* value = va_arg(args, const char*);
        if (value == nullptr) return -1;
        fits = put(value, std::strlen(value));
        break;
      }
      case 'd': {
        char digits[16];
        const auto done = std::to_chars(digits, digits + sizeof digits, va_arg(args, int));
        fits = put(digits, static_cast<size_t>(done.ptr - digits));
        break;
      }
      case '%':
        fits = put("%", 1);
        break;
      default:
        return -1;
    }
    if (!fits) return -1;
    at = percent + 2;
  }
}

}  // namespace

void vformat_to(std::string* text, const char* format, std::va_list args) {
  // Most texts are one line: formatted once into the stack, and only a longer
  // one a second time at its length.
  char line[512];
  std::va_list simple;
  va_copy(simple, args);
  int length = FormatSimple(format, simple, line);
  va_end(simple);
  std::va_list again;
  va_copy(again, args);
  if (length < 0) length = std::vsnprintf(line, sizeof line, format, args);
  if (length > 0 && static_cast<size_t>(length) < sizeof line) {
    text->assign(line, static_cast<size_t>(length));
  } else if (length > 0) {
    text->resize(static_cast<size_t>(length));
    std::vsnprintf(text->data(), text->size() + 1, format, again);
  } else {
    text->clear();
  }
  va_end(again);
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
