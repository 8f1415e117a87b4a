#include "driver/directory_lock.h"

#include <cerrno>
#include <cstring>
#include <string>

#include "driver/report.h"
#include "framework/product_dirs.h"
#include "platform/files.h"

namespace driver {

namespace {

// Why the lock could not be had, in words.
std::string Cause(int status) {
  switch (status) {
    case ETIMEDOUT:
      return "another run held it for " + std::to_string(kDirectoryLockTimeoutMs / 1000) +
             " seconds";
    case ELOOP:
      return "it is a symbolic link";
    case EISDIR:
      return "it is a directory";
    default:
      return std::strerror(status);
  }
}

}  // namespace

AgentDirectoryLock::Result AgentDirectoryLock::Acquire() {
  std::string etc;
  if (!VFW::Util::getMarloxConfigDir("SQ", &etc)) return kNoHome;
  etc.pop_back();                      // its separator
  (void)platform::MakeDirectory(etc);  // a first put finds no directory yet
  const std::string path = etc + "\\sq_xa.lock";
  if (const int status = platform::FileLock::Acquire(path, kDirectoryLockTimeoutMs, &lock_);
      status != 0) {
    REPORT_ERROR("Unable to lock '%s' for exclusive use: %s", path.c_str(), Cause(status).c_str());
    return kUnavailable;
  }
  platform::RemoveStaleTemporaries(etc);
  return kLocked;
}

}  // namespace driver
