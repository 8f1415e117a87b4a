// The file seam. Paths are composed with backslashes throughout the system and
// written into generated files as they are; on systems whose separator is "/",
// this layer maps every backslash to a slash at the moment it touches the file
// system, and nowhere else.
//
// Statuses are 0 on success, otherwise an errno value (ENOENT, EEXIST, EACCES, ...).
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace platform {

// The directory separator of this platform: '\\' on Windows, '/' elsewhere.
[[nodiscard]] char PathSeparator();

// The path as the file system wants it.
[[nodiscard]] std::string NativePath(const std::string& path);

struct FileCloser {
  void operator()(std::FILE* file) const;
};
using File = std::unique_ptr<std::FILE, FileCloser>;

// fopen through the path mapping; null on failure (errno tells why).
[[nodiscard]] File OpenFile(const std::string& path, const char* mode);

[[nodiscard]] bool FileExists(const std::string& path);  // a regular file
[[nodiscard]] bool DirectoryExists(const std::string& path);
[[nodiscard]] int RemoveFile(const std::string& path);
// Creates one directory; EEXIST when it exists, ENOENT when its parent does not.
[[nodiscard]] int MakeDirectory(const std::string& path);
// Renames, replacing an existing target.
[[nodiscard]] int RenameFile(const std::string& from, const std::string& to);
// A renamed or newly created file is durable once the directory that holds it
// is synced. Where that takes a call of its own (POSIX), the directories
// changed are synced once each: before a file is removed (so that what was
// renamed before is never lost while the removal stays), before a child
// process starts, when this is called and when the process exits; not after
// every file, since a put writes three files in one directory.
void SyncChangedDirectories();
// Writers that keep text in buffers of their own, outside the C library's
// streams, register how to put it out. FlushAll puts out those buffers and
// every stream, then syncs the changed directories: what this process has
// written reaches its files, and what it has published is durable, before a
// child process starts (Process::Start runs it) and at exit.
void AddFlusher(void (*flush)());
void FlushAll();
// The names in a directory, without "." and "..", in no set order.
[[nodiscard]] int ListDirectory(const std::string& path, std::vector<std::string>* names);

// Whether `name` is the name of a temporary file of this layer ("<target>.sqxa-
// ... .tmp"). A writer that died leaves one behind; whoever holds the lock on
// its directory may remove it.
[[nodiscard]] bool IsTemporaryName(std::string_view name);

// Removes the temporary files that writers left in `directory` when they died:
// all of them, or those of the file named `target_name` only. Only for whoever
// holds the lock that every such writer takes.
void RemoveStaleTemporaries(const std::string& directory, const std::string& target_name = "");
// The same for the writers of the file `target`.
void RemoveStaleTemporariesOf(const std::string& target);

[[nodiscard]] int ReadFileContents(const std::string& path, std::string* contents);
// Replaces the file whole and atomically (see AtomicFile).
[[nodiscard]] int ReplaceFileContents(const std::string& path, std::string_view contents);

// A file written beside its target and renamed over it once complete, so that a
// crash or a full disk at any moment leaves the old file or the new one, never a
// truncated one. Destroying an AtomicFile that was not committed removes the
// temporary file and leaves the target as it was.
class AtomicFile {
 public:
  AtomicFile() = default;
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;
  ~AtomicFile();

  // Creates the temporary file for `target`; its stream is then open for
  // writing. A text file gets the platform's line ends (CR LF on Windows).
  [[nodiscard]] int Open(const std::string& target, bool text = false);
  [[nodiscard]] std::FILE* stream() const { return stream_.get(); }
  [[nodiscard]] const std::string& temporary_path() const { return temporary_; }
  // Flushes, syncs, closes and renames over the target.
  [[nodiscard]] int Commit();
  // Closes and removes the temporary file; the target is untouched.
  void Discard();

 private:
  std::string target_;
  std::string temporary_;
  File stream_;
};

// A file as it stood, kept in memory so that a change of several files that
// cannot be completed can be undone: put back whole, or removed again when it
// did not exist.
class FileSnapshot {
 public:
  // Reads `path` as it stands; a missing file is remembered as missing. 0 or
  // an errno value.
  [[nodiscard]] int Take(const std::string& path);
  // Puts the file back as it was: 0 or an errno value.
  [[nodiscard]] int Restore() const;

 private:
  std::string path_;
  std::string contents_;
  bool existed_ = false;
};

// The file system calls of this layer, each answering 0 or an errno value and
// taking paths as the file system wants them. Tests replace them to make any
// one operation fail (a full disk at the third write, a rename refused), so
// that every way a run can be cut short is tried.
struct FileSystemCalls {
  int (*open)(const std::string& native_path, const char* mode, std::FILE** file);
  // Creates a file that must not exist yet, for writing (see AtomicFile::Open).
  int (*create)(const std::string& native_path, const std::string& native_target, bool text,
                std::FILE** file);
  int (*flush)(std::FILE* file);  // where buffered writes reach the system
  int (*sync)(std::FILE* file);
  int (*rename)(const std::string& native_from, const std::string& native_to);
  int (*remove)(const std::string& native_path);
  int (*make_directory)(const std::string& native_path);
  // Opens the lock file of FileLock::Acquire (a gate: the real call does nothing).
  int (*lock)(const std::string& native_path);
};
// Replaces the calls (null restores the real ones); answers the previous table.
FileSystemCalls SetFileSystemCallsForTesting(const FileSystemCalls* calls);

}  // namespace platform
