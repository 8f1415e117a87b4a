// A product home of its own for each test, without MARLOX_KEYFILE: the key file
// is <home>keyfiles\default.key, created by the test's first encryption.
#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <string_view>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "crypto/key_file_cipher.h"
#include "platform/files.h"
#include "platform/private_file.h"

namespace sqxa_test {

// Runs `create`, which makes the file `path`, and expects nobody but the current
// user to have access to it (key_file_mode.cc natively, key_file_acl.cc on Windows).
void ExpectCreatedPrivate(const std::function<void()>& create, const std::string& path);

inline std::string Contents(const std::string& path) {
  std::string contents;
  return platform::ReadFileContents(path, &contents) == 0 ? contents : "<unreadable>";
}

class KeyHomeTest : public ::testing::Test {
 protected:
  std::string KeyFile(const std::string& name = "default") const {
    return (home_.path() / "keyfiles" / (name + ".key")).string();
  }
  // Puts `contents` in place as the key file `path`, private as the cipher wants it.
  static void WritePrivate(const std::string& path, const std::string& contents) {
    (void)platform::RemoveFile(path);
    ASSERT_EQ(platform::CreatePrivateFile(path, contents), 0) << path;
  }

  ScratchDir home_;
  ScopedEnv home_env_{"MARLOX_HOME", home_.path().string()};
  ScopedEnv key_file_env_{"MARLOX_KEYFILE", std::nullopt};
};

// CRY_Encrypt and CRY_Decrypt with strings; the status goes to *status.
inline std::string Encrypt(std::string_view clear, int* status, const char* key = "default") {
  char* result = nullptr;
  int length = -1;
  *status = CRY_Encrypt(clear.data(), static_cast<int>(clear.size()), &result, &length, key, key);
  std::string text = result != nullptr ? std::string(result, length) : std::string();
  CRY_Free(result);
  return text;
}

inline std::string Decrypt(std::string_view text, int* status) {
  char* result = nullptr;
  int length = -1;
  *status = CRY_Decrypt(text.data(), static_cast<int>(text.size()), &result, &length);
  std::string clear;
  if (result != nullptr) {
    EXPECT_EQ(result[length], '\0');
    clear.assign(result, length);
  } else {
    EXPECT_EQ(length, 0);
  }
  CRY_Free(result);
  return clear;
}

}  // namespace sqxa_test
