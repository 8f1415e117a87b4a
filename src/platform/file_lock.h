// An exclusive lock on a file, held between processes (flock elsewhere,
// LockFileEx on Windows). The file is created when missing and stays, empty.
#pragma once

#include <memory>
#include <string>

namespace platform {

class FileLock {
 public:
  virtual ~FileLock() = default;  // releases the lock

  // Waits at most `timeout_ms` for the lock. 0 on success, ETIMEDOUT when the
  // time ran out, another errno value when the file cannot be opened.
  [[nodiscard]] static int Acquire(const std::string& path, unsigned timeout_ms,
                                   std::unique_ptr<FileLock>* lock);
};

}  // namespace platform
