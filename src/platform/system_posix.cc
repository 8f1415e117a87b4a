// Facts about the machine and the process on POSIX systems.
#include <sys/utsname.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "platform/system.h"

namespace platform {

std::string ComputerName() {
  char host[256] = {};
  if (gethostname(host, sizeof host - 1) != 0) return std::string();
  std::string name(host, strnlen(host, sizeof host));
  name = name.substr(0, name.find('.'));
  if (name.size() > 15) name.resize(15);
  for (char& c : name) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return name;
}

std::string CurrentDirectory() {
  std::vector<char> buffer(256);
  for (;;) {
    if (getcwd(buffer.data(), buffer.size()) != nullptr) return std::string(buffer.data());
    if (errno != ERANGE) return std::string();
    buffer.resize(buffer.size() * 2);
  }
}

uint32_t TickCount() {
  const auto since_start = std::chrono::steady_clock::now().time_since_epoch();
  return static_cast<uint32_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(since_start).count());
}

unsigned long CurrentThreadId() { return static_cast<unsigned long>(gettid()); }

unsigned long CurrentProcessId() { return static_cast<unsigned long>(getpid()); }

void SleepMilliseconds(uint32_t milliseconds) {
  std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
}

bool SetEnvironment(const std::string& name, const std::string& value) {
  return setenv(name.c_str(), value.c_str(), 1) == 0;
}

void UnsetEnvironment(const std::string& name) { unsetenv(name.c_str()); }

// The kernel release ("6.1.0-18-amd64") gives major and minor.
OsVersion GetOsVersion() {
  OsVersion version;
  struct utsname names;
  if (uname(&names) != 0) return version;
  char* end = nullptr;
  version.major = static_cast<unsigned>(std::strtoul(names.release, &end, 10));
  if (end != nullptr && *end == '.') {
    version.minor = static_cast<unsigned>(std::strtoul(end + 1, nullptr, 10));
  }
  return version;
}

std::string SystemErrorText(long code) {
  char buffer[256] = {};
  // The GNU strerror_r answers a pointer that may or may not be `buffer`.
  const char* text = strerror_r(static_cast<int>(code), buffer, sizeof buffer);
  return text != nullptr ? std::string(text) : std::string();
}

}  // namespace platform
