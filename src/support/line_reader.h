// Reads text files line by line, lines of any length.
#pragma once

#include <cstdio>
#include <string>

namespace support {

// The next line of `file` as it was read, its "\n" included when it has one;
// false at the end of the file.
[[nodiscard]] bool ReadLineWithEnd(std::FILE* file, std::string* line);

// The next line of `file` without its line end (LF, or CR LF as text mode
// leaves it where it does not translate); false at the end of the file.
[[nodiscard]] bool ReadLine(std::FILE* file, std::string* line);

}  // namespace support
