// The part of the file layer that is the same on every platform: atomic
// replacement over the backend's calls, and whole-file reading and writing.
#include <atomic>
#include <cerrno>
#include <string>

#include "platform/files.h"
#include "platform/files_internal.h"

namespace platform {
namespace {

const FileSystemCalls kSystemCalls = {internal::SystemRename, internal::SystemSync};

// Replaced only by tests, before any other thread works with files.
FileSystemCalls g_calls = kSystemCalls;

// Tries names until one is free; a stale temporary of a crashed run, or one of
// another thread or process writing the same target, only costs a retry.
int CreateTemporary(const std::string& target, bool text, std::string* temporary, File* file) {
  static std::atomic<unsigned> counter{0};
  const std::string prefix = target + ".sqxa-" + std::to_string(internal::ProcessNumber()) + "-";
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string name = prefix + std::to_string(counter.fetch_add(1)) + ".tmp";
    const int status = internal::CreateNewFile(NativePath(name), NativePath(target), text, file);
    if (status == 0) {
      *temporary = std::move(name);
      return 0;
    }
    if (status != EEXIST) return status;
  }
  return EEXIST;
}

}  // namespace

FileSystemCalls SetFileSystemCallsForTesting(const FileSystemCalls* calls) {
  const FileSystemCalls previous = g_calls;
  g_calls = calls != nullptr ? *calls : kSystemCalls;
  return previous;
}

AtomicFile::~AtomicFile() { Discard(); }

int AtomicFile::Open(const std::string& target, bool text) {
  Discard();
  const int status = CreateTemporary(target, text, &temporary_, &stream_);
  if (status != 0) return status;
  target_ = target;
  return 0;
}

int AtomicFile::Commit() {
  if (!stream_) return EBADF;
  int status = 0;
  errno = 0;
  if (std::fflush(stream_.get()) != 0 || std::ferror(stream_.get()) != 0) {
    status = errno != 0 ? errno : EIO;
  }
  if (status == 0) status = g_calls.sync(stream_.get());
  // Closing may still report a failed write; the file then must not replace
  // the target.
  std::FILE* raw = stream_.release();
  errno = 0;
  if (std::fclose(raw) != 0 && status == 0) status = errno != 0 ? errno : EIO;
  if (status == 0) status = g_calls.rename(NativePath(temporary_), NativePath(target_));
  if (status != 0) {
    Discard();
    return status;
  }
  temporary_.clear();
  target_.clear();
  return 0;
}

void AtomicFile::Discard() {
  stream_.reset();
  if (!temporary_.empty()) {
    (void)RemoveFile(temporary_);
    temporary_.clear();
  }
  target_.clear();
}

int ReadFileContents(const std::string& path, std::string* contents) {
  errno = 0;
  File file = OpenFile(path, "rb");
  if (!file) return errno != 0 ? errno : ENOENT;
  std::string text;
  char chunk[65536];
  size_t count;
  while ((count = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) text.append(chunk, count);
  if (std::ferror(file.get()) != 0) return EIO;
  *contents = std::move(text);
  return 0;
}

int ReplaceFileContents(const std::string& path, std::string_view contents) {
  AtomicFile file;
  const int status = file.Open(path);
  if (status != 0) return status;
  errno = 0;
  if (!contents.empty() &&
      std::fwrite(contents.data(), 1, contents.size(), file.stream()) != contents.size()) {
    const int error = errno != 0 ? errno : EIO;
    file.Discard();
    return error;
  }
  return file.Commit();
}

}  // namespace platform
