// File locks on POSIX systems: flock on a descriptor of our own, so the lock
// belongs to this FileLock alone (a second FileLock of the same process on the
// same file waits like another process would). The descriptor is close-on-exec:
// a child inheriting it would keep the lock after we release it. A symbolic
// link in the lock file's place is refused rather than followed: whoever
// planted it would choose which file we create and hold.
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <memory>
#include <string>
#include <thread>

#include "platform/file_lock.h"
#include "platform/files.h"
#include "platform/files_internal.h"

namespace platform {
namespace {

constexpr auto kPollInterval = std::chrono::milliseconds(10);

class PosixFileLock final : public FileLock {
 public:
  explicit PosixFileLock(int fd) : fd_(fd) {}
  ~PosixFileLock() override { close(fd_); }  // closing releases the lock

 private:
  int fd_;
};

}  // namespace

int FileLock::Acquire(const std::string& path, unsigned timeout_ms,
                      std::unique_ptr<FileLock>* lock) {
  const std::string native = NativePath(path);
  if (const int status = internal::Calls().lock(native); status != 0) return status;
  // Created readable by its owner alone. flock takes a descriptor open for
  // reading as well, so a lock file that others made stays usable.
  int fd = open(native.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
  if (fd < 0 && errno == EACCES) fd = open(native.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
  if (fd < 0) return errno;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeout_ms);
  for (;;) {
    if (flock(fd, LOCK_EX | LOCK_NB) == 0) {
      *lock = std::make_unique<PosixFileLock>(fd);
      return 0;
    }
    const int error = errno;
    if (error != EWOULDBLOCK && error != EINTR) {
      close(fd);
      return error;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      close(fd);
      return ETIMEDOUT;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
}

}  // namespace platform
