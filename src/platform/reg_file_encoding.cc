#include "platform/reg_file_encoding.h"

#include "platform/reg_value_text.h"

namespace platform::reg {
namespace {

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

}  // namespace

FileEncoding EncodingOf(std::string_view file) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(file[i]); };
  if (file.size() >= 2 && byte(0) == 0xFF && byte(1) == 0xFE) return FileEncoding::kUtf16Le;
  if (file.size() >= 2 && byte(0) == 0xFE && byte(1) == 0xFF) {
    return FileEncoding::kUtf16BigEndian;
  }
  if (file.size() >= 2 && file[1] == '\0') return FileEncoding::kUtf16WithoutMark;
  if (file.size() >= 3 && byte(0) == 0xEF && byte(1) == 0xBB && byte(2) == 0xBF) {
    return FileEncoding::kUtf8WithMark;
  }
  return FileEncoding::kUtf8;
}

bool ReadHeaderLine(std::string_view line, bool* utf16_data) {
  if (line != kHeader5 && line != kHeader4) return false;
  *utf16_data = line == kHeader5;
  return true;
}

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

std::string DecodeHexData(uint32_t type, const std::string& bytes, bool utf16_data) {
  return RegTextFromStored(type, IsTextType(type) && utf16_data ? Utf16ToUtf8(bytes) : bytes);
}

}  // namespace platform::reg
