// The profile functions on Windows: the system's own.
#include <windows.h>

#include "platform/profile.h"

namespace platform {

uint32_t ReadIniSection(const std::string& section, char* buffer, uint32_t size,
                        const std::string& path) {
  // The system function writes two zeros whatever the size; buffers too small
  // to hold an entry get their answer here.
  if (size == 0) return 0;
  if (size <= 2) {
    buffer[0] = '\0';
    if (size > 1) buffer[1] = '\0';
    return 0;
  }
  return GetPrivateProfileSectionA(section.c_str(), buffer, size, path.c_str());
}

bool WriteIniSection(const std::string& section, const char* entries, const std::string& path) {
  return WritePrivateProfileSectionA(section.c_str(), entries, path.c_str()) != FALSE;
}

}  // namespace platform
