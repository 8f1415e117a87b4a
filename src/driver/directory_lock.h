// One writer at a time: put and remove hold an exclusive lock on "sq_xa.lock"
// in the agent's etc directory from the scan of the configured instances to the
// end of the include file's regeneration, so that concurrent runs cannot drop
// each other's instances.
#pragma once

#include <memory>
#include <string>

#include "platform/file_lock.h"

namespace driver {

inline constexpr unsigned kDirectoryLockTimeoutMs = 60000;

// Locks `etcDir` (creating it when missing); reports and answers null when the
// lock cannot be had within the timeout.
[[nodiscard]] std::unique_ptr<platform::FileLock> lockAgentDirectory(const std::string& etcDir);

}  // namespace driver
