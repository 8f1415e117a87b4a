// The configuration stream on standard input.
#pragma once

#include <cstddef>
#include <string>

namespace driver {

// A configuration stream is a few hundred bytes; more than this is not one.
inline constexpr std::size_t kMaxStreamBytes = 1024 * 1024;

// Appends all of standard input to `stream`, read in chunks of 1024 bytes.
// False, reading no further, when it holds more than kMaxStreamBytes.
[[nodiscard]] bool readStdIn(std::string* stream);

}  // namespace driver
