// The encodings of the registry file. The file as a whole is UTF-8 (perhaps
// after a byte order mark) or UTF-16LE after a byte order mark. Its header line
// tells how the text data of hex(1), hex(2) and hex(7) values is held: as
// UTF-16LE in a version 5 file, as ANSI bytes in a REGEDIT4 file. Files are
// written as version 5 UTF-8.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace platform::reg {

inline constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
inline constexpr std::string_view kHeader4 = "REGEDIT4";

enum class FileEncoding {
  kUtf8,
  kUtf8WithMark,     // after the 3 bytes of the mark
  kUtf16Le,          // after the 2 bytes of the mark
  kUtf16BigEndian,   // refused
  kUtf16WithoutMark  // refused
};
// The encoding of a file, told by its first bytes.
[[nodiscard]] FileEncoding EncodingOf(std::string_view file);

// True for a header line (without its line end) of either version; sets
// `*utf16_data` to whether the file holds text data as UTF-16LE.
[[nodiscard]] bool ReadHeaderLine(std::string_view line, bool* utf16_data);

// UTF-16LE to UTF-8. An unpaired surrogate becomes U+FFFD; an odd last byte is dropped.
[[nodiscard]] std::string Utf16ToUtf8(std::string_view bytes);
// UTF-8 to UTF-16LE; invalid sequences become U+FFFD.
[[nodiscard]] std::string Utf8ToUtf16(std::string_view text);

// The text form of hex(N) data read from a file.
[[nodiscard]] std::string DecodeHexData(uint32_t type, const std::string& bytes, bool utf16_data);

}  // namespace platform::reg
