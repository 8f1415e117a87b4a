// One writer at a time: put and remove hold an exclusive lock on "sq_xa.lock"
// in the agent's etc directory from before they open their log to the end of
// the run, the instance-creation tool's run included. The tool writes the
// registration that the next run's scan reads, so a lock released before it
// would let two runs see each other half done.
#pragma once

#include <memory>

#include "platform/file_lock.h"

namespace driver {

inline constexpr unsigned kDirectoryLockTimeoutMs = 60000;

class AgentDirectoryLock {
 public:
  enum Result {
    kLocked,
    kNoHome,       // no product home: nothing to lock, nothing the run can write
    kUnavailable,  // reported: not had within the timeout, or not a lock file
  };

  // Waits for the lock, creating the etc directory when missing. Once held,
  // removes the temporary files that writers who died left there: they may
  // hold a password, and no writer of this directory runs without the lock.
  [[nodiscard]] Result Acquire();

 private:
  std::unique_ptr<platform::FileLock> lock_;
};

}  // namespace driver
