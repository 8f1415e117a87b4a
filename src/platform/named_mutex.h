// A named mutex shared between processes, re-entrant for the thread that holds
// it (CreateMutex on Windows; elsewhere an exclusive lock on a file named after
// the mutex in the temporary directory, with a per-process re-entry count).
#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace platform {

class NamedMutex {
 public:
  // kAbandoned: the mutex is held now, but its last holder was a thread that
  // ended without releasing it, so what it guards may be half done.
  enum WaitResult { kAcquired, kAbandoned, kTimeout, kFailed };

  virtual ~NamedMutex() = default;

  // Creates (or opens) the mutex without owning it; null on failure.
  [[nodiscard]] static std::unique_ptr<NamedMutex> Create(const std::string& name);

  // Waits at most `timeout_ms`. The holding thread may wait again and gets
  // kAcquired at once; each kAcquired or kAbandoned is matched by one Release.
  [[nodiscard]] virtual WaitResult Wait(uint32_t timeout_ms) = 0;
  virtual void Release() = 0;
};

}  // namespace platform
