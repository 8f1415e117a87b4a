// The profile seam: whole sections of .ini files, with the contract of the
// Windows private-profile section functions. On Windows the backend calls them;
// elsewhere a portable implementation gives the same results.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// Copies the entries of `section` (found without regard to case) in `path` into
// `buffer` as "key=value\0...key=value\0\0"; a line without "=" is copied as it
// stands. Keys and values lose the blanks around them; blank lines and ";"
// comment lines are not copied. Answers the number of characters copied without
// the final zero; 0 when the file or section is missing. When the entries do not
// fit, the last one is cut, two zeros end the buffer and the answer is size - 2.
[[nodiscard]] uint32_t GetProfileSection(const std::string& section, char* buffer, uint32_t size,
                                         const std::string& path);

// Replaces the contents of `section` in `path` with `entries` (the same
// "key=value\0...\0\0" form; entries without "=" are dropped). A section that
// does not exist is appended at the end of the file; a missing file is created.
// Lines outside the section are kept. Answers true on success.
[[nodiscard]] bool WriteProfileSection(const std::string& section, const char* entries,
                                       const std::string& path);

}  // namespace platform
