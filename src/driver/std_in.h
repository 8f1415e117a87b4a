// The configuration stream on standard input.
#pragma once

#include <string>

namespace driver {

// Appends all of standard input to `stream`, read in chunks of 1024 bytes.
void readStdIn(std::string* stream);

}  // namespace driver
