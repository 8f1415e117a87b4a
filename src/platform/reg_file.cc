#include "platform/reg_file.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>
#include <unordered_map>
#include <utility>

namespace platform {
namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";
constexpr std::string_view kRootName = "HKEY_LOCAL_MACHINE";
constexpr std::string_view kRootShortName = "HKLM";
constexpr std::string_view kLineEnd = "\r\n";
// Hex lists are wrapped like the Registry Editor's, so a written file stays readable.
constexpr size_t kHexLineWidth = 76;
// The limits of the Windows registry. They also bound what a file can make a
// writer produce: every key is written with its full path.
constexpr size_t kMaxDepth = 512;
constexpr size_t kMaxNameCharacters = 255;
constexpr size_t kMaxNameBytes = 4 * kMaxNameCharacters;

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

char FoldCase(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

char UpperCase(char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

std::string FoldName(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) c = FoldCase(c);
  return folded;
}

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

std::string_view TrimLeft(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsBlank(text[i])) ++i;
  return text.substr(i);
}

std::string_view TrimRight(std::string_view text) {
  size_t size = text.size();
  while (size > 0 && IsBlank(text[size - 1])) --size;
  return text.substr(0, size);
}

bool StartsWithNoCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && RegNamesEqual(text.substr(0, prefix.size()), prefix);
}

// Only blanks, perhaps followed by a comment, remain on the line.
bool AtLineEnd(std::string_view rest) {
  rest = TrimLeft(rest);
  return rest.empty() || rest[0] == ';';
}

// Takes the next non-empty backslash-separated name off `*path`.
bool NextName(std::string_view* path, std::string_view* name) {
  while (!path->empty()) {
    size_t end = 0;
    if (path->size() > 16) {  // a library search pays off
      const void* found = std::memchr(path->data(), '\\', path->size());
      end = found != nullptr ? static_cast<size_t>(static_cast<const char*>(found) - path->data())
                             : path->size();
    } else {  // a plain loop is cheaper than the call
      while (end < path->size() && (*path)[end] != '\\') ++end;
    }
    *name = path->substr(0, end);
    path->remove_prefix(end == path->size() ? end : end + 1);
    if (!name->empty()) return true;
  }
  return false;
}

// Removes the HKEY_LOCAL_MACHINE root from a key path of the file; false for other roots.
bool StripLocalMachine(std::string_view* path) {
  static constexpr std::string_view kExported = "HKEY_LOCAL_MACHINE\\";  // as exported
  if (path->size() >= kExported.size() &&
      std::memcmp(path->data(), kExported.data(), kExported.size()) == 0) {
    path->remove_prefix(kExported.size());
    return true;
  }
  size_t end = path->find('\\');
  std::string_view root = path->substr(0, end);
  if (!RegNamesEqual(root, kRootName) && !RegNamesEqual(root, kRootShortName)) return false;
  path->remove_prefix(end == std::string_view::npos ? path->size() : end + 1);
  return true;
}

// Null when the name keeps the registry's limit, else what is wrong.
const char* CheckKeyName(std::string_view name) {
  if (name.size() <= kMaxNameCharacters) return nullptr;
  size_t characters = 0;  // UTF-8 lead bytes
  for (char c : name) characters += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
  if (characters > kMaxNameCharacters || name.size() > kMaxNameBytes) {
    return "key name longer than 255 characters";
  }
  return nullptr;
}

// The number of leading bytes that `a` and `b` share, compared a word at a time.
size_t CommonPrefix(std::string_view a, std::string_view b) {
  const size_t limit = std::min(a.size(), b.size());
  size_t common = 0;
  for (uint64_t x, y; common + 8 <= limit; common += 8) {
    std::memcpy(&x, a.data() + common, 8);
    std::memcpy(&y, b.data() + common, 8);
    if (x != y) break;
  }
  while (common < limit && a[common] == b[common]) ++common;
  return common;
}

// Orders names as the registry enumerates them: ASCII letters as capitals.
int CompareNames(std::string_view a, std::string_view b) {
  const size_t size = std::min(a.size(), b.size());
  for (size_t i = 0; i < size; ++i) {
    const auto x = static_cast<unsigned char>(UpperCase(a[i]));
    const auto y = static_cast<unsigned char>(UpperCase(b[i]));
    if (x != y) return x < y ? -1 : 1;
  }
  return a.size() < b.size() ? -1 : (a.size() > b.size() ? 1 : 0);
}

class StringBytes final : public RegFileBytes {
 public:
  explicit StringBytes(std::string bytes) : bytes_(std::move(bytes)) {}
  std::string_view bytes() const override { return bytes_; }

 private:
  const std::string bytes_;
};

