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
#include <vector>

#include "platform/files.h"
#include "platform/files_internal.h"
#include "platform/win32_errno.h"

namespace platform {

char PathSeparator() { return '\\'; }

std::string NativePath(const std::string& path) { return path; }

void FileCloser::operator()(std::FILE* file) const {
  if (file != nullptr) std::fclose(file);
}

bool FileExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool DirectoryExists(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

// Renames are written through (MOVEFILE_WRITE_THROUGH): nothing is left to sync.
void SyncChangedDirectories() {}

namespace internal {

int SystemOpen(const std::string& native_path, const char* mode, std::FILE** file) {
  // "N": not inherited, so a child started meanwhile does not keep the file open.
  const std::string native_mode = std::string(mode) + "N";
  *file = std::fopen(native_path.c_str(), native_mode.c_str());
  return *file != nullptr ? 0 : (errno != 0 ? errno : EIO);
}

int SystemCreate(const std::string& native_path, const std::string&, bool text, std::FILE** file) {
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
  *file = stream;
  return 0;
}

// The file takes the directory's access list, as the file it replaces did.
int SystemFinish(std::FILE*, const std::string&) { return 0; }

int SystemRemove(const std::string& native_path) {
  return DeleteFileA(native_path.c_str()) ? 0 : LastErrno();
}

int SystemMakeDirectory(const std::string& native_path) {
  return CreateDirectoryA(native_path.c_str(), nullptr) ? 0 : LastErrno();
}

int SystemListDirectory(const std::string& native_path, std::vector<std::string>* names) {
  WIN32_FIND_DATAA found;
  const HANDLE search = FindFirstFileA((native_path + "\\*").c_str(), &found);
  if (search == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND ? 0 : ErrnoFromWin32(error);
  }
  do {
    const std::string name = found.cFileName;
    if (name != "." && name != "..") names->push_back(name);
  } while (FindNextFileA(search, &found));
  const DWORD error = GetLastError();
  FindClose(search);
  return error == ERROR_NO_MORE_FILES ? 0 : ErrnoFromWin32(error);
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
