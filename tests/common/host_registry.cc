#include "common/host_registry.h"

namespace sqxa_test {

std::string RegEscape(const std::string& text) {
  std::string escaped;
  for (char c : text) {
    if (c == '\\' || c == '"') escaped += '\\';
    escaped += c;
  }
  return escaped;
}

}  // namespace sqxa_test