// Null when the key path keeps the registry's limits, else what is wrong.
const char* CheckKeyPath(std::string_view path) {
  size_t depth = 0;
  std::string_view name;
  while (NextName(&path, &name)) {
    if (++depth > kMaxDepth) return "key nested deeper than 512 levels";
    if (const char* message = CheckKeyName(name)) return message;
  }
  return nullptr;
}

uint64_t HashName(uint32_t parent, std::string_view name) {
  uint64_t hash = 0xcbf29ce484222325ull ^ (parent * 0x9e3779b97f4a7c15ull);
  for (char c : name) {
    hash ^= static_cast<unsigned char>(FoldCase(c));
    hash *= 0x100000001b3ull;
  }
  return hash ^ (hash >> 29);
}

// --- Text encodings ---

void AppendUtf8(uint32_t code, std::string* out) {
  if (code < 0x80) {
    out->push_back(static_cast<char>(code));
  } else if (code < 0x800) {
    out->push_back(static_cast<char>(0xC0 | (code >> 6)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else if (code < 0x10000) {
    out->push_back(static_cast<char>(0xE0 | (code >> 12)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  } else {
    out->push_back(static_cast<char>(0xF0 | (code >> 18)));
    out->push_back(static_cast<char>(0x80 | ((code >> 12) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | ((code >> 6) & 0x3F)));
    out->push_back(static_cast<char>(0x80 | (code & 0x3F)));
  }
}

// UTF-16LE to UTF-8. An unpaired surrogate becomes U+FFFD; an odd last byte is dropped.
std::string Utf16ToUtf8(std::string_view bytes) {
  std::string out;
  out.reserve(bytes.size() / 2);
  const size_t units = bytes.size() / 2;
  auto unit = [&](size_t i) {
    return static_cast<uint32_t>(static_cast<unsigned char>(bytes[2 * i])) |
           static_cast<uint32_t>(static_cast<unsigned char>(bytes[2 * i + 1])) << 8;
  };
  for (size_t i = 0; i < units; ++i) {
    uint32_t code = unit(i);
    if (code < 0x80) {
      out.push_back(static_cast<char>(code));
      continue;
    }
    if (code >= 0xD800 && code < 0xDC00 && i + 1 < units) {
      uint32_t low = unit(i + 1);
      if (low >= 0xDC00 && low < 0xE000) {
        AppendUtf8(0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00), &out);
        ++i;
        continue;
      }
    }
    if (code >= 0xD800 && code < 0xE000) code = 0xFFFD;
    AppendUtf8(code, &out);
  }
  return out;
}

// The code point at text[*i], advancing *i; an invalid sequence gives U+FFFD for one byte.
uint32_t DecodeUtf8(std::string_view text, size_t* i) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  const uint32_t lead = byte(*i);
  size_t length = 0;
  uint32_t code = 0;
  uint32_t minimum = 0;
  if (lead < 0x80) {
    ++*i;
    return lead;
  } else if (lead >= 0xC2 && lead < 0xE0) {
    length = 2, code = lead & 0x1F, minimum = 0x80;
  } else if (lead >= 0xE0 && lead < 0xF0) {
    length = 3, code = lead & 0x0F, minimum = 0x800;
  } else if (lead >= 0xF0 && lead < 0xF5) {
    length = 4, code = lead & 0x07, minimum = 0x10000;
  }
  if (length == 0 || *i + length > text.size()) {
    ++*i;
    return 0xFFFD;
  }
  for (size_t k = 1; k < length; ++k) {
    if ((byte(*i + k) & 0xC0) != 0x80) {
      ++*i;
      return 0xFFFD;
    }
    code = code << 6 | (byte(*i + k) & 0x3F);
  }
  if (code < minimum || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000)) {
    ++*i;
    return 0xFFFD;
  }
  *i += length;
  return code;
}

// UTF-8 to UTF-16LE; invalid sequences become U+FFFD.
std::string Utf8ToUtf16(std::string_view text) {
  std::string out;
  out.reserve(text.size() * 2);
  auto append_unit = [&](uint32_t unit) {
    out.push_back(static_cast<char>(unit & 0xFF));
    out.push_back(static_cast<char>(unit >> 8));
  };
  for (size_t i = 0; i < text.size();) {
    uint32_t code = DecodeUtf8(text, &i);
    if (code >= 0x10000) {
      code -= 0x10000;
      append_unit(0xD800 + (code >> 10));
      append_unit(0xDC00 + (code & 0x3FF));
    } else {
      append_unit(code);
    }
  }
  return out;
}

// A decimal number of at most `max`; with `canonical`, also without leading zeros.
bool ParseDecimal(std::string_view text, uint64_t max, bool canonical, uint64_t* value) {
  if (text.empty() || (canonical && text.size() > 1 && text[0] == '0')) return false;
  uint64_t result = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    const uint64_t digit = static_cast<uint64_t>(c - '0');
    if (result > (max - digit) / 10) return false;
    result = result * 10 + digit;
  }
  *value = result;
  return true;
}

uint64_t LittleEndian(std::string_view bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i > 0; --i)
    value = value << 8 | static_cast<unsigned char>(bytes[i - 1]);
  return value;
}

std::string LittleEndianBytes(uint64_t value, size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

bool IsTextType(uint32_t type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

// --- Lines and value lines ---

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

struct ValueLine {
  bool remove = false;  // "name"=-
  RegValue value;
};

// Reads a quoted text whose opening quote is already taken off `*rest`, leaving
// `*rest` after the closing quote. \\ and \" stand for \ and "; any other
// backslash is kept. False when the closing quote is missing.
bool ReadQuoted(std::string_view* rest, std::string* out) {
  const char* text = rest->data();
  const size_t size = rest->size();
  if (out == nullptr) {
    // Only checking: the closing quote is the first one after an even run of
    // backslashes, since each \\ pair and each \" is read as one character.
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
  size_t i = 0;
  while (i < size) {
    size_t stop = i;
    while (stop < size && text[stop] != '"' && text[stop] != '\\') ++stop;
    if (out != nullptr) out->append(text + i, stop - i);
    if (stop == size) return false;
    if (text[stop] == '"') {
      rest->remove_prefix(stop + 1);
      return true;
    }
    if (stop + 1 < size && (text[stop + 1] == '\\' || text[stop + 1] == '"')) {
      if (out != nullptr) out->push_back(text[stop + 1]);
      i = stop + 2;
    } else {
      if (out != nullptr) out->push_back('\\');
      i = stop + 1;
    }
  }
  return false;
}

// Reads a comma-separated hex byte list, following a final backslash onto the
// next line of `cursor`. Answers null or what is wrong (at cursor->line()).
const char* ReadHexList(std::string_view rest, LineCursor* cursor, std::string* bytes) {
  for (;;) {
    const size_t size = rest.size();
    size_t i = 0;
    bool continued = false;
    for (;;) {
      // Most of a large file is runs of "xx," that need no other care.
      while (i + 3 <= size && rest[i + 2] == ',' && HexValue(rest[i]) >= 0 &&
             HexValue(rest[i + 1]) >= 0) {
        if (bytes != nullptr)
          bytes->push_back(static_cast<char>(HexValue(rest[i]) * 16 + HexValue(rest[i + 1])));
        i += 3;
      }
      while (i < size && IsBlank(rest[i])) ++i;
      if (i == size || rest[i] == ';') break;
      if (rest[i] == '\\') {
        if (!TrimLeft(rest.substr(i + 1)).empty()) return "text after the continuation backslash";
        continued = true;
        break;
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
    if (!continued) return nullptr;
    if (cursor->AtEnd()) return "value continues past the end of the file";
    rest = cursor->Next();
    if (rest.empty() || !IsBlank(rest[0])) return "continuation line does not start with a blank";
  }
}

// The text form of hex(N) data read from the file.
std::string DecodeHexData(uint32_t type, const std::string& bytes, bool utf16_data) {
  return RegTextFromStored(type, IsTextType(type) && utf16_data ? Utf16ToUtf8(bytes) : bytes);
}

// Parses a value line starting at its '"' or '@', taking continuation lines from
// `cursor`. With `out` null only the syntax is checked. Answers null or what is
// wrong (at cursor->line()).
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

  if (rest[0] == '"') {
    rest.remove_prefix(1);
    if (!ReadQuoted(&rest, value != nullptr ? &value->data : nullptr)) {
      return "unterminated quoted text";
    }
    if (!AtLineEnd(rest)) return "text after the closing quote";
    if (value != nullptr) value->type = kRegSz;
    return nullptr;
  }
  if (rest[0] == '-') {
    if (!AtLineEnd(rest.substr(1))) return "text after '-'";
    if (out != nullptr) out->remove = true;
    return nullptr;
  }
  if ((rest[0] == 'd' || rest[0] == 'D') && StartsWithNoCase(rest, "dword:")) {
    rest.remove_prefix(6);
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
  if ((rest[0] == 'h' || rest[0] == 'H') && StartsWithNoCase(rest, "hex")) {
    rest.remove_prefix(3);
    uint32_t type = kRegBinary;
    if (!rest.empty() && rest[0] == '(') {
      const size_t close = rest.substr(0, 10).find(')');
      if (close == std::string_view::npos || close == 1) return "bad type in hex(...)";
      type = 0;
      for (size_t i = 1; i < close; ++i) {
        const int digit = HexValue(rest[i]);
        if (digit < 0) return "bad type in hex(...)";
        type = type * 16 + static_cast<uint32_t>(digit);
      }
      rest.remove_prefix(close + 1);
    }
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
  return "unrecognized value data";
}

// --- Writing ---

void AppendQuoted(std::string_view text, std::string* out) {
  out->push_back('"');
  for (char c : text) {
    if (c == '\\' || c == '"') out->push_back('\\');
    out->push_back(c);
  }
  out->push_back('"');
}

void AppendHexList(std::string_view prefix, std::string_view bytes, size_t line_start,
                   std::string* out) {
  static constexpr char kDigits[] = "0123456789abcdef";
  out->append(prefix);
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    out->push_back(kDigits[byte >> 4]);
    out->push_back(kDigits[byte & 0xF]);
    if (i + 1 == bytes.size()) break;
    out->push_back(',');
    if (out->size() - line_start >= kHexLineWidth) {
      out->append("\\").append(kLineEnd).append("  ");
      line_start = out->size() - 2;
    }
  }
}

void AppendValueLine(const RegValue& value, std::string* out) {
  const size_t line_start = out->size();
  if (value.name.empty()) {
    out->push_back('@');
  } else {
    AppendQuoted(value.name, out);
  }
  out->push_back('=');
  std::string stored;
  uint64_t number = 0;
  switch (value.type) {
    case kRegSz:
      if (value.data.find('\n') == std::string::npos) {
        AppendQuoted(value.data, out);
        break;
      }
      // A line feed cannot stand in a quoted text; the UTF-16 form carries it.
      (void)RegStoredFromText(value.type, value.data, &stored);
      AppendHexList("hex(1):", Utf8ToUtf16(stored), line_start, out);
      break;
    case kRegExpandSz:
    case kRegMultiSz:
      (void)RegStoredFromText(value.type, value.data, &stored);
      AppendHexList(value.type == kRegExpandSz ? "hex(2):" : "hex(7):", Utf8ToUtf16(stored),
                    line_start, out);
      break;
    case kRegDword:
      if (ParseDecimal(value.data, 0xFFFFFFFFu, true, &number)) {
        static constexpr char kDigits[] = "0123456789abcdef";
        out->append("dword:");
        for (int shift = 28; shift >= 0; shift -= 4)
          out->push_back(kDigits[(number >> shift) & 0xF]);
      } else {
        AppendHexList("hex(4):", value.data, line_start, out);  // raw data of another size
      }
      break;
    case kRegQword:
      AppendHexList("hex(b):",
                    ParseDecimal(value.data, UINT64_MAX, true, &number)
                        ? LittleEndianBytes(number, 8)
                        : value.data,
                    line_start, out);
      break;
    case kRegBinary:
      AppendHexList("hex:", value.data, line_start, out);
      break;
    default: {
      char prefix[16];
      std::snprintf(prefix, sizeof prefix, "hex(%x):", static_cast<unsigned>(value.type));
      AppendHexList(prefix, value.data, line_start, out);
      break;
    }
  }
  out->append(kLineEnd);
}

}  // namespace

// --- Value text form ---

bool RegNamesEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (a[i] != b[i] && FoldCase(a[i]) != FoldCase(b[i])) return false;
  }
  return true;
}

std::string RegTextFromStored(uint32_t type, std::string_view bytes) {
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      if (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
      return std::string(bytes);
    case kRegMultiSz: {
      // Stored: each string with its zero, then one more zero ending the list.
      if (bytes.size() >= 2 && bytes.substr(bytes.size() - 2) == std::string_view("\0\0", 2)) {
        bytes.remove_suffix(1);
      } else if (bytes == std::string_view("\0", 1)) {
        return {};
      }
      std::string text(bytes);
      if (!text.empty() && text.back() != '\0') text.push_back('\0');
      return text;
    }
    case kRegDword:
    case kRegQword:
      if (bytes.size() == (type == kRegDword ? 4u : 8u)) return std::to_string(LittleEndian(bytes));
      return std::string(bytes);
    default:
      return std::string(bytes);
  }
}

bool RegStoredFromText(uint32_t type, std::string_view text, std::string* bytes) {
  uint64_t number = 0;
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      bytes->assign(text);
      bytes->push_back('\0');
      return true;
    case kRegMultiSz:
      bytes->assign(text);
      if (!text.empty() && text.back() != '\0') bytes->push_back('\0');
      bytes->push_back('\0');
      return true;
    case kRegDword:
    case kRegQword: {
      const bool dword = type == kRegDword;
      if (!ParseDecimal(text, dword ? 0xFFFFFFFFu : UINT64_MAX, false, &number)) return false;
      *bytes = LittleEndianBytes(number, dword ? 4 : 8);
      return true;
    }
    default:
      bytes->assign(text);
      return true;
  }
}

// --- RegFile ---

RegFile::RegFile() : nodes_(1) {}

bool RegFile::Load(std::string bytes, RegFileError* error) {
  return Load(std::make_unique<StringBytes>(std::move(bytes)), error);
}

bool RegFile::Load(std::unique_ptr<const RegFileBytes> bytes, RegFileError* error) {
  *this = RegFile();
  auto fail = [&](uint64_t line, std::string message) {
    *this = RegFile();
    error->line = line;
    error->message = std::move(message);
    return false;
  };
  const std::string_view raw = bytes->bytes();
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(raw[i]); };
  size_t start = 0;
  if (raw.size() >= 2 && byte(0) == 0xFF && byte(1) == 0xFE) {
    const bool odd = raw.size() % 2 != 0;
    auto text = std::make_unique<StringBytes>(Utf16ToUtf8(raw.substr(2)));
    bytes.reset();
    const std::string_view converted = text->bytes();
    if (odd) {
      const size_t body = converted.size() - (!converted.empty() && converted.back() == '\n');
      return fail(
          1 + static_cast<uint64_t>(std::count(converted.begin(), converted.begin() + body, '\n')),
          "odd number of bytes in UTF-16 text (truncated file?)");
    }
    storage_ = std::move(text);
  } else if (raw.size() >= 2 && byte(0) == 0xFE && byte(1) == 0xFF) {
    return fail(1, "big-endian UTF-16 text is not supported");
  } else if (raw.size() >= 2 && raw[1] == '\0') {
    return fail(1, "UTF-16 text without a byte order mark");
  } else {
    if (raw.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) start = 3;
    storage_ = std::move(bytes);
  }
  text_ = storage_->bytes();
  if (text_.size() >= kNone) return fail(1, "file of 4 GB or more");
  if (!Index(start, error)) {
    RegFileError found = std::move(*error);
    return fail(found.line, std::move(found.message));
  }
  return true;
}

bool RegFile::Index(size_t start, RegFileError* error) {
  auto fail = [&](uint64_t line, const char* message) {
    error->line = line;
    error->message = message;
    return false;
  };
  LineCursor cursor(text_, start, text_.size(), 1);
  if (cursor.AtEnd()) return fail(1, "empty file");
  const std::string_view header = TrimRight(cursor.Next());
  if (header == kHeader5) {
    utf16_data_ = true;
  } else if (header == kHeader4) {
    utf16_data_ = false;
  } else {
    return fail(1,
                "not a registry file (the first line is not \"Windows Registry Editor Version "
                "5.00\" or \"REGEDIT4\")");
  }
  // Room for the keys of a typical export; pages are only touched when used.
  nodes_.reserve(text_.size() / 128 + 1);
  sections_.reserve(text_.size() / 128 + 1);

  bool in_section = false;  // a key header came before
  while (!cursor.AtEnd()) {
    const std::string_view line = TrimLeft(cursor.Next());
    if (line.empty() || line[0] == ';') continue;
    if (line[0] == '"' || line[0] == '@') {
      if (!in_section) return fail(cursor.line(), "value line before any key");
      if (const char* message = ParseValueLine(line, &cursor, utf16_data_, nullptr)) {
        return fail(cursor.line(), message);
      }
      continue;
    }
    if (line[0] != '[') return fail(cursor.line(), "unrecognized line");

    in_section = true;
    const std::string_view bracketed = TrimRight(line);
    if (bracketed.size() < 2 || bracketed.back() != ']') {
      return fail(cursor.line(), "key header without a closing ']'");
    }
    std::string_view path = bracketed.substr(1, bracketed.size() - 2);
    const bool remove = !path.empty() && path[0] == '-';
    if (remove) path.remove_prefix(1);
    if (!StripLocalMachine(&path)) continue;  // another root: checked, not kept
    if (remove) {
      DeletePath(path);
      continue;
    }
    if (nodes_.size() + path.size() >= kNone || sections_.size() + 1 >= kNone) {
      return fail(cursor.line(), "too many keys");
    }
    KeyId key = kRoot;
    if (const char* message = CreatePath(path, &key)) return fail(cursor.line(), message);
    const auto section = static_cast<uint32_t>(sections_.size());
    sections_.push_back({static_cast<uint32_t>(cursor.position()),
                         static_cast<uint32_t>(cursor.line() + 1), kNone});
    Node& node = nodes_[key];
    if (node.last_section == kNone) {
      node.first_section = section;
    } else {
      sections_[node.last_section].next = section;
    }
    node.last_section = section;
  }
  last_path_ = {};
  last_header_ = {};
  if (!use_table_) ListChildren();
  return true;
}

std::string_view RegFile::NameOf(KeyId key) const {
  return text_.substr(nodes_[key].name_offset, nodes_[key].name_size);
}

uint32_t RegFile::HashOf(KeyId key) const {
  return static_cast<uint32_t>(HashName(nodes_[key].parent, NameOf(key)));
}

RegFile::KeyId RegFile::FindChild(KeyId parent, std::string_view name) const {
  if (use_table_) {
    const size_t mask = table_.size() - 1;
    const auto hash = static_cast<uint32_t>(HashName(parent, name));
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
      const Slot& slot = table_[i];
      if (slot.entry == 0) return kNone;
      if (slot.hash == hash && nodes_[slot.entry - 1].parent == parent &&
          RegNamesEqual(NameOf(slot.entry - 1), name)) {
        return slot.entry - 1;
      }
    }
  }
  if (child_start_.empty()) return kNone;  // still indexing: no key was listed yet
  // The children are in name order (see use_table_).
  const KeyId* first = children_.data() + child_start_[parent];
  const KeyId* last = children_.data() + child_start_[parent + 1];
  const KeyId* found =
      std::lower_bound(first, last, name, [&](KeyId child, std::string_view wanted) {
        return CompareNames(NameOf(child), wanted) < 0;
      });
  return found != last && RegNamesEqual(NameOf(*found), name) ? *found : kNone;
}

