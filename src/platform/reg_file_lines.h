// The lines of the registry file: LF or CRLF ends, blanks, ";" comments.
// Small and called for every line of a file, so kept inline.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace platform::reg {

inline constexpr std::string_view kLineEnd = "\r\n";  // as written

[[nodiscard]] inline bool IsBlank(char c) { return c == ' ' || c == '\t'; }

[[nodiscard]] inline std::string_view TrimLeft(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  return text.substr(i);
}

[[nodiscard]] inline std::string_view TrimRight(std::string_view text) {
  size_t size = text.size();
  while (size > 0 && IsBlank(text[size - 1])) --size;
  return text.substr(0, size);
}

// Only blanks, perhaps followed by a comment, remain on the line.
[[nodiscard]] inline bool AtLineEnd(std::string_view rest) {
  rest = TrimLeft(rest);
  return rest.empty() || rest[0] == ';';
}

// The lines of text[begin, end), numbered from `first_line`.
class LineCursor {
 public:
  LineCursor(std::string_view text, size_t begin, size_t end, uint64_t first_line)
      : text_(text), position_(begin), end_(end), line_(first_line - 1) {}

  [[nodiscard]] bool AtEnd() const { return position_ >= end_; }
  [[nodiscard]] size_t position() const { return position_; }
  // The number of the line Next returned last.
  [[nodiscard]] uint64_t line() const { return line_; }

  // The next line without its LF or CRLF end.
  std::string_view Next() {
    const char* start = text_.data() + position_;
    const size_t rest = end_ - position_;
    const char* feed = static_cast<const char*>(std::memchr(start, '\n', rest));
    size_t size = feed != nullptr ? static_cast<size_t>(feed - start) : rest;
    position_ += feed != nullptr ? size + 1 : size;
    ++line_;
    if (size > 0 && start[size - 1] == '\r') --size;
    return {start, size};
  }

 private:
  std::string_view text_;
  size_t position_;
  size_t end_;
  uint64_t line_;
};

}  // namespace platform::reg
