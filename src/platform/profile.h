// The profile seam: whole sections of .ini files, with the contract of the
// Windows private-profile section functions. On Windows the backend calls them;
// elsewhere a portable implementation gives the same results.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// Copies the entries of `section` in `path` into `buffer` as
// "key=value\0...key=value\0\0" and answers the number of characters copied
// without the final zero; 0 (and two zeros in the buffer) when the file or the
// section is missing or has no entries. In detail:
// - Lines end at LF, CR LF or a lone CR; a last line needs no end. A UTF-8
//   mark at the start of the file is skipped.
// - Lines, names and values lose the blanks around them: space, tab, LF, VT,
//   FF, CR and ^Z (0x1A); no other byte is a blank.
// - A header is a line starting with "[" that holds a "]"; the name runs to the
//   last "]" and loses its blanks; anything after that "]" is ignored. The lines
//   before the first header form the section named "".
// - The first section whose name equals `section` with ASCII letters folded
//   (no other bytes) is used; later ones of the same name are ignored. The name
//   asked for is taken as it is, blanks included.
// - Blank lines, lines whose name starts with ";" and lines with neither name
//   nor "=" are not copied; a line without "=" is copied as it stands (so "#"
//   starts no comment, and quotes and text after a value's ";" stay).
// - A line with an empty name (such as "=x") is dropped when the line kept
//   before it in the same section also had an empty name.
// - A zero byte in the file ends the name or value it is in.
// - The entries fit when they, their final zero and one byte more fit in
//   `size`; otherwise the buffer is filled, its last two bytes are zeros (the
//   last entry cut, or only its zero replaced when the entries took exactly
//   `size` - 1 bytes) and the answer is `size` - 2.
// - `size` 0 leaves the buffer untouched; 1 and 2 write zeros; all answer 0.
[[nodiscard]] uint32_t ReadIniSection(const std::string& section, char* buffer, uint32_t size,
                                      const std::string& path);

// Replaces the contents of `section` in `path` with `entries` (the same
// "key=value\0...\0\0" form). Each entry is written as "key=value" with the
// blanks before the key and before the value removed; entries without "=" are
// dropped. The first section of the name (found as above) gets the entries,
// its comments go, and later sections of the same name are emptied. A section
// that does not exist is appended at the end of the file, a missing file is
// created; when there is nothing to write either, the file is left alone.
// Lines outside the section are kept; the Windows functions rewrite them in a
// canonical form with CR LF ends, while the portable writer keeps them byte for
// byte, writes the file's own line end (CR LF when its first line has one,
// otherwise LF) and replaces the file atomically. Answers true on success.
[[nodiscard]] bool WriteIniSection(const std::string& section, const char* entries,
                                   const std::string& path);

}  // namespace platform
