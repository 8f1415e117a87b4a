// The part of the file layer that is the same on every platform: atomic
// replacement over the backend's calls, and whole-file reading and writing.
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "platform/files.h"
#include "platform/files_internal.h"

namespace platform {
namespace {

int SystemFlush(std::FILE* file) {
  errno = 0;
  if (std::fflush(file) == 0 && std::ferror(file) == 0) return 0;
  return errno != 0 ? errno : EIO;
}

int NoLockGate(const std::string&) { return 0; }

const FileSystemCalls kSystemCalls = {internal::SystemOpen,
                                      internal::SystemCreate,
                                      SystemFlush,
                                      internal::SystemSync,
                                      internal::SystemRename,
                                      internal::SystemRemove,
                                      internal::SystemMakeDirectory,
                                      NoLockGate};

// Replaced only by tests, before any other thread works with files.
FileSystemCalls g_calls = kSystemCalls;

// Never destroyed: FlushAll runs at exit, perhaps after static objects are gone.
std::vector<void (*)()>& Flushers() {
  static auto* const flushers = new std::vector<void (*)()>;
  return *flushers;
}

constexpr std::string_view kTemporaryMark = ".sqxa-";
constexpr std::string_view kTemporaryEnd = ".tmp";

// Tries names until one is free; a stale temporary of a crashed run, or one of
// another thread or process writing the same target, only costs a retry.
int CreateTemporary(const std::string& target, bool text, std::string* temporary, File* file) {
  static std::atomic<unsigned> counter{0};
  const std::string prefix =
      target + std::string(kTemporaryMark) + std::to_string(internal::ProcessNumber()) + "-";
  for (int attempt = 0; attempt < 100; ++attempt) {
    std::string name = prefix + std::to_string(counter.fetch_add(1)) + std::string(kTemporaryEnd);
    std::FILE* stream = nullptr;
    const int status = g_calls.create(NativePath(name), NativePath(target), text, &stream);
    if (status == 0) {
      file->reset(stream);
      *temporary = std::move(name);
      return 0;
    }
    if (status != EEXIST) return status;
  }
  return EEXIST;
}

}  // namespace

void AddFlusher(void (*flush)()) {
  internal::FlushAllAtExit();
  Flushers().push_back(flush);
}

void FlushAll() {
  for (void (*flush)() : Flushers()) flush();
  std::fflush(nullptr);
  SyncChangedDirectories();
}

namespace internal {

void FlushAllAtExit() {
  static const bool registered = std::atexit(FlushAll) == 0;
  (void)registered;
}

}  // namespace internal

void RemoveStaleTemporaries(const std::string& directory, const std::string& target_name) {
  const std::string prefix = target_name + std::string(kTemporaryMark);
  std::vector<std::string> names;
  if (ListDirectory(directory, &names) != 0) return;
  for (const std::string& name : names) {
    if (IsTemporaryName(name) &&
        (target_name.empty() || name.compare(0, prefix.size(), prefix) == 0)) {
      (void)RemoveFile(directory + "\\" + name);
    }
  }
}

void RemoveStaleTemporariesOf(const std::string& target) {
  const size_t separator = target.find_last_of("\\/");
  if (separator == std::string::npos) return RemoveStaleTemporaries(".", target);
  RemoveStaleTemporaries(target.substr(0, separator), target.substr(separator + 1));
}

namespace internal {
const FileSystemCalls& Calls() { return g_calls; }
}  // namespace internal

FileSystemCalls SetFileSystemCallsForTesting(const FileSystemCalls* calls) {
  const FileSystemCalls previous = g_calls;
  g_calls = calls != nullptr ? *calls : kSystemCalls;
  return previous;
}

File OpenFile(const std::string& path, const char* mode) {
  std::FILE* stream = nullptr;
  if (const int status = g_calls.open(NativePath(path), mode, &stream); status != 0) {
    errno = status;
    return nullptr;
  }
  return File(stream);
}

int RemoveFile(const std::string& path) { return g_calls.remove(NativePath(path)); }

int MakeDirectory(const std::string& path) { return g_calls.make_directory(NativePath(path)); }

int RenameFile(const std::string& from, const std::string& to) {
  return g_calls.rename(NativePath(from), NativePath(to));
}

int ListDirectory(const std::string& path, std::vector<std::string>* names) {
  names->clear();
  return internal::SystemListDirectory(NativePath(path), names);
}

bool IsTemporaryName(std::string_view name) {
  const size_t mark = name.find(kTemporaryMark);
  return mark != std::string_view::npos && mark > 0 && name.size() >= kTemporaryEnd.size() &&
         name.substr(name.size() - kTemporaryEnd.size()) == kTemporaryEnd &&
         mark + kTemporaryMark.size() <= name.size() - kTemporaryEnd.size();
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
  int status = g_calls.flush(stream_.get());
  if (status == 0) status = internal::SystemFinish(stream_.get(), NativePath(target_));
  if (status == 0) status = g_calls.sync(stream_.get());
  // Closing may still report a failed write; the file then must not replace
  // the target.
  std::FILE* raw = stream_.release();
  errno = 0;
  if (std::fclose(raw) != 0 && status == 0) status = errno != 0 ? errno : EIO;
  if (status == 0) status = RenameFile(temporary_, target_);
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
  errno = 0;
  while ((count = std::fread(chunk, 1, sizeof chunk, file.get())) > 0) text.append(chunk, count);
  if (std::ferror(file.get()) != 0) return errno != 0 ? errno : EIO;
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

int FileSnapshot::Take(const std::string& path) {
  path_ = path;
  contents_.clear();
  const int status = ReadFileContents(path, &contents_);
  existed_ = status == 0;
  return status == ENOENT ? 0 : status;
}

int FileSnapshot::Restore() const {
  if (existed_) return ReplaceFileContents(path_, contents_);
  const int status = RemoveFile(path_);
  return status == ENOENT ? 0 : status;
}

}  // namespace platform
