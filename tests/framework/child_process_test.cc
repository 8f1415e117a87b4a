#include <gtest/gtest.h>

#include <string>

#include "common/line_ends.h"
#include "framework/child_process.h"

namespace {

std::string Drain(VFW::Process::OutputPipe& pipe) {
  std::string text;
  char chunk[1024];
  for (int n; (n = pipe.read(chunk, sizeof chunk)) > 0;) text.append(chunk, static_cast<size_t>(n));
  return sqxa_test::WithLf(text);
}

// The wrapper's own part: which pipe is which, the exit code handed on, and a
// program that cannot start. The platform process tests cover the rest.
TEST(ChildProcessTest, FeedsInputHandsBackOutputAndTheExitCode) {
  VFW::Process child(SQXA_TEST_CHILD, {"echo"});
  ASSERT_TRUE(child.start());
  ASSERT_TRUE(child.getStdIn().write("line one\nline two\n"));
  child.getStdIn().close();
  int exit_code = -1;
  ASSERT_TRUE(child.wait(&exit_code));
  EXPECT_EQ(exit_code, 0);
  EXPECT_EQ(Drain(child.getStdOut()), "line one\nline two\n");
  EXPECT_EQ(Drain(child.getStdErr()), "");

  VFW::Process failing(SQXA_TEST_CHILD, {"exit", "7"});
  ASSERT_TRUE(failing.start());
  failing.getStdIn().close();
  ASSERT_TRUE(failing.wait(&exit_code));
  EXPECT_EQ(exit_code, 7);

  VFW::Process missing("no_such_directory/no_such_program", {});
  EXPECT_FALSE(missing.start());
  char byte;
  EXPECT_LE(missing.getStdOut().read(&byte, 1), 0);
}

}  // namespace
