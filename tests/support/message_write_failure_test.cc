// A write that fails at once: the C library here reports a write to a stream
// opened for reading as failed straight away (others fail only when flushing).
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "common/scratch_dir.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

TEST(MessageWriteFailureTest, AWriteThatFailsGoesToStandardErrorMarked) {
  msg_reset_for_testing();
  sqxa_test::ScratchDir dir;
  const std::string path = dir.File("readonly.txt");
  std::fclose(std::fopen(path.c_str(), "w"));
  std::FILE* read_only = std::fopen(path.c_str(), "r");
  ASSERT_NE(read_only, nullptr);
  msg_set_output_for_testing(read_only);
  const Captured got = Capture([] { msg_write(nullptr, "vdbutil", 7, "w", "abc1234", "lost"); });
  msg_set_output_for_testing(nullptr);
  std::fclose(read_only);
  msg_reset_for_testing();
  EXPECT_EQ(got.out, "");
  EXPECT_EQ(got.err,
            "+ ABC1234W VDBUTIL(7) (" + std::to_string(platform::CurrentThreadId()) + ")lost\n");
}

}  // namespace
