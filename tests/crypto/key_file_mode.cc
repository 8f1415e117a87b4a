// Natively a private file is one of mode 0600, whatever the umask.
#include <sys/stat.h>

#include "crypto/key_home.h"

namespace sqxa_test {

void ExpectCreatedPrivate(const std::function<void()>& create, const std::string& path) {
  const mode_t saved = umask(0);  // the most permissive setting a user can have
  create();
  umask(saved);
  struct stat info {};
  ASSERT_EQ(stat(path.c_str(), &info), 0) << path;
  EXPECT_EQ(info.st_mode & 07777, 0600u) << path;
}

}  // namespace sqxa_test
