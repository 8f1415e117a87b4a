// The file layer on Windows: paths go to the system as they are; streams are
// opened non-inheritable so that a child started meanwhile does not keep a file
// open (which would make a later rename or removal fail).
#include <fcntl.h>
#include <io.h>
#include <process.h>
#include <sys/stat.h>
#include <windows.h>

#include <cerrno>
#include <cstdio>
#include <string>

#include "platform/files.h"
#include "platform/files_internal.h"
#include "platform/win32_errno.h"

namespace platform {

char PathSeparator() { return '\\'; }

std::string NativePath(const std::string& path) { return path; }

void FileCloser::operator()(std::FILE* file) const {
  if (file != nullptr) std::fclose(file);
}

File OpenFile(const std::string& path, const char* mode) {
  const std::string native_mode = std::string(mode) + "N";
  return File(std::fopen(path.c_str(), native_mode.c_str()));
}

bool FileExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool DirectoryExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

int RemoveFile(const std::string& path) {
  return DeleteFileA(path.c_str()) ? 0 : internal::LastErrno();
}

int MakeDirectory(const std::string& path) {
  return CreateDirectoryA(path.c_str(), nullptr) ? 0 : internal::LastErrno();
}

int RenameFile(const std::string& from, const std::string& to) {
  return internal::SystemRename(from, to);
}

namespace internal {

int CreateNewFile(const std::string& native_path, const std::string&, bool text, File* file) {
  const int fd = _open(native_path.c_str(),
                       _O_WRONLY | _O_CREAT | _O_EXCL | (text ? _O_TEXT : _O_BINARY) | _O_NOINHERIT,
                       _S_IREAD | _S_IWRITE);
  if (fd < 0) return errno;
  std::FILE* stream = _fdopen(fd, text ? "wt" : "wb");
  if (stream == nullptr) {
    const int error = errno;
    _close(fd);
    DeleteFileA(native_path.c_str());
    return error;
  }
  file->reset(stream);
  return 0;
}

unsigned long ProcessNumber() { return GetCurrentProcessId(); }

int SystemRename(const std::string& native_from, const std::string& native_to) {
  return MoveFileExA(native_from.c_str(), native_to.c_str(),
                     MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)
             ? 0
             : LastErrno();
}

int SystemSync(std::FILE* file) {
  const HANDLE handle = reinterpret_cast<HANDLE>(_get_osfhandle(_fileno(file)));
  if (handle == INVALID_HANDLE_VALUE) return EBADF;
  return FlushFileBuffers(handle) ? 0 : LastErrno();
}

}  // namespace internal
}  // namespace platform
