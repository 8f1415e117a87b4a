// Text files and console output carry CR LF line ends on Windows; tests compare
// them with LF.
#pragma once

#include <string>

namespace sqxa_test {

inline std::string WithLf(std::string text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') continue;
    out += text[i];
  }
  return out;
}

}  // namespace sqxa_test
