// On Windows a private file's access list grants nobody but the current user.
#include <windows.h>
// <aclapi.h> needs the types of <windows.h>.
#include <aclapi.h>

#include <memory>

#include "crypto/key_home.h"

namespace sqxa_test {

// Windows keeps the access list given at creation: the owner alone. Wine keeps
// a file mode and reports a list made from it: the owner and SYSTEM, plus
// everybody when the file is readable by all. Either way nobody else may read.
void ExpectCreatedPrivate(const std::function<void()>& create, const std::string& path) {
  create();
  HANDLE token = nullptr;
  ASSERT_TRUE(OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token));
  alignas(TOKEN_USER) unsigned char user[512];
  DWORD size = 0;
  const bool got = GetTokenInformation(token, TokenUser, user, sizeof user, &size);
  CloseHandle(token);
  ASSERT_TRUE(got);
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR raw = nullptr;
  ASSERT_EQ(GetNamedSecurityInfoA(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &dacl, nullptr, &raw),
            static_cast<DWORD>(ERROR_SUCCESS))
      << path;
  const std::unique_ptr<void, HLOCAL (*)(HLOCAL)> descriptor(raw, LocalFree);
  ASSERT_NE(dacl, nullptr) << "no access list: open to everybody";
  for (DWORD i = 0; i < dacl->AceCount; ++i) {
    void* ace = nullptr;
    ASSERT_TRUE(GetAce(dacl, i, &ace));
    auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
    if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
    PSID sid = &allowed->SidStart;
    EXPECT_TRUE(EqualSid(sid, reinterpret_cast<TOKEN_USER*>(user)->User.Sid) ||
                IsWellKnownSid(sid, WinLocalSystemSid))
        << path << ": entry " << i << " grants somebody else";
  }
}

}  // namespace sqxa_test
