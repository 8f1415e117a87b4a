// Private files on Windows: the temporary file is created with a protected
// access list that grants the current user alone (nothing inherited from the
// directory), and published with MoveFileEx without MOVEFILE_REPLACE_EXISTING,
// which fails when the target exists.
#include <windows.h>

#include <atomic>
#include <cerrno>
#include <string>
#include <vector>

#include "platform/private_file.h"
#include "platform/system.h"
#include "platform/win32_errno.h"

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

// A security descriptor whose access list grants the current user every right
// and nobody else anything. It points into itself, so it stays where it is.
class OwnerOnly {
 public:
  OwnerOnly() = default;
  OwnerOnly(const OwnerOnly&) = delete;
  OwnerOnly& operator=(const OwnerOnly&) = delete;

  // 0 or an errno value.
  [[nodiscard]] int Build() {
    HANDLE raw_token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &raw_token)) {
      return internal::LastErrno();
    }
    const Handle token(raw_token);
    DWORD size = 0;
    (void)GetTokenInformation(token.get(), TokenUser, nullptr, 0, &size);
    user_.resize(size);
    if (size == 0 || !GetTokenInformation(token.get(), TokenUser, user_.data(), size, &size)) {
      return internal::LastErrno();
    }
    PSID sid = reinterpret_cast<TOKEN_USER*>(user_.data())->User.Sid;
    acl_.resize(sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + GetLengthSid(sid));
    auto* acl = reinterpret_cast<ACL*>(acl_.data());
    if (!InitializeAcl(acl, static_cast<DWORD>(acl_.size()), ACL_REVISION) ||
        !AddAccessAllowedAce(acl, ACL_REVISION, FILE_ALL_ACCESS, sid) ||
        !InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(&descriptor_, TRUE, acl, FALSE) ||
        !SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
      return internal::LastErrno();
    }
    attributes_ = {sizeof attributes_, &descriptor_, FALSE};
    return 0;
  }
  [[nodiscard]] SECURITY_ATTRIBUTES* attributes() { return &attributes_; }

 private:
  // Allocated blocks are aligned for any type, as the token information and
  // the list need.
  std::vector<unsigned char> user_;
  std::vector<unsigned char> acl_;
  SECURITY_DESCRIPTOR descriptor_ = {};
  SECURITY_ATTRIBUTES attributes_ = {};
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
  OwnerOnly security;
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

}  // namespace platform
