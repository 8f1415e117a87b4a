// File locks on Windows: LockFileEx on a handle of our own, so the lock belongs
// to this FileLock alone. The handle is not inheritable. A reparse point (a
// symbolic link or junction) in the lock file's place is opened as itself and
// refused, not followed.
#include <windows.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/file_lock.h"
#include "platform/files_internal.h"
#include "platform/win32_errno.h"
#include "platform/win32_owner_only.h"

namespace platform {
namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(10);

class Win32FileLock final : public FileLock {
 public:
  explicit Win32FileLock(HANDLE file) : file_(file) {}
  ~Win32FileLock() override {
    OVERLAPPED where = {};
    UnlockFileEx(file_, 0, MAXDWORD, MAXDWORD, &where);
    CloseHandle(file_);
  }

 private:
  HANDLE file_;
};

}  // namespace

int FileLock::Acquire(const std::string& path, unsigned timeout_ms,
                      std::unique_ptr<FileLock>* lock) {
  if (const int status = internal::Calls().lock(path); status != 0) return status;
  HANDLE file = nullptr;
  if (const int status =
          internal::OpenNotFollowing(path, GENERIC_READ | GENERIC_WRITE, nullptr, &file);
      status != 0) {
    return status;
  }
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  for (;;) {
    OVERLAPPED where = {};
    if (LockFileEx(file, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, MAXDWORD, MAXDWORD,
                   &where)) {
      *lock = std::make_unique<Win32FileLock>(file);
      return 0;
    }
    const DWORD error = GetLastError();
    if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) {
      CloseHandle(file);
      return internal::ErrnoFromWin32(error);
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      CloseHandle(file);
      return ETIMEDOUT;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
}

}  // namespace platform
