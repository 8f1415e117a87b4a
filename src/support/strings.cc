#include "support/strings.h"

#include <cctype>
#include <cerrno>
#include <charconv>
#include <climits>
#include <cstring>
#include <string>

char* str_upper(char* text) {
  if (text == nullptr) return nullptr;
  // ASCII's capitals, as the "C" locale the program keeps gives them.
  for (char* p = text; *p != '\0'; ++p) {
    if (*p >= 'a' && *p <= 'z') *p = static_cast<char>(*p - 'a' + 'A');
  }
  return text;
}

int str_icmp(const char* a, const char* b) {
  if (a == nullptr && b == nullptr) return 0;
  if (a == nullptr || b == nullptr) return 1;
  // The program keeps the "C" locale, whose lower case is ASCII's; folding
  // inline spares a library call per character of the scan's many compares.
  const auto fold = [](char c) {
    const int code = static_cast<unsigned char>(c);
    return code >= 'A' && code <= 'Z' ? code + ('a' - 'A') : code;
  };
  for (;; ++a, ++b) {
    const int x = fold(*a);
    const int y = fold(*b);
    if (x != y || x == 0) return x - y;
  }
}

char* str_trim(char* text, char where, const char* set) {
  if (text == nullptr || *text == '\0') return text;
  const std::string chars =
      set == nullptr || *set == '\0' ? std::string(" ") : std::string(set).substr(0, 19);
  const auto in_set = [&chars](char c) { return chars.find(c) != std::string::npos; };
  const char letter =
      where == '\0' ? 'T' : static_cast<char>(std::toupper(static_cast<unsigned char>(where)));
  if (letter != 'L' && letter != 'T' && letter != 'B') return text;

  char* first = text;
  if (letter == 'L' || letter == 'B') {
    while (*first != '\0' && in_set(*first)) ++first;
  }
  if (letter == 'T' || letter == 'B') {
    char* end = first + std::strlen(first);
    while (end > first && in_set(end[-1])) --end;
    *end = '\0';
  }
  return first;
}

void path_split(const char* path, char* dir, char* dirWithSeparator, char* name, char* extension,
                char* baseName) {
  if (path == nullptr || *path == '\0') return;
  char work[1024];
  std::strncpy(work, path, 1022);
  work[1022] = '\0';
  const std::string text = str_trim(work, 'B', " '\"\t\n");

  const size_t separator = text.find_last_of("\\/");
  const std::string directory = separator == std::string::npos ? "" : text.substr(0, separator);
  const std::string base = separator == std::string::npos ? text : text.substr(separator + 1);
  const size_t dot = base.rfind('.');
  const auto put = [](char* out, const std::string& value) {
    if (out != nullptr) std::memcpy(out, value.c_str(), value.size() + 1);
  };
  put(dir, directory);
  put(dirWithSeparator, separator == std::string::npos ? "" : text.substr(0, separator + 1));
  put(name, dot == std::string::npos ? base : base.substr(0, dot));
  put(extension, dot == std::string::npos ? "" : base.substr(dot + 1));
  put(baseName, base);
}

namespace support {

int ParseDecimal(std::string_view text, int* value) {
  int parsed = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, parsed);
  if (stop != end || error == std::errc::invalid_argument) return EINVAL;
  if (error == std::errc::result_out_of_range) {
    *value = text.front() == '-' ? INT_MIN : INT_MAX;
    return ERANGE;
  }
  *value = parsed;
  return 0;
}

}  // namespace support
