// Private files on Windows: the temporary file is created with a protected
// access list that grants the current user alone (nothing inherited from the
// directory), and published with MoveFileEx without MOVEFILE_REPLACE_EXISTING,
// which fails when the target exists.
#include <windows.h>
// <aclapi.h> needs the types of <windows.h>.
#include <aclapi.h>
#include <fcntl.h>
#include <io.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "platform/private_file.h"
#include "platform/system.h"
#include "platform/win32_errno.h"
#include "platform/win32_owner_only.h"

namespace platform {
namespace {

class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  ~Handle() {
    if (valid()) CloseHandle(handle_);
  }
  [[nodiscard]] bool valid() const { return handle_ != nullptr && handle_ != INVALID_HANDLE_VALUE; }
  [[nodiscard]] HANDLE get() const { return handle_; }
  // Closes now; false when closing reports a failure.
  [[nodiscard]] bool Close() {
    const HANDLE handle = handle_;
    handle_ = nullptr;
    return CloseHandle(handle) != 0;
  }

 private:
  HANDLE handle_;
};

int WriteAll(HANDLE file, std::string_view contents) {
  while (!contents.empty()) {
    const DWORD chunk =
        contents.size() > 0x40000000 ? 0x40000000 : static_cast<DWORD>(contents.size());
    DWORD written = 0;
    if (!WriteFile(file, contents.data(), chunk, &written, nullptr)) return internal::LastErrno();
    contents.remove_prefix(written);
  }
  return 0;
}

}  // namespace

int CreatePrivateFile(const std::string& path, std::string_view contents) {
  static std::atomic<unsigned> counter{0};
  internal::OwnerOnly security;
  const int built = security.Build();
  if (built != 0) return built;
  const std::string prefix = path + ".sqxa-" + std::to_string(CurrentProcessId()) + "-";
  for (int attempt = 0; attempt < 100; ++attempt) {
    const std::string temporary = prefix + std::to_string(counter.fetch_add(1)) + ".tmp";
    Handle file(CreateFileA(temporary.c_str(), GENERIC_WRITE, 0, security.attributes(), CREATE_NEW,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
    if (!file.valid()) {
      const DWORD error = GetLastError();
      if (error == ERROR_FILE_EXISTS || error == ERROR_ALREADY_EXISTS) continue;
      return internal::ErrnoFromWin32(error);
    }
    int status = WriteAll(file.get(), contents);
    if (status == 0 && !FlushFileBuffers(file.get())) status = internal::LastErrno();
    if (!file.Close() && status == 0) status = internal::LastErrno();
    if (status == 0 && !MoveFileExA(temporary.c_str(), path.c_str(), MOVEFILE_WRITE_THROUGH)) {
      status = internal::LastErrno();
    }
    if (status != 0) DeleteFileA(temporary.c_str());
    return status;
  }
  return EAGAIN;  // only stale temporaries, not the target, took the names
}

int CheckPrivateFile(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return internal::LastErrno();
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return EISDIR;
  internal::OwnerOnly current;
  if (const int built = current.Build(); built != 0) return built;
  PSID owner = nullptr;
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR raw = nullptr;
  const DWORD got = GetNamedSecurityInfoA(path.c_str(), SE_FILE_OBJECT,
                                          OWNER_SECURITY_INFORMATION | DACL_SECURITY_INFORMATION,
                                          &owner, nullptr, &dacl, nullptr, &raw);
  if (got != ERROR_SUCCESS) return internal::ErrnoFromWin32(got);
  int status = dacl == nullptr ? EPERM : 0;  // no list at all: open to everybody
  for (DWORD i = 0; status == 0 && i < dacl->AceCount; ++i) {
    void* ace = nullptr;
    if (!GetAce(dacl, i, &ace)) {
      status = internal::LastErrno();
      break;
    }
    const auto* allowed = static_cast<const ACCESS_ALLOWED_ACE*>(ace);
    if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
    const PSID sid = const_cast<DWORD*>(&allowed->SidStart);
    const bool trusted = (owner != nullptr && EqualSid(sid, owner)) ||
                         EqualSid(sid, current.user()) || IsWellKnownSid(sid, WinLocalSystemSid) ||
                         IsWellKnownSid(sid, WinBuiltinAdministratorsSid);
    if (!trusted) status = EPERM;
  }
  LocalFree(raw);
  return status;
}

int OpenPrivateLog(const std::string& path, File* file) {
  internal::OwnerOnly security;
  if (const int built = security.Build(); built != 0) return built;
  HANDLE handle = nullptr;
  if (const int status = internal::OpenNotFollowing(path, FILE_APPEND_DATA | SYNCHRONIZE,
                                                    security.attributes(), &handle);
      status != 0) {
    return status;
  }
  const int fd = _open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_APPEND | _O_TEXT);
  if (fd < 0) {
    CloseHandle(handle);
    return EMFILE;
  }
  std::FILE* stream = _fdopen(fd, "a");
  if (stream == nullptr) {
    _close(fd);
    return EMFILE;
  }
  file->reset(stream);
  return 0;
}

}  // namespace platform
