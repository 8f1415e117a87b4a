// Reading value lines. Every line of a file is checked when it is indexed, and
// the lines of a key parsed again when its values are asked for, so the common
// cases (names, runs of "xx,") take the short ways.
#include <algorithm>
#include <array>
#include <cstdint>

#include "platform/reg_file_encoding.h"
#include "platform/reg_key_path.h"
#include "platform/reg_value_line.h"

namespace platform::reg {
namespace {

// 0 to 15 for a hex digit, 0xFF for any other byte.
constexpr auto kHexDigits = [] {
  std::array<uint8_t, 256> digits{};
  for (int c = 0; c < 256; ++c) {
    digits[c] = c >= '0' && c <= '9'   ? static_cast<uint8_t>(c - '0')
                : c >= 'a' && c <= 'f' ? static_cast<uint8_t>(c - 'a' + 10)
                : c >= 'A' && c <= 'F' ? static_cast<uint8_t>(c - 'A' + 10)
                                       : 0xFF;
  }
  return digits;
}();

int HexValue(char c) {
  const uint8_t digit = kHexDigits[static_cast<unsigned char>(c)];
  return digit == 0xFF ? -1 : digit;
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && RegNamesEqual(text.substr(0, prefix.size()), prefix);
}

// Only checking: the closing quote is the first one after an even run of
// backslashes, since each \\ pair and each \" is read as one character.
bool SkipQuoted(std::string_view* rest) {
  const char* text = rest->data();
  const size_t size = rest->size();
  for (size_t at = 0;; ++at) {
    if (size - at > 16) {  // text: a library search pays off
      const void* quote = std::memchr(text + at, '"', size - at);
      at = quote != nullptr ? static_cast<size_t>(static_cast<const char*>(quote) - text) : size;
    } else {  // names: a loop is cheaper than the call
      while (at < size && text[at] != '"') ++at;
    }
    if (at == size) return false;
    size_t backslashes = 0;
    while (backslashes < at && text[at - 1 - backslashes] == '\\') ++backslashes;
    if (backslashes % 2 == 0) {
      rest->remove_prefix(at + 1);
      return true;
    }
  }
}

// The text up to the closing quote found as SkipQuoted finds it, with each
// \\ and \" taken as one character; most texts have no backslash at all.
bool CopyQuoted(std::string_view* rest, std::string* out) {
  const std::string_view all = *rest;
  if (!SkipQuoted(rest)) return false;
  const std::string_view quoted = all.substr(0, all.size() - rest->size() - 1);
  if (quoted.find('\\') == std::string_view::npos) {
    out->append(quoted);
    return true;
  }
  out->reserve(out->size() + quoted.size());
  for (size_t i = 0; i < quoted.size();) {
    const size_t slash = std::min(quoted.find('\\', i), quoted.size());
    out->append(quoted.substr(i, slash - i));
    if (slash == quoted.size()) break;
    const bool pair =
        slash + 1 < quoted.size() && (quoted[slash + 1] == '\\' || quoted[slash + 1] == '"');
    out->push_back(pair ? quoted[slash + 1] : '\\');
    i = slash + (pair ? 2 : 1);
  }
  return true;
}

// Reads a quoted text whose opening quote is already taken off `*rest`, leaving
// `*rest` after the closing quote. \\ and \" stand for \ and "; any other
// backslash is kept. False when the closing quote is missing.
bool ReadQuoted(std::string_view* rest, std::string* out) {
  return out == nullptr ? SkipQuoted(rest) : CopyQuoted(rest, out);
}

// Reads the hex bytes of one line of a list into `bytes` (unless null), and
// sets `*continued` when the line ends in the continuation backslash. Answers
// null or what is wrong.
const char* ReadHexLine(std::string_view rest, std::string* bytes, bool* continued) {
  const size_t size = rest.size();
  size_t i = 0;
  for (;;) {
    // Most of a large file is runs of "xx," that need no other care.
    while (i + 3 <= size && rest[i + 2] == ',' && HexValue(rest[i]) >= 0 &&
           HexValue(rest[i + 1]) >= 0) {
      if (bytes != nullptr)
        bytes->push_back(static_cast<char>(HexValue(rest[i]) * 16 + HexValue(rest[i + 1])));
      i += 3;
    }
    while (i < size && IsBlank(rest[i])) ++i;
    if (i == size || rest[i] == ';') return nullptr;
    if (rest[i] == '\\') {
      if (!TrimLeft(rest.substr(i + 1)).empty()) return "text after the continuation backslash";
      *continued = true;
      return nullptr;
    }
    int value = HexValue(rest[i++]);
    if (value < 0) return "bad hex digit";
    if (i < size && HexValue(rest[i]) >= 0) value = value * 16 + HexValue(rest[i++]);
    if (i < size && HexValue(rest[i]) >= 0) return "hex byte with more than two digits";
    if (bytes != nullptr) bytes->push_back(static_cast<char>(value));
    while (i < size && IsBlank(rest[i])) ++i;
    if (i < size && rest[i] == ',') {
      ++i;
    } else if (i < size && rest[i] != ';' && rest[i] != '\\') {
      return "bad hex digit";
    }
  }
}

// Reads a comma-separated hex byte list, following a final backslash onto the
// next line of `cursor`. Answers null or what is wrong (at cursor->line()).
const char* ReadHexList(std::string_view rest, LineCursor* cursor, std::string* bytes) {
  for (;;) {
    bool continued = false;
    if (const char* message = ReadHexLine(rest, bytes, &continued)) return message;
    if (!continued) return nullptr;
    if (cursor->AtEnd()) return "value continues past the end of the file";
    rest = cursor->Next();
    if (rest.empty() || !IsBlank(rest[0])) return "continuation line does not start with a blank";
  }
}

// The data "text", after its opening quote.
const char* ParseText(std::string_view rest, RegValue* value) {
  if (!ReadQuoted(&rest, value != nullptr ? &value->data : nullptr)) {
    return "unterminated quoted text";
  }
  if (!AtLineEnd(rest)) return "text after the closing quote";
  if (value != nullptr) value->type = kRegSz;
  return nullptr;
}

// The data dword:, after the "dword:".
const char* ParseDword(std::string_view rest, RegValue* value) {
  size_t digits = 0;
  uint32_t number = 0;
  while (digits < rest.size() && digits <= 8 && HexValue(rest[digits]) >= 0) {
    number = number * 16 + static_cast<uint32_t>(HexValue(rest[digits++]));
  }
  if (digits == 0 || digits > 8) return "dword: needs 1 to 8 hex digits";
  if (!AtLineEnd(rest.substr(digits))) return "bad hex digit";
  if (value != nullptr) {
    value->type = kRegDword;
    value->data = std::to_string(number);
  }
  return nullptr;
}

// Takes the "(N)" of hex(N) off `*rest` into `*type`; REG_BINARY without one.
const char* ParseHexType(std::string_view* rest, uint32_t* type) {
  *type = kRegBinary;
  if (rest->empty() || (*rest)[0] != '(') return nullptr;
  const size_t close = rest->substr(0, 10).find(')');
  if (close == std::string_view::npos || close == 1) return "bad type in hex(...)";
  *type = 0;
  for (size_t i = 1; i < close; ++i) {
    const int digit = HexValue((*rest)[i]);
    if (digit < 0) return "bad type in hex(...)";
    *type = *type * 16 + static_cast<uint32_t>(digit);
  }
  rest->remove_prefix(close + 1);
  return nullptr;
}

// The data hex: or hex(N): with its byte list, after the "hex".
const char* ParseHex(std::string_view rest, LineCursor* cursor, bool utf16_data, RegValue* value) {
  uint32_t type = kRegBinary;
  if (const char* message = ParseHexType(&rest, &type)) return message;
  if (rest.empty() || rest[0] != ':') return "expected ':' after hex";
  std::string bytes;
  if (const char* error =
          ReadHexList(rest.substr(1), cursor, value != nullptr ? &bytes : nullptr)) {
    return error;
  }
  if (value != nullptr) {
    value->type = type;
    value->data = DecodeHexData(type, bytes, utf16_data);
  }
  return nullptr;
}

}  // namespace

const char* ParseValueLine(std::string_view line, LineCursor* cursor, bool utf16_data,
                           ValueLine* out) {
  RegValue* value = out != nullptr ? &out->value : nullptr;
  std::string_view rest = line.substr(1);
  if (line[0] == '"' && !ReadQuoted(&rest, value != nullptr ? &value->name : nullptr)) {
    return "unterminated quoted name";
  }
  rest = TrimLeft(rest);
  if (rest.empty() || rest[0] != '=') return "expected '=' after the value name";
  rest = TrimLeft(rest.substr(1));
  if (rest.empty()) return "missing value data";

  if (rest[0] == '"') return ParseText(rest.substr(1), value);
  if (rest[0] == '-') {
    if (!AtLineEnd(rest.substr(1))) return "text after '-'";
    if (out != nullptr) out->remove = true;
    return nullptr;
  }
  if ((rest[0] == 'd' || rest[0] == 'D') && StartsWithNoCase(rest, "dword:")) {
    return ParseDword(rest.substr(6), value);
  }
  if ((rest[0] == 'h' || rest[0] == 'H') && StartsWithNoCase(rest, "hex")) {
    return ParseHex(rest.substr(3), cursor, utf16_data, value);
  }
  return "unrecognized value data";
}

}  // namespace platform::reg
