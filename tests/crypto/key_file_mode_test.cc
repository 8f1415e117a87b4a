// Key files are private from the moment they exist, whatever the umask.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>

#include "crypto/key_home.h"
#include "platform/files.h"
#include "platform/private_file.h"
#include "platform/system.h"

namespace {

class KeyFileModeTest : public sqxa_test::KeyHomeTest {
 protected:
  void SetUp() override {
    KeyHomeTest::SetUp();
    saved_ = umask(0);  // the most permissive setting a user can have
  }
  void TearDown() override {
    umask(saved_);
    KeyHomeTest::TearDown();
  }
  static mode_t Mode(const std::string& path) {
    struct stat info;
    return stat(path.c_str(), &info) == 0 ? info.st_mode & 07777 : 07777;
  }
  mode_t saved_ = 0;
};

TEST_F(KeyFileModeTest, CreatedKeyFilesAreOwnerOnly) {
  int status = -1;
  (void)sqxa_test::Encrypt("x", &status);
  ASSERT_EQ(status, CRY_OK);
  EXPECT_EQ(Mode(KeyFile()), 0600u);

  sqxa_test::ScopedEnv named("MARLOX_KEYFILE", home_.File("named.key"));
  (void)sqxa_test::Encrypt("x", &status);
  ASSERT_EQ(status, CRY_OK);
  EXPECT_EQ(Mode(home_.File("named.key")), 0600u);
}

}  // namespace
