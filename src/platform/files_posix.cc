// The file layer on POSIX systems: backslashes become slashes at the file
// system, streams are opened close-on-exec so that children never inherit them.
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/files_internal.h"

namespace platform {

char PathSeparator() { return '/'; }

std::string NativePath(const std::string& path) {
  std::string native = path;
  for (char& c : native) {
    if (c == '\\') c = '/';
  }
  return native;
}

void FileCloser::operator()(std::FILE* file) const {
  if (file != nullptr) std::fclose(file);
}

bool FileExists(const std::string& path) {
  struct stat info;
  return stat(NativePath(path).c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool DirectoryExists(const std::string& path) {
  struct stat info;
  return stat(NativePath(path).c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

namespace {

// Both never destroyed: the directories are synced at exit, perhaps
// after static objects are gone.
std::mutex& ChangedLock() {
  static auto* const lock = new std::mutex;
  return *lock;
}

// The directories with entries not yet synced.
std::vector<std::string>& ChangedDirectories() {
  static auto* const directories = new std::vector<std::string>;
  return *directories;
}

}  // namespace

void SyncChangedDirectories() {
  std::vector<std::string> directories;
  {
    const std::lock_guard<std::mutex> hold(ChangedLock());
    directories.swap(ChangedDirectories());
  }
  // The files are in place whatever this answers; only their durability is
  // at stake.
  for (const std::string& directory : directories) {
    const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
      (void)fsync(fd);
      close(fd);
    }
  }
}

namespace internal {

int SystemOpen(const std::string& native_path, const char* mode, std::FILE** file) {
  // "e": close-on-exec, so a child started meanwhile does not keep the file open.
  const std::string native_mode = std::string(mode) + "e";
  *file = std::fopen(native_path.c_str(), native_mode.c_str());
  return *file != nullptr ? 0 : (errno != 0 ? errno : EIO);
}

int SystemCreate(const std::string& native_path, const std::string& /*native_target*/,
                 bool /*text: the same here*/, std::FILE** file) {
  const int fd = open(native_path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600);
  if (fd < 0) return errno;
  std::FILE* stream = fdopen(fd, "wb");
  if (stream == nullptr) {
    const int error = errno;
    close(fd);
    unlink(native_path.c_str());
    return error;
  }
  *file = stream;
  return 0;
}

int SystemFinish(std::FILE* file, const std::string& native_target) {
  // The creation mask, read once: setting it is the only way to learn it.
  static const mode_t kMask = [] {
    const mode_t mask = umask(0);
    umask(mask);
    return mask;
  }();
  struct stat target;
  const mode_t mode = stat(native_target.c_str(), &target) == 0 && S_ISREG(target.st_mode)
                          ? target.st_mode & 07777
                          : 0666 & ~kMask;
  return fchmod(fileno(file), mode) == 0 ? 0 : errno;
}

int SystemRemove(const std::string& native_path) {
  SyncChangedDirectories();
  return unlink(native_path.c_str()) == 0 ? 0 : errno;
}

int SystemMakeDirectory(const std::string& native_path) {
  return mkdir(native_path.c_str(), 0777) == 0 ? 0 : errno;
}

int SystemListDirectory(const std::string& native_path, std::vector<std::string>* names) {
  DIR* directory = opendir(native_path.c_str());
  if (directory == nullptr) return errno;
  errno = 0;
  while (const dirent* entry = readdir(directory)) {
    const std::string name = entry->d_name;
    if (name != "." && name != "..") names->push_back(name);
  }
  const int status = errno;
  closedir(directory);
  return status;
}

unsigned long ProcessNumber() { return static_cast<unsigned long>(getpid()); }

int SystemRename(const std::string& native_from, const std::string& native_to) {
  if (std::rename(native_from.c_str(), native_to.c_str()) != 0) return errno;
  SyncDirectoryLater(native_to);
  return 0;
}

void SyncDirectoryLater(const std::string& native_path) {
  const std::string::size_type slash = native_path.rfind('/');
  std::string directory =
      slash == std::string::npos ? "." : (slash == 0 ? "/" : native_path.substr(0, slash));
  const std::lock_guard<std::mutex> hold(ChangedLock());
  std::vector<std::string>& changed = ChangedDirectories();
  if (std::find(changed.begin(), changed.end(), directory) == changed.end()) {
    changed.push_back(std::move(directory));
  }
  FlushAllAtExit();
}

int SystemSync(std::FILE* file) { return fsync(fileno(file)) == 0 ? 0 : errno; }

}  // namespace internal
}  // namespace platform