// Turns from sorted child lists to the hash table, for the rest of the file.
void RegFile::StartTable() {
  use_table_ = true;
  size_t capacity = 64;
  while (capacity < nodes_.size() * 2) capacity *= 2;
  table_.assign(capacity, Slot{});
  for (KeyId key = 1; key < nodes_.size(); ++key) {
    if (nodes_[key].alive) Insert(key);
  }
}

void RegFile::Insert(KeyId key) {
  if ((nodes_.size() + 1) * 2 > table_.size()) {
    table_.assign(table_.size() * 2, Slot{});
    for (KeyId other = 1; other < key; ++other) {
      if (nodes_[other].alive) Insert(other);
    }
  }
  const size_t mask = table_.size() - 1;
  const uint32_t hash = HashOf(key);
  size_t i = hash & mask;
  while (table_[i].entry != 0) i = (i + 1) & mask;
  table_[i] = Slot{hash, key + 1};
}

// Takes the key out of the table, shifting later entries of its probe run back
// so that no lookup has to step over the keys a file deleted.
void RegFile::Unlist(KeyId key) {
  const size_t mask = table_.size() - 1;
  size_t hole = HashOf(key) & mask;
  while (table_[hole].entry != key + 1) hole = (hole + 1) & mask;
  table_[hole] = Slot{};
  for (size_t next = (hole + 1) & mask; table_[next].entry != 0; next = (next + 1) & mask) {
    const size_t home = table_[next].hash & mask;
    // An entry stays when its home lies cyclically in (hole, next].
    const bool stays = hole <= next ? (hole < home && home <= next) : (hole < home || home <= next);
    if (stays) continue;
    table_[hole] = table_[next];
    table_[next] = Slot{};
    hole = next;
  }
}

