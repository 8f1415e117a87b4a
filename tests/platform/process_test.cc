// Behaviour of child processes, the same on every backend, against the small
// program sqxa_test_child.
#include "platform/process.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"

namespace platform {
namespace {

struct Result {
  bool started = false;
  int exit_code = -1;
  std::string out, err;
};

Result RunChild(const std::vector<std::string>& arguments, const std::string& input = "") {
  Result result;
  std::unique_ptr<Process> process = Process::Create(SQXA_TEST_CHILD, arguments);
  if (!process || !(result.started = process->Start())) return result;
  EXPECT_TRUE(input.empty() || process->WriteStdIn(input));
  process->CloseStdIn();
  EXPECT_TRUE(process->Wait(&result.exit_code));
  char buffer[1000];
  for (int n; (n = process->ReadStdOut(buffer, sizeof buffer)) > 0;) result.out.append(buffer, n);
  for (int n; (n = process->ReadStdErr(buffer, sizeof buffer)) > 0;) result.err.append(buffer, n);
  std::erase(result.out, '\r');  // line ends as the child's C runtime writes them
  return result;
}

// Arguments are quoted for the command line of Windows and arrive intact.
TEST(Process, ExitCodeArgumentsAndEnvironmentArrive) {
  EXPECT_EQ(RunChild({"exit", "255"}).exit_code, 255);
  const std::vector<std::string> arguments = {"plain",
                                              "with blank",
                                              "",
                                              "quote\"inside",
                                              "\"quoted\"",
                                              "trailing\\",
                                              "back\\\\slash",
                                              "C:\\Program Files\\x\\",
                                              "a\\\"b",
                                              "tab\there",
                                              "%PATH%"};
  std::vector<std::string> command = {"args"};
  std::string expected;
  for (const std::string& argument : arguments) {
    command.push_back(argument);
    expected += argument + "\n";
  }
  const Result result = RunChild(command);
  ASSERT_TRUE(result.started);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.out, expected);

  sqxa_test::ScopedEnv set("SQXA_PROCESS_TEST", "inherited value");
  EXPECT_EQ(RunChild({"env", "SQXA_PROCESS_TEST"}).out, "inherited value");
}

// More than a pipe holds, in and out on both streams, without a deadlock.
TEST(Process, FloodsAndLargeInputPassWhole) {
  const size_t size = 10 * 1024 * 1024;
  const Result flood = RunChild({"flood", std::to_string(size)});
  EXPECT_EQ(flood.exit_code, 0);
  EXPECT_EQ(flood.out, std::string(size, 'x'));
  EXPECT_EQ(flood.err.size(), size);
  std::string input;
  for (int i = 0; i < 20000; ++i) input += "line " + std::to_string(i) + ";";
  EXPECT_EQ(RunChild({"echo"}, input).out, input);
}

TEST(Process, ProgramsThatCannotRunDoNotStart) {
  sqxa_test::ScratchDir dir;
  const std::string not_a_program = dir.File("not_a_program.exe");
  ASSERT_EQ(ReplaceFileContents(not_a_program, "just text\n"), 0);
  for (const std::string& program : {dir.File("missing.exe"), not_a_program}) {
    std::unique_ptr<Process> process = Process::Create(program, {});
    ASSERT_TRUE(process != nullptr);
    EXPECT_FALSE(process->Start()) << program;
    int code = 0;
    EXPECT_FALSE(process->Wait(&code) || process->WriteStdIn("x"));
  }
}

TEST(Process, WritingToAChildThatDoesNotReadFailsInsteadOfHanging) {
  std::unique_ptr<Process> process = Process::Create(SQXA_TEST_CHILD, {"exit", "0"});
  ASSERT_TRUE(process->Start());
  // More than any pipe holds: the write can only end when the child has gone.
  EXPECT_FALSE(process->WriteStdIn(std::string(8 * 1024 * 1024, 'x')));
  int code = -1;
  EXPECT_TRUE(process->Wait(&code));
  EXPECT_EQ(code, 0);
}

}  // namespace
}  // namespace platform
