// Reads text files line by line, lines of any length.
#pragma once

#include <cstdio>
#include <string>

namespace generate {

// The next line of `file` without its line end (LF, or CR LF as text mode
// leaves it where it does not translate); false at the end of the file.
[[nodiscard]] bool ReadLine(std::FILE* file, std::string* line);

}  // namespace generate
