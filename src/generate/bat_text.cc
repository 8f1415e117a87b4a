#include "generate/bat_text.h"

namespace generate {

std::string BatText(std::string_view value, bool quoted) {
  std::string out;
  out.reserve(value.size() + value.size() / 8);
  for (const char c : value) {
    switch (c) {
      case '%':
        out += '%';
        break;
      case '"':
        quoted = !quoted;
        break;
      case '^':
      case '&':
      case '|':
      case '<':
      case '>':
      case '(':
      case ')':
        if (!quoted) out += '^';
        break;
      default:
        break;
    }
    out += c;
  }
  return out;
}

}  // namespace generate
