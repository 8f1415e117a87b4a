// Files that only their creator may open, and files never opened through a
// link planted in their place. Included only by Win32 backends.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

#include "platform/win32_errno.h"

namespace platform::internal {

// A security descriptor whose access list grants the current user every right
// and nobody else anything. It points into itself, so it stays where it is.
class OwnerOnly {
 public:
  OwnerOnly() = default;
  OwnerOnly(const OwnerOnly&) = delete;
  OwnerOnly& operator=(const OwnerOnly&) = delete;

  // 0 or an errno value.
  [[nodiscard]] int Build() {
    HANDLE token = nullptr;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return LastErrno();
    DWORD size = 0;
    (void)GetTokenInformation(token, TokenUser, nullptr, 0, &size);
    user_.resize(size);
    const bool got = size != 0 && GetTokenInformation(token, TokenUser, user_.data(), size, &size);
    const int status = got ? 0 : LastErrno();
    CloseHandle(token);
    if (!got) return status;
    PSID sid = reinterpret_cast<TOKEN_USER*>(user_.data())->User.Sid;
    acl_.resize(sizeof(ACL) + sizeof(ACCESS_ALLOWED_ACE) + GetLengthSid(sid));
    auto* acl = reinterpret_cast<ACL*>(acl_.data());
    if (!InitializeAcl(acl, static_cast<DWORD>(acl_.size()), ACL_REVISION) ||
        !AddAccessAllowedAce(acl, ACL_REVISION, FILE_ALL_ACCESS, sid) ||
        !InitializeSecurityDescriptor(&descriptor_, SECURITY_DESCRIPTOR_REVISION) ||
        !SetSecurityDescriptorDacl(&descriptor_, TRUE, acl, FALSE) ||
        !SetSecurityDescriptorControl(&descriptor_, SE_DACL_PROTECTED, SE_DACL_PROTECTED)) {
      return LastErrno();
    }
    attributes_ = {sizeof attributes_, &descriptor_, FALSE};
    return 0;
  }
  [[nodiscard]] SECURITY_ATTRIBUTES* attributes() { return &attributes_; }
  // After Build: the current user.
  [[nodiscard]] PSID user() const {
    return reinterpret_cast<const TOKEN_USER*>(user_.data())->User.Sid;
  }

 private:
  // Allocated blocks are aligned for any type, as the token information and
  // the list need.
  std::vector<unsigned char> user_;
  std::vector<unsigned char> acl_;
  SECURITY_DESCRIPTOR descriptor_ = {};
  SECURITY_ATTRIBUTES attributes_ = {};
};

// Opens `path` (creating it when missing, with `security` when given) as
// itself, not as what a reparse point there (a symbolic link, a junction)
// names; a reparse point or a directory is refused with ELOOP. 0 with the
// handle in `file`, or an errno value.
[[nodiscard]] inline int OpenNotFollowing(const std::string& path, DWORD access,
                                          SECURITY_ATTRIBUTES* security, HANDLE* file) {
  const HANDLE handle =
      CreateFileA(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, security, OPEN_ALWAYS,
                  FILE_ATTRIBUTE_NORMAL | FILE_FLAG_OPEN_REPARSE_POINT, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return LastErrno();
  BY_HANDLE_FILE_INFORMATION information;
  if (!GetFileInformationByHandle(handle, &information) ||
      (information.dwFileAttributes & (FILE_ATTRIBUTE_REPARSE_POINT | FILE_ATTRIBUTE_DIRECTORY)) !=
          0) {
    CloseHandle(handle);
    return ELOOP;
  }
  *file = handle;
  return 0;
}

}  // namespace platform::internal
