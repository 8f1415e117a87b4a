#include "generate/override_section.h"

#include <cstdint>
#include <new>

#include "platform/profile.h"

namespace generate {

namespace {

// The section is read in steps of this many bytes until it fits.
constexpr uint32_t kReadStep = 520;

}  // namespace

std::unique_ptr<char[]> SaveOverrideSection(config::DbConfigList& list, const std::string& path) {
  uint32_t size = 0;
  for (;;) {
    size += kReadStep;
    std::unique_ptr<char[]> buffer(new (std::nothrow) char[size]);
    if (buffer == nullptr) {
      list.Output(Channel::kLog, "Memory allocation failed during ini section reading...\n");
      return nullptr;
    }
    const uint32_t copied = platform::ReadIniSection(kOverrideSection, buffer.get(), size, path);
    if (copied == 0) return nullptr;
    // size - 2 is the reader's answer for a section that did not fit.
    if (copied != size - 2) return buffer;
  }
}

void RestoreOverrideSection(const char* entries, const std::string& path) {
  // A failed write leaves the file without the section, as a failed write
  // of any of its lines would.
  (void)platform::WriteIniSection(kOverrideSection, entries, path);
}

}  // namespace generate
