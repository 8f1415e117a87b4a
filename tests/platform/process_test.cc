// Behaviour of child processes, the same on every backend, against the small
// program sqxa_test_child.
#include "platform/process.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/system.h"

namespace platform {
namespace {

struct Result {
  bool started = false;
  int exit_code = -1;
  std::string out;
  std::string err;
};

std::string ReadAll(Process& process, bool errors) {
  std::string text;
  char buffer[1000];
  int count;
  while ((count = errors ? process.ReadStdErr(buffer, sizeof buffer)
                         : process.ReadStdOut(buffer, sizeof buffer)) > 0) {
    text.append(buffer, static_cast<size_t>(count));
  }
  return text;
}

// Line ends as the child's C runtime writes them; compared as LF.
std::string WithoutCr(std::string text) {
  std::erase(text, '\r');
  return text;
}

Result RunChild(const std::vector<std::string>& arguments, const std::string& input = "") {
  Result result;
  std::unique_ptr<Process> process = Process::Create(SQXA_TEST_CHILD, arguments);
  if (!process || !(result.started = process->Start())) return result;
  if (!input.empty()) {
    EXPECT_TRUE(process->WriteStdIn(input));
  }
  process->CloseStdIn();
  EXPECT_TRUE(process->Wait(&result.exit_code));
  result.out = ReadAll(*process, false);
  result.err = ReadAll(*process, true);
  return result;
}

TEST(Process, ReportsTheExitCode) {
  for (int code : {0, 3, 255}) {
    const Result result = RunChild({"exit", std::to_string(code)});
    ASSERT_TRUE(result.started);
    EXPECT_EQ(result.exit_code, code);
    EXPECT_EQ(result.out, "");
  }
}

TEST(Process, CollectsFloodsOnBothStreams) {
  const long size = 10 * 1024 * 1024;
  const Result result = RunChild({"flood", std::to_string(size)});
  ASSERT_TRUE(result.started);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.out.size(), static_cast<size_t>(size));
  EXPECT_EQ(result.err.size(), static_cast<size_t>(size));
  EXPECT_EQ(result.out.find_first_not_of('x'), std::string::npos);
}

TEST(Process, PassesStandardInput) {
  std::string input;  // more than a pipe holds
  for (int i = 0; i < 20000; ++i) input += "line " + std::to_string(i) + ";";
  const Result result = RunChild({"echo"}, input);
  ASSERT_TRUE(result.started);
  EXPECT_EQ(result.exit_code, 0);
  EXPECT_EQ(result.out, input);
}

TEST(Process, ArgumentsArriveIntact) {
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
  command.insert(command.end(), arguments.begin(), arguments.end());
  const Result result = RunChild(command);
  ASSERT_TRUE(result.started);
  std::string expected;
  for (const std::string& argument : arguments) expected += argument + "\n";
  EXPECT_EQ(WithoutCr(result.out), expected);
}

TEST(Process, ChildrenInheritTheEnvironmentSet) {
  sqxa_test::ScopedEnv set("SQXA_PROCESS_TEST", "inherited value");
  const Result result = RunChild({"env", "SQXA_PROCESS_TEST"});
  ASSERT_TRUE(result.started);
  EXPECT_EQ(result.out, "inherited value");
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
    EXPECT_FALSE(process->Wait(&code));
    EXPECT_FALSE(process->WriteStdIn("x"));
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
