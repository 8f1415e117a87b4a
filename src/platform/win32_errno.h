// Win32 error codes as the errno values the platform seam answers with.
// Included only by Win32 backends.
#pragma once

#include <windows.h>

#include <cerrno>

namespace platform::internal {

inline int ErrnoFromWin32(DWORD error) {
  switch (error) {
    case ERROR_SUCCESS:
      return 0;
    case ERROR_FILE_NOT_FOUND:
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_DRIVE:
    case ERROR_BAD_NETPATH:
    case ERROR_BAD_NET_NAME:
      return ENOENT;
    case ERROR_ALREADY_EXISTS:
    case ERROR_FILE_EXISTS:
      return EEXIST;
    case ERROR_ACCESS_DENIED:
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
    case ERROR_WRITE_PROTECT:
      return EACCES;
    case ERROR_TOO_MANY_OPEN_FILES:
      return EMFILE;
    case ERROR_NOT_ENOUGH_MEMORY:
    case ERROR_OUTOFMEMORY:
      return ENOMEM;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return ENOSPC;
    case ERROR_INVALID_NAME:
    case ERROR_INVALID_PARAMETER:
      return EINVAL;
    case ERROR_DIR_NOT_EMPTY:
      return ENOTEMPTY;
    case ERROR_NOT_SAME_DEVICE:
      return EXDEV;
    case ERROR_FILENAME_EXCED_RANGE:
      return ENAMETOOLONG;
    case ERROR_BROKEN_PIPE:
    case ERROR_NO_DATA:
      return EPIPE;
    default:
      return EIO;
  }
}

inline int LastErrno() { return ErrnoFromWin32(GetLastError()); }

}  // namespace platform::internal
