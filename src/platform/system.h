// The system seam: facts about the machine and the running process.
#pragma once

#include <cstdint>
#include <string>

namespace platform {

// The computer name (on systems without one: the host name up to its first
// ".", upper-cased, at most 15 characters).
[[nodiscard]] std::string ComputerName();
[[nodiscard]] std::string CurrentDirectory();
// Milliseconds since an arbitrary start, wrapping as a 32-bit count.
[[nodiscard]] uint32_t TickCount();
[[nodiscard]] unsigned long CurrentThreadId();
[[nodiscard]] unsigned long CurrentProcessId();
void SleepMilliseconds(uint32_t milliseconds);

// Sets NAME to VALUE for this process and the children it starts.
[[nodiscard]] bool SetEnvironment(const std::string& name, const std::string& value);
// Removes NAME from this process's environment.
void UnsetEnvironment(const std::string& name);

struct OsVersion {
  unsigned major = 0;
  unsigned minor = 0;
};
[[nodiscard]] OsVersion GetOsVersion();

// The system's text for an error number of GetLastError / errno.
[[nodiscard]] std::string SystemErrorText(long code);

}  // namespace platform
