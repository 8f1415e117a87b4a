// Writing value lines, as the Registry Editor exports them.
#include <cstdint>
#include <cstdio>

#include "platform/reg_file_encoding.h"
#include "platform/reg_value_line.h"
#include "platform/reg_value_text.h"

namespace platform::reg {
namespace {

// Hex lists are wrapped like the Registry Editor's, so a written file stays readable.
constexpr size_t kHexLineWidth = 76;
constexpr char kDigits[] = "0123456789abcdef";

// Copies the runs between the characters to escape whole: a file is mostly
// names and paths, and is written whole at each change.
void AppendQuoted(std::string_view text, std::string* out) {
  out->push_back('"');
  for (size_t start = 0;;) {
    size_t special = start;
    while (special < text.size() && text[special] != '\\' && text[special] != '"') ++special;
    out->append(text.substr(start, special - start));
    if (special == text.size()) break;
    out->push_back('\\');
    out->push_back(text[special]);
    start = special + 1;
  }
  out->push_back('"');
}

void AppendHexList(std::string_view prefix, std::string_view bytes, size_t line_start,
                   std::string* out) {
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

// Strings other than a REG_SZ without a line feed (which a quoted text cannot
// carry): their stored form as UTF-16 in a hex list.
void AppendWideText(std::string_view prefix, const RegValue& value, size_t line_start,
                    std::string* out) {
  std::string stored;
  (void)RegStoredFromText(value.type, value.data, &stored);
  AppendHexList(prefix, Utf8ToUtf16(stored), line_start, out);
}

void AppendDword(const RegValue& value, size_t line_start, std::string* out) {
  uint64_t number = 0;
  if (!ParseDecimal(value.data, 0xFFFFFFFFu, true, &number)) {
    AppendHexList("hex(4):", value.data, line_start, out);  // raw data of another size
    return;
  }
  out->append("dword:");
  for (int shift = 28; shift >= 0; shift -= 4) out->push_back(kDigits[(number >> shift) & 0xF]);
}

void AppendQword(const RegValue& value, size_t line_start, std::string* out) {
  uint64_t number = 0;
  AppendHexList("hex(b):",
                ParseDecimal(value.data, UINT64_MAX, true, &number) ? LittleEndianBytes(number, 8)
                                                                    : value.data,
                line_start, out);
}

// The data after "name=", on the line that starts at out[line_start].
void AppendData(const RegValue& value, size_t line_start, std::string* out) {
  switch (value.type) {
    case kRegSz:
      if (value.data.find('\n') == std::string::npos) {
        AppendQuoted(value.data, out);
      } else {
        AppendWideText("hex(1):", value, line_start, out);
      }
      break;
    case kRegExpandSz:
      AppendWideText("hex(2):", value, line_start, out);
      break;
    case kRegMultiSz:
      AppendWideText("hex(7):", value, line_start, out);
      break;
    case kRegDword:
      AppendDword(value, line_start, out);
      break;
    case kRegQword:
      AppendQword(value, line_start, out);
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
}

}  // namespace

void AppendValueLine(const RegValue& value, std::string* out) {
  const size_t line_start = out->size();
  if (value.name.empty()) {
    out->push_back('@');
  } else {
    AppendQuoted(value.name, out);
  }
  out->push_back('=');
  AppendData(value, line_start, out);
  out->append(kLineEnd);
}

}  // namespace platform::reg
