// Named mutexes on Windows: the system's own, which already re-enter for the
// holding thread. A mutex left by a thread that ended while holding it
// (WAIT_ABANDONED) is held by the waiter then, and said to be abandoned.
#include <windows.h>

#include <memory>
#include <string>

#include "platform/named_mutex.h"

namespace platform {
namespace {

class Win32NamedMutex final : public NamedMutex {
 public:
  explicit Win32NamedMutex(HANDLE handle) : handle_(handle) {}
  ~Win32NamedMutex() override { CloseHandle(handle_); }

  WaitResult Wait(uint32_t timeout_ms) override {
    switch (WaitForSingleObject(handle_, timeout_ms)) {
      case WAIT_OBJECT_0:
        return kAcquired;
      case WAIT_ABANDONED:
        return kAbandoned;
      case WAIT_TIMEOUT:
        return kTimeout;
      default:
        return kFailed;
    }
  }

  void Release() override { ReleaseMutex(handle_); }

 private:
  HANDLE handle_;
};

}  // namespace

std::unique_ptr<NamedMutex> NamedMutex::Create(const std::string& name) {
  const HANDLE handle = CreateMutexA(nullptr, FALSE, name.c_str());
  if (handle == nullptr) return nullptr;
  return std::make_unique<Win32NamedMutex>(handle);
}

}  // namespace platform
