// What the OS-independent part of the file layer (files.cc) needs from the
// backend of the platform, and what the backends share with it. Not for use
// outside the platform layer.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "platform/files.h"

namespace platform::internal {

// The calls in force: the system's, or those a test put in their place.
[[nodiscard]] const FileSystemCalls& Calls();

// A number that differs between processes running at the same time, to make
// temporary names unique.
[[nodiscard]] unsigned long ProcessNumber();

// The real calls behind FileSystemCalls, on native paths.
//
// SystemOpen: fopen whose stream is not inherited by child processes.
// SystemCreate: creates `native_path`, which must not exist yet, and opens it
// for writing, as text (the platform's line ends) or binary; where files carry
// permissions, readable by its owner alone, since a temporary file that a
// crash leaves behind may hold a password (EEXIST when the name is taken).
// SystemFinish: gives the complete temporary file the permissions it is to
// have as `native_target`: those of the target when it exists, so that
// replacing a private file does not expose it, else the usual ones.
[[nodiscard]] int SystemOpen(const std::string& native_path, const char* mode, std::FILE** file);
[[nodiscard]] int SystemCreate(const std::string& native_path, const std::string& native_target,
                               bool text, std::FILE** file);
[[nodiscard]] int SystemFinish(std::FILE* file, const std::string& native_target);
[[nodiscard]] int SystemSync(std::FILE* file);
[[nodiscard]] int SystemRename(const std::string& native_from, const std::string& native_to);
[[nodiscard]] int SystemRemove(const std::string& native_path);
[[nodiscard]] int SystemMakeDirectory(const std::string& native_path);
[[nodiscard]] int SystemListDirectory(const std::string& native_path,
                                      std::vector<std::string>* names);
// Notes that the directory holding `native_path` has a new entry to sync
// (see SyncChangedDirectories).
void SyncDirectoryLater(const std::string& native_path);
// Has FlushAll run at exit (once, however often this is called).
void FlushAllAtExit();

}  // namespace platform::internal
