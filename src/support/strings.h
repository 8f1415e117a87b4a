// String helpers of the common library. Texts are byte strings; letter case is
// that of the C locale.
#pragma once

#include <string_view>

// Upper-cases `text` in place; null gives null.
char* str_upper(char* text);

// 0 when equal without regard to case; otherwise the difference of the
// lower-cased bytes at the first mismatch. Both null: 0; exactly one null: 1.
[[nodiscard]] int str_icmp(const char* a, const char* b);

// Trims the characters of `set` (at most 19 are used; null or empty: the blank)
// from `text`: `where` "L" leading (by advancing the answer), "T" trailing (by
// writing a terminator), "B" both; a zero letter is "T", any other trims
// nothing. Answers the first kept character.
char* str_trim(char* text, char where, const char* set);

// Splits a path (blanks, quotes, tabs and newlines around it dropped) at its last
// "\" or "/". Each non-null output receives its part: the directory without and
// with its final separator, the name without extension, the extension (after
// the last "." of the base name) and the base name. Outputs hold 1024 bytes.
void path_split(const char* path, char* dir, char* dirWithSeparator, char* name, char* extension,
                char* baseName);

namespace support {

// Reads a decimal number that is the whole of `text` (an optional "-", then
// digits) into `value`: 0; EINVAL when the text is no such number (`value`
// untouched); ERANGE when it does not fit (`value` then holds the nearer bound).
[[nodiscard]] int ParseDecimal(std::string_view text, int* value);

}  // namespace support
