// Private files on POSIX systems: the temporary file is created with mode 0600
// (the umask can only narrow it), so no other user can ever open it, not even
// while it is still empty; it is published with link(), which fails when the
// target exists, where rename() would replace it.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/files.h"
#include "platform/files_internal.h"
#include "platform/private_file.h"
#include "platform/system.h"

namespace platform {
namespace {

class Descriptor {
 public:
  explicit Descriptor(int fd) : fd_(fd) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  ~Descriptor() {
    if (fd_ >= 0) close(fd_);
  }
  [[nodiscard]] int get() const { return fd_; }
  // Closes now, answering 0 or the errno of a failed close (a late write error).
  [[nodiscard]] int Close() {
    const int fd = fd_;
    fd_ = -1;
    return close(fd) == 0 ? 0 : errno;
  }

 private:
  int fd_;
};

int WriteAll(int fd, std::string_view contents) {
  while (!contents.empty()) {
    const ssize_t count = write(fd, contents.data(), contents.size());
    if (count < 0) {
      if (errno == EINTR) continue;
      return errno;
    }
    contents.remove_prefix(static_cast<std::size_t>(count));
  }
  return 0;
}

int WriteAndPublish(Descriptor* descriptor, const std::string& temporary, const std::string& target,
                    std::string_view contents) {
  int status = WriteAll(descriptor->get(), contents);
  if (status == 0 && fsync(descriptor->get()) != 0) status = errno;
  const int closed = descriptor->Close();
  if (status == 0) status = closed;
  if (status == 0 && link(temporary.c_str(), target.c_str()) != 0) status = errno;
  return status;
}

}  // namespace

int CreatePrivateFile(const std::string& path, std::string_view contents) {
  static std::atomic<unsigned> counter{0};
  const std::string target = NativePath(path);
  const std::string prefix = target + ".sqxa-" + std::to_string(CurrentProcessId()) + "-";
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string temporary = prefix + std::to_string(counter.fetch_add(1)) + ".tmp";
    Descriptor descriptor(open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (descriptor.get() < 0) {
      if (errno == EEXIST) continue;
      return errno;
    }
    const int status = WriteAndPublish(&descriptor, temporary, target, contents);
    unlink(temporary.c_str());
    if (status == 0) internal::SyncDirectoryLater(target);
    return status;
  }
  return EAGAIN;  // only stale temporaries, not the target, took the names
}

int CheckPrivateFile(const std::string& path) {
  struct stat info;
  if (stat(NativePath(path).c_str(), &info) != 0) return errno;
  if (!S_ISREG(info.st_mode)) return EISDIR;
  if ((info.st_mode & 077) != 0) return EPERM;
  if (info.st_uid != geteuid() && info.st_uid != 0) return EPERM;
  return 0;
}

int OpenPrivateLog(const std::string& path, File* file) {
  const int fd =
      open(NativePath(path).c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd < 0) return errno;
  std::FILE* stream = fdopen(fd, "a");
  if (stream == nullptr) {
    const int error = errno;
    close(fd);
    return error;
  }
  file->reset(stream);
  return 0;
}

}  // namespace platform
