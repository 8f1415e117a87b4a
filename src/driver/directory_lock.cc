#include "driver/directory_lock.h"

#include "driver/report.h"
#include "platform/files.h"

namespace driver {

std::unique_ptr<platform::FileLock> lockAgentDirectory(const std::string& etcDir) {
  (void)platform::MakeDirectory(etcDir);  // a first put finds no directory yet
  const std::string path = etcDir + "\\sq_xa.lock";
  std::unique_ptr<platform::FileLock> lock;
  if (platform::FileLock::Acquire(path, kDirectoryLockTimeoutMs, &lock) != 0) {
    REPORT_ERROR("Unable to lock '%s' for exclusive use", path.c_str());
    return nullptr;
  }
  return lock;
}

}  // namespace driver
