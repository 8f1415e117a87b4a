// Text files and console output carry CR LF line ends on Windows; tests compare
// them with LF.
#pragma once

#include <string>

namespace sqxa_test {

inline std::string WithLf(std::string text) {
  for (size_t at = 0; (at = text.find("\r\n", at)) != std::string::npos;) text.erase(at, 1);
  return text;
}

}  // namespace sqxa_test