// The children of every key, by key, in the order they were added (name order).
void RegFile::ListChildren() {
  child_start_.assign(nodes_.size() + 1, 0);
  for (KeyId key = 1; key < nodes_.size(); ++key) ++child_start_[nodes_[key].parent + 1];
  for (size_t i = 1; i < child_start_.size(); ++i) child_start_[i] += child_start_[i - 1];
  children_.resize(nodes_.size() - 1);
  std::vector<uint32_t> next(child_start_.begin(), child_start_.end() - 1);
  for (KeyId key = 1; key < nodes_.size(); ++key) children_[next[nodes_[key].parent]++] = key;
}

RegFile::KeyId RegFile::AddChild(KeyId parent, std::string_view name, bool in_order) {
  const auto key = static_cast<KeyId>(nodes_.size());
  Node node;
  node.name_offset = static_cast<uint32_t>(name.data() - text_.data());
  node.name_size = static_cast<uint16_t>(name.size());
  node.parent = parent;
  nodes_.push_back(node);
  Node& up = nodes_[parent];
  up.sorted = up.sorted && in_order;
  if (up.last_child == kNone) {
    up.first_child = key;
  } else {
    nodes_[up.last_child].next_sibling = key;
  }
  up.last_child = key;
  if (use_table_) Insert(key);
  return key;
}

