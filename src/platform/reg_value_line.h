// The value lines of the registry file: "name"=data or @=data, with the data
// "text" (escapes \\ and \"), dword:, hex:, hex(N): (N in hex), or - (deletes
// the value); hex lists continue onto the next line after a final backslash,
// and that line starts with blanks.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "platform/reg_file_lines.h"
#include "platform/registry.h"

namespace platform::reg {

struct ValueLine {
  bool remove = false;  // "name"=-
  RegValue value;
};

// Parses a value line starting at its '"' or '@', taking continuation lines from
// `cursor`. With `out` null only the syntax is checked. `utf16_data` tells how
// hex(1), hex(2) and hex(7) data is held (reg_file_encoding.h). Answers null or
// what is wrong (at cursor->line()).
[[nodiscard]] const char* ParseValueLine(std::string_view line, LineCursor* cursor, bool utf16_data,
                                         ValueLine* out);

// Appends the value's line, with its end, as a version 5 file holds it. The
// value's data must be in text form that fits its type (RegStoredFromText).
void AppendValueLine(const RegValue& value, std::string* out);

}  // namespace platform::reg
