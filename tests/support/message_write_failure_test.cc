// A write that fails at once: the C library here reports a write to a stream
// opened for reading as failed straight away (others fail only when flushing).
#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <string>

#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

std::string Thread() { return "(" + std::to_string(platform::CurrentThreadId()) + ")"; }

class MessageWriteFailureTest : public ::testing::Test {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
};

TEST_F(MessageWriteFailureTest, AWriteThatFailsGoesToStandardErrorMarked) {
  const std::string path =
      (std::filesystem::temp_directory_path() / "sqxa_msg_readonly.txt").string();
  {
    std::FILE* create = std::fopen(path.c_str(), "w");
    ASSERT_NE(create, nullptr);
    std::fclose(create);
  }
  std::FILE* read_only = std::fopen(path.c_str(), "r");
  ASSERT_NE(read_only, nullptr);
  msg_set_output_for_testing(read_only);
  const Captured got = Capture([] { msg_write(nullptr, "vdbutil", 7, "w", "abc1234", "lost"); });
  msg_set_output_for_testing(nullptr);
  std::fclose(read_only);
  std::filesystem::remove(path);
  EXPECT_EQ(got.out, "");
  EXPECT_EQ(got.err, "+ ABC1234W VDBUTIL(7) " + Thread() + "lost\n");
}

}  // namespace