// Exported files list keys in tree order, so most headers repeat the path of
// the previous one up to its last name: the keys of the names that end inside
// the repeated bytes are taken from last_path_. And they list subkeys in name
// order, so a new name after the last child is known to be new without a lookup.
const char* RegFile::CreatePath(std::string_view path, KeyId* key) {
  const size_t common = CommonPrefix(path, last_header_);
  KeyId found = kRoot;
  size_t depth = 0;
  size_t offset = 0;
  while (depth < last_path_.size() && last_path_[depth].end < common) {
    found = last_path_[depth].key;
    offset = last_path_[depth].end + 1;
    ++depth;
  }

  std::string_view rest = path.substr(offset);
  std::string_view name;
  while (NextName(&rest, &name)) {
    const auto begin = static_cast<uint32_t>(name.data() - path.data());
    const auto end = static_cast<uint32_t>(begin + name.size());
    if (depth < last_path_.size() &&
        RegNamesEqual(last_header_.substr(last_path_[depth].begin,
                                          last_path_[depth].end - last_path_[depth].begin),
                      name)) {
      found = last_path_[depth].key;  // the same name spelled otherwise
    } else {
      if (depth >= kMaxDepth) return "key nested deeper than 512 levels";
      if (const char* message = CheckKeyName(name)) return message;
      last_path_.resize(depth);
      const Node& parent = nodes_[found];
      const bool in_order =
          parent.last_child == kNone || CompareNames(NameOf(parent.last_child), name) < 0;
      KeyId child = kNone;
      if (!in_order || !parent.sorted) {
        if (!use_table_) StartTable();
        child = FindChild(found, name);
      }
      found = child != kNone ? child : AddChild(found, name, in_order);
      last_path_.push_back({found, begin, end});
    }
    last_path_[depth].begin = begin;  // now relative to this header
    last_path_[depth].end = end;
    ++depth;
  }
  last_path_.resize(depth);
  last_header_ = path;
  *key = found;
  return nullptr;
}

