// Arbitrary bytes as an .ini file: reading sections with buffers of several
// sizes and writing one must never crash, hang or write past a buffer.
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/profile.h"

namespace {

const std::string& ScratchPath() {
  static const std::string path = [] {
    const char* directory = std::getenv("TMPDIR");
    return std::string(directory != nullptr && *directory != '\0' ? directory : "/tmp") +
           "/sqxa-profile-fuzz-" + std::to_string(getpid()) + ".ini";
  }();
  return path;
}

// Reads `section` into an exactly sized heap buffer, so that the sanitizer
// sees any byte written past it, and checks the answer against the contract.
void ReadSection(const std::string& section, uint32_t size, const std::string& path) {
  std::vector<char> buffer(size);
  const uint32_t answer = platform::ReadIniSection(section, buffer.data(), size, path);
  if (size == 0) {
    if (answer != 0) std::abort();
    return;
  }
  if (answer > (size >= 2 ? size - 2 : 0)) std::abort();
  if (size >= 3 && answer == size - 2) {
    // Cut: the buffer ends with two zeros.
    if (buffer[size - 2] != '\0' || buffer[size - 1] != '\0') std::abort();
    return;
  }
  // Fitted: two zeros end what was copied (or start an empty buffer).
  if (buffer[answer] != '\0') std::abort();
  if (answer > 0 && buffer[answer - 1] != '\0') std::abort();
  if (answer == 0 && size >= 2 && buffer[1] != '\0') std::abort();
}

}  // namespace

// Durability is not what is tested here: skip the syncs to keep runs fast.
void SkipSyncs() {
  static const bool done = [] {
    platform::FileSystemCalls calls = platform::SetFileSystemCallsForTesting(nullptr);
    calls.sync = [](std::FILE*) { return 0; };
    calls.rename = [](const std::string& from, const std::string& to) {
      return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
    };
    platform::SetFileSystemCallsForTesting(&calls);
    return true;
  }();
  (void)done;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  SkipSyncs();
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::string& path = ScratchPath();
  if (platform::ReplaceFileContents(path, bytes) != 0) return 0;

  // Section names from the input itself: the first line's text, and a fixed one.
  const std::string first(bytes.substr(0, std::min<size_t>(bytes.find('\n'), 16)));
  for (const std::string& section : {std::string("S"), first, std::string()}) {
    for (uint32_t buffer_size : {0u, 1u, 2u, 3u, 7u, 64u, 4096u}) {
      ReadSection(section, buffer_size, path);
    }
  }

  // Entries from the input: its bytes, ended by two zeros.
  std::string entries(bytes.substr(0, 256));
  entries.append(2, '\0');
  if (!platform::WriteIniSection("S", entries.c_str(), path)) std::abort();
  ReadSection("S", 4096, path);

  (void)platform::RemoveFile(path);
  return 0;
}
