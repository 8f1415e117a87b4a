#include "platform/reg_value_text.h"

#include "platform/registry.h"

namespace platform {
namespace reg {

bool IsTextType(uint32_t type) {
  return type == kRegSz || type == kRegExpandSz || type == kRegMultiSz;
}

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

std::string LittleEndianBytes(uint64_t value, size_t size) {
  std::string bytes(size, '\0');
  for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((value >> (8 * i)) & 0xFF);
  return bytes;
}

}  // namespace reg

namespace {

uint64_t LittleEndian(std::string_view bytes) {
  uint64_t value = 0;
  for (size_t i = bytes.size(); i > 0; --i)
    value = value << 8 | static_cast<unsigned char>(bytes[i - 1]);
  return value;
}

// Stored: each string with its zero, then one more zero ending the list.
std::string MultiStringText(std::string_view bytes) {
  if (bytes.size() >= 2 && bytes.substr(bytes.size() - 2) == std::string_view("\0\0", 2)) {
    bytes.remove_suffix(1);
  } else if (bytes == std::string_view("\0", 1)) {
    return {};
  }
  std::string text(bytes);
  if (!text.empty() && text.back() != '\0') text.push_back('\0');
  return text;
}

}  // namespace

std::string RegTextFromStored(uint32_t type, std::string_view bytes) {
  switch (type) {
    case kRegSz:
    case kRegExpandSz:
      if (!bytes.empty() && bytes.back() == '\0') bytes.remove_suffix(1);
      return std::string(bytes);
    case kRegMultiSz:
      return MultiStringText(bytes);
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
      if (!reg::ParseDecimal(text, dword ? 0xFFFFFFFFu : UINT64_MAX, false, &number)) return false;
      *bytes = reg::LittleEndianBytes(number, dword ? 4 : 8);
      return true;
    }
    default:
      bytes->assign(text);
      return true;
  }
}

}  // namespace platform