void RegFile::DeletePath(std::string_view path) {
  if (!use_table_) StartTable();
  KeyId key = kRoot;
  std::string_view name;
  while (NextName(&path, &name)) {
    key = FindChild(key, name);
    if (key == kNone) return;
  }
  if (key == kRoot) return;   // the root itself stays
  nodes_[key].alive = false;  // its subtree is reached through it only
  Unlist(key);
  last_path_.clear();
  last_header_ = {};
}

bool RegFile::FindKey(std::string_view path, KeyId* key) const {
  KeyId found = kRoot;
  std::string_view name;
  while (NextName(&path, &name)) {
    found = FindChild(found, name);
    if (found == kNone) return false;
  }
  *key = found;
  return true;
}

std::string_view RegFile::KeyName(KeyId key) const { return NameOf(key); }

std::vector<RegFile::KeyId> RegFile::SubKeys(KeyId key) const {
  std::vector<KeyId> children;
  for (KeyId child = nodes_[key].first_child; child != kNone; child = nodes_[child].next_sibling) {
    if (nodes_[child].alive) children.push_back(child);
  }
  return children;
}

std::vector<RegValue> RegFile::Values(KeyId key) const {
  std::vector<RegValue> values;
  std::vector<bool> removed;
  std::unordered_map<std::string, size_t> by_name;  // folded name -> index in values
  for (uint32_t id = nodes_[key].first_section; id != kNone; id = sections_[id].next) {
    const Section& section = sections_[id];
    LineCursor cursor(text_, section.begin, text_.size(), section.first_line);
    while (!cursor.AtEnd()) {
      const std::string_view line = TrimLeft(cursor.Next());
      if (!line.empty() && line[0] == '[') break;  // the next section
      if (line.empty() || (line[0] != '"' && line[0] != '@')) continue;
      ValueLine parsed;
      if (ParseValueLine(line, &cursor, utf16_data_, &parsed) != nullptr) continue;  // see Index
      const auto found = by_name.find(FoldName(parsed.value.name));
      if (parsed.remove) {
        if (found != by_name.end()) {
          removed[found->second] = true;
          by_name.erase(found);
        }
      } else if (found != by_name.end()) {
        RegValue& kept = values[found->second];  // keeps its place and the case of its name
        kept.type = parsed.value.type;
        kept.data = std::move(parsed.value.data);
      } else {
        by_name.emplace(FoldName(parsed.value.name), values.size());
        values.push_back(std::move(parsed.value));
        removed.push_back(false);
      }
    }
  }
  size_t kept = 0;
  for (size_t i = 0; i < values.size(); ++i) {
    if (removed[i]) continue;
    if (kept != i) values[kept] = std::move(values[i]);
    ++kept;
  }
  values.resize(kept);
  return values;
}

