// Facts about the machine and the process on Windows.
#include <windows.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "platform/system.h"

namespace platform {

std::string ComputerName() {
  char name[MAX_COMPUTERNAME_LENGTH + 1] = {};
  DWORD size = sizeof name;
  if (!GetComputerNameA(name, &size)) return std::string();
  return std::string(name, size);
}

std::string CurrentDirectory() {
  std::vector<char> buffer(MAX_PATH);
  for (;;) {
    const DWORD length = GetCurrentDirectoryA(static_cast<DWORD>(buffer.size()), buffer.data());
    if (length == 0) return std::string();
    if (length < buffer.size()) return std::string(buffer.data(), length);
    buffer.resize(length + 1);  // length counts the terminating zero here
  }
}

uint32_t TickCount() { return GetTickCount(); }

unsigned long CurrentThreadId() { return GetCurrentThreadId(); }

unsigned long CurrentProcessId() { return GetCurrentProcessId(); }

void SleepMilliseconds(uint32_t milliseconds) { Sleep(milliseconds); }

// _putenv_s updates the C runtime's copy (what getenv reads) and the process
// environment that CreateProcess hands to children.
bool SetEnvironment(const std::string& name, const std::string& value) {
  return _putenv_s(name.c_str(), value.c_str()) == 0;
}

// An empty value removes the variable from the C runtime's copy and the
// process's own block.
void UnsetEnvironment(const std::string& name) { (void)_putenv_s(name.c_str(), ""); }

OsVersion GetOsVersion() {
  OsVersion version;
  OSVERSIONINFOA info = {};
  info.dwOSVersionInfoSize = sizeof info;
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
  if (GetVersionExA(&info)) {
    version.major = info.dwMajorVersion;
    version.minor = info.dwMinorVersion;
  }
#pragma GCC diagnostic pop
  return version;
}

std::string SystemErrorText(long code) {
  char* text = nullptr;
  const DWORD length = FormatMessageA(
      FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
      nullptr, static_cast<DWORD>(code), MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
      reinterpret_cast<char*>(&text), 0, nullptr);
  if (length == 0 || text == nullptr) return std::string();
  std::string message(text, length);
  LocalFree(text);
  while (!message.empty() && (message.back() == '\n' || message.back() == '\r')) message.pop_back();
  return message;
}

}  // namespace platform
