// Key files are private from the moment they exist: their access list grants
// nobody but the current user.
#include <windows.h>
// <aclapi.h> needs the types of <windows.h>.
#include <aclapi.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "crypto/key_home.h"
#include "platform/system.h"

namespace {

struct LocalFreer {
  void operator()(void* block) const { LocalFree(block); }
};

// The current user's SID, in storage of its own.
std::vector<unsigned char> CurrentUser() {
  HANDLE token = nullptr;
  if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  DWORD size = 0;
  (void)GetTokenInformation(token, TokenUser, nullptr, 0, &size);
  std::vector<unsigned char> user(size);
  const bool got = size != 0 && GetTokenInformation(token, TokenUser, user.data(), size, &size);
  CloseHandle(token);
  if (!got) return {};
  PSID sid = reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid;
  const auto* bytes = static_cast<const unsigned char*>(sid);
  return std::vector<unsigned char>(bytes, bytes + GetLengthSid(sid));
}

// Windows keeps the access list given at creation: the owner alone. Wine keeps
// a file mode and reports a list made from it: the owner and SYSTEM, plus
// everybody when the file is readable by all. Either way nobody else may read.
void ExpectPrivate(const std::string& path) {
  PACL dacl = nullptr;
  PSECURITY_DESCRIPTOR raw = nullptr;
  ASSERT_EQ(GetNamedSecurityInfoA(path.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION, nullptr,
                                  nullptr, &dacl, nullptr, &raw),
            static_cast<DWORD>(ERROR_SUCCESS))
      << path;
  const std::unique_ptr<void, LocalFreer> descriptor(raw);
  ASSERT_NE(dacl, nullptr) << "no access list: open to everybody";
  std::vector<unsigned char> user = CurrentUser();
  ASSERT_FALSE(user.empty());
  for (DWORD i = 0; i < dacl->AceCount; ++i) {
    void* ace = nullptr;
    ASSERT_TRUE(GetAce(dacl, i, &ace));
    auto* allowed = static_cast<ACCESS_ALLOWED_ACE*>(ace);
    if (allowed->Header.AceType != ACCESS_ALLOWED_ACE_TYPE) continue;
    PSID sid = &allowed->SidStart;
    EXPECT_TRUE(EqualSid(sid, user.data()) || IsWellKnownSid(sid, WinLocalSystemSid))
        << path << ": entry " << i << " grants somebody else";
  }
}

class KeyFileAclTest : public sqxa_test::KeyHomeTest {};

TEST_F(KeyFileAclTest, CreatedKeyFilesAreOpenToNobodyElse) {
  int status = -1;
  (void)sqxa_test::Encrypt("x", &status);
  ASSERT_EQ(status, CRY_OK);
  ExpectPrivate(KeyFile());

  sqxa_test::ScopedEnv named("MARLOX_KEYFILE", home_.File("named.key"));
  (void)sqxa_test::Encrypt("x", &status);
  ASSERT_EQ(status, CRY_OK);
  ExpectPrivate(home_.File("named.key"));
}

}  // namespace