// --- RegTree ---

RegTree::RegTree() : keys_(1) {}

RegTree::RegTree(const RegFile& file) : keys_(1) {
  keys_[kRoot].values = file.Values(RegFile::kRoot);
  std::vector<std::pair<RegFile::KeyId, KeyId>> pending{{RegFile::kRoot, kRoot}};
  while (!pending.empty()) {
    const auto [from, to] = pending.back();
    pending.pop_back();
    for (RegFile::KeyId child : file.SubKeys(from)) {
      const auto id = static_cast<KeyId>(keys_.size());
      keys_.push_back(Key{std::string(file.KeyName(child)), to, {}, file.Values(child)});
      keys_[to].children.push_back(id);
      pending.emplace_back(child, id);
    }
  }
}

bool RegTree::FindChild(KeyId parent, std::string_view name, KeyId* child) const {
  for (KeyId id : keys_[parent].children) {
    if (RegNamesEqual(keys_[id].name, name)) {
      *child = id;
      return true;
    }
  }
  return false;
}

bool RegTree::FindKey(std::string_view path, KeyId* key) const {
  KeyId found = kRoot;
  std::string_view name;
  while (NextName(&path, &name)) {
    if (!FindChild(found, name, &found)) return false;
  }
  *key = found;
  return true;
}

