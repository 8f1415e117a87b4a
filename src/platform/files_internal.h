// What the OS-independent part of the file layer (files.cc) needs from the
// backend of the platform. Not for use outside the file layer.
#pragma once

#include <cstdio>
#include <string>

#include "platform/files.h"

namespace platform::internal {

// Creates `native_path`, which must not exist yet, and opens it for writing,
// as text (the platform's line ends) or binary; the stream is not inherited by child processes.
// Where files carry permissions, the new file gets those of `native_target` when that exists, so
// that replacing a private file does not expose its new contents. 0 or an
// errno value (EEXIST when the name is taken).
[[nodiscard]] int CreateNewFile(const std::string& native_path, const std::string& native_target,
                                bool text, File* file);

// A number that differs between processes running at the same time, to make
// temporary names unique.
[[nodiscard]] unsigned long ProcessNumber();

// The real calls behind FileSystemCalls.
[[nodiscard]] int SystemRename(const std::string& native_from, const std::string& native_to);
[[nodiscard]] int SystemSync(std::FILE* file);

}  // namespace platform::internal