bool RegTree::CreateKey(std::string_view path, KeyId* key, bool* created) {
  *created = false;
  if (path.find('\n') != std::string_view::npos || CheckKeyPath(path) != nullptr) return false;
  KeyId found = kRoot;
  std::string_view name;
  while (NextName(&path, &name)) {
    KeyId child = 0;
    if (!FindChild(found, name, &child)) {
      child = static_cast<KeyId>(keys_.size());
      keys_.push_back(Key{std::string(name), found, {}, {}});
      keys_[found].children.push_back(child);
      *created = true;
    }
    found = child;
  }
  *key = found;
  return true;
}

bool RegTree::HasSubKeys(KeyId key) const { return !keys_[key].children.empty(); }

void RegTree::DeleteKey(KeyId key) {
  if (key == kRoot) return;
  std::vector<KeyId>& siblings = keys_[keys_[key].parent].children;
  siblings.erase(std::remove(siblings.begin(), siblings.end(), key), siblings.end());
  keys_[key].children.clear();
  keys_[key].values.clear();
}

const std::vector<RegValue>& RegTree::Values(KeyId key) const { return keys_[key].values; }

std::vector<std::string> RegTree::SubKeyNames(KeyId key) const {
  std::vector<std::string> names;
  for (KeyId child : keys_[key].children) names.push_back(keys_[child].name);
  return names;
}

bool RegTree::SetValue(KeyId key, const RegValue& value) {
  std::string stored;
  if (value.name.find('\n') != std::string::npos ||
      !RegStoredFromText(value.type, value.data, &stored)) {
    return false;
  }
  RegValue normal{value.name, value.type, RegTextFromStored(value.type, stored)};
  for (RegValue& existing : keys_[key].values) {
    if (RegNamesEqual(existing.name, value.name)) {
      existing.type = normal.type;
      existing.data = std::move(normal.data);
      return true;
    }
  }
  keys_[key].values.push_back(std::move(normal));
  return true;
}

bool RegTree::DeleteValue(KeyId key, std::string_view name) {
  std::vector<RegValue>& values = keys_[key].values;
  for (auto it = values.begin(); it != values.end(); ++it) {
    if (RegNamesEqual(it->name, name)) {
      values.erase(it);
      return true;
    }
  }
  return false;
}

std::string RegTree::Serialize() const {
  std::string out(kHeader5);
  out.append(kLineEnd).append(kLineEnd);
  std::string path(kRootName);
  auto append_key = [&](KeyId key) {
    out.push_back('[');
    out.append(path).push_back(']');
    out.append(kLineEnd);
    for (const RegValue& value : keys_[key].values) AppendValueLine(value, &out);
    out.append(kLineEnd);
  };
  if (!keys_[kRoot].values.empty()) append_key(kRoot);

  // Depth first in order, without recursion: a hostile file may nest very deep.
  struct Frame {
    KeyId key;
    size_t next_child;
    size_t path_size;
  };
  std::vector<Frame> stack{{kRoot, 0, path.size()}};
  while (!stack.empty()) {
    Frame& frame = stack.back();
    const Key& parent = keys_[frame.key];
    if (frame.next_child == parent.children.size()) {
      stack.pop_back();
      continue;
    }
    const KeyId child = parent.children[frame.next_child++];
    path.resize(frame.path_size);
    path.append("\\").append(keys_[child].name);
    append_key(child);
    stack.push_back({child, 0, path.size()});
  }
  return out;
}

}  // namespace platform
