// System facts, text formatting, named mutexes and child processes (the small
// program sqxa_test_child), alike on every backend.
#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/named_mutex.h"
#include "platform/process.h"
#include "platform/system.h"
#include "platform/text_format.h"

namespace platform {
namespace {

using Clock = std::chrono::steady_clock;

struct Result {
  int exit_code = -1;
  std::string out, err;
};

Result RunChild(const std::vector<std::string>& arguments, const std::string& input = "") {
  Result result;
  std::unique_ptr<Process> process = Process::Create(SQXA_TEST_CHILD, arguments);
  if (!process || !process->Start()) return {-2, "not started", ""};
  EXPECT_TRUE(input.empty() || process->WriteStdIn(input));
  process->CloseStdIn();
  EXPECT_TRUE(process->Wait(&result.exit_code));
  char buffer[1000];
  for (int n; (n = process->ReadStdOut(buffer, sizeof buffer)) > 0;) result.out.append(buffer, n);
  for (int n; (n = process->ReadStdErr(buffer, sizeof buffer)) > 0;) result.err.append(buffer, n);
  std::erase(result.out, '\r');  // line ends as the child's C runtime writes them
  return result;
}

// A short upper-case host name; thread ids that differ; ticks that follow a
// sleep, in steps of a system tick (about 16 ms on Windows), wrapping as the count.
TEST(System, FactsOfTheMachineAndProcess) {
  const std::string name = ComputerName();
  EXPECT_EQ(name.find_first_of(".abcdefghijklmnopqrstuvwxyz"), std::string::npos) << name;
  EXPECT_TRUE(!name.empty() && name.size() <= 15u) << name;
  EXPECT_NE(std::async(std::launch::async, CurrentThreadId).get(), CurrentThreadId());
  const std::string text = SystemErrorText(2);  // a missing file on every system
  EXPECT_TRUE(!text.empty() && text.back() != '\n' && text.back() != '\r') << text;
  const uint32_t start = TickCount();
  SleepMilliseconds(100);
  const uint32_t elapsed = TickCount() - start;
  EXPECT_TRUE(elapsed >= 70u && elapsed < 5000u) << elapsed;
}

// Waits on `mutex` from another thread and releases at once when acquired.
NamedMutex::WaitResult WaitElsewhere(NamedMutex& mutex, uint32_t timeout_ms) {
  return std::async(std::launch::async,
                    [&mutex, timeout_ms] {
                      const NamedMutex::WaitResult result = mutex.Wait(timeout_ms);
                      if (result == NamedMutex::kAcquired) mutex.Release();
                      return result;
                    })
      .get();
}

// The holding thread re-enters, through any object of the name; others wait
// until it has released as often as it acquired.
void FormatTo(std::string* text, const char* format, ...) SQXA_PRINTF(2, 3);
void FormatTo(std::string* text, const char* format, ...) {
  std::va_list args;
  va_start(args, format);
  vformat_to(text, format, args);
  va_end(args);
}

// The short way for "%s", "%d" and "%%" and the C library's way give the same
// text, also past the stack buffer that most lines fit in.
TEST(TextFormat, GivesTheCLibrarysText) {
  char expected[64];
  std::snprintf(expected, sizeof expected, "a%sb%dc%%d%s", "S", INT_MIN, "");
  EXPECT_EQ(format("a%sb%dc%%d%s", "S", INT_MIN, ""), expected);
  std::snprintf(expected, sizeof expected, "%5.2f|%x|%s|%c", 3.14159, 255u, "t", 'q');
  EXPECT_EQ(format("%5.2f|%x|%s|%c", 3.14159, 255u, "t", 'q'), expected);
  const std::string long_text(600, 'x');
  EXPECT_EQ(format("%s%d", long_text.c_str(), 7), long_text + "7");
  EXPECT_EQ(format("%s%x", long_text.c_str(), 255u), long_text + "ff");
  std::string reused(1000, 'y');  // a writer's buffer, holding an older line
  FormatTo(&reused, "%d", 12);
  EXPECT_EQ(reused, "12");
}

TEST(NamedMutex, ObjectsOfOneNameAreOneReentrantMutex) {
  // Where a mutex is a lock file in the temporary directory, the files of the
  // test go with its scratch directory. Names carry the process id, so that
  // runs at the same time do not meet.
  sqxa_test::ScratchDir dir;
  sqxa_test::ScopedEnv tmpdir("TMPDIR", dir.path().string());
  const auto Create = [](const std::string& name) {
    return NamedMutex::Create(name + " " + std::to_string(CurrentProcessId()));
  };
  auto first = Create("shared: /*?"), second = Create("shared: /*?"), other = Create("other");
  ASSERT_TRUE(first && second && other);
  ASSERT_EQ(first->Wait(0), NamedMutex::kAcquired);
  EXPECT_EQ(second->Wait(0), NamedMutex::kAcquired);
  const auto start = Clock::now();
  EXPECT_EQ(WaitElsewhere(*first, 100), NamedMutex::kTimeout);
  EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(90));
  EXPECT_EQ(WaitElsewhere(*other, 0), NamedMutex::kAcquired);
  second->Release();
  EXPECT_EQ(WaitElsewhere(*second, 0), NamedMutex::kTimeout);
  first->Release();
  // A thread that ends holding it leaves it abandoned: told once, to the next owner.
  std::thread([&first] { ASSERT_EQ(first->Wait(0), NamedMutex::kAcquired); }).join();
  EXPECT_EQ(second->Wait(1000), NamedMutex::kAbandoned);
  EXPECT_EQ(WaitElsewhere(*second, 0), NamedMutex::kTimeout);
  // A waiter gets it when it is released.
  auto waiter = std::async(std::launch::async, [&second] { return WaitElsewhere(*second, 10000); });
  std::this_thread::sleep_for(std::chrono::milliseconds(100));
  second->Release();
  EXPECT_EQ(waiter.get(), NamedMutex::kAcquired);
}

// Arguments are quoted for the command line of Windows and arrive intact. More
// than a pipe holds passes in and out on both streams without a deadlock; a
// write to a child that does not read fails once it has gone. What cannot run
// does not start.
TEST(Process, ChildrenGetArgumentsAndInputAndGiveBackOutputAndExitCode) {
  std::vector<std::string> command = {"args"};
  std::string expected;
  for (const char* argument :
       {"plain", "with blank", "", "quote\"inside", "\"quoted\"", "trailing\\", "back\\\\slash",
        "C:\\Program Files\\x\\", "a\\\"b", "tab\there", "%PATH%"}) {
    command.push_back(argument);
    expected += argument + std::string("\n");
  }
  EXPECT_EQ(RunChild(command).out, expected);
  EXPECT_EQ(RunChild({"exit", "255"}).exit_code, 255);

  const size_t size = 10 * 1024 * 1024;
  const Result flood = RunChild({"flood", std::to_string(size)});
  EXPECT_EQ(flood.exit_code, 0);
  EXPECT_EQ(flood.out, std::string(size, 'x'));
  EXPECT_EQ(flood.err.size(), size);
  std::string input;
  for (int i = 0; i < 20000; ++i) input += "line " + std::to_string(i) + ";";
  EXPECT_EQ(RunChild({"echo"}, input).out, input);
  std::unique_ptr<Process> deaf = Process::Create(SQXA_TEST_CHILD, {"exit", "0"});
  ASSERT_TRUE(deaf->Start());
  EXPECT_FALSE(deaf->WriteStdIn(std::string(8 * 1024 * 1024, 'x')));
  int code = -1;
  EXPECT_TRUE(deaf->Wait(&code) && code == 0);

  sqxa_test::ScratchDir dir;
  ASSERT_EQ(ReplaceFileContents(dir.File("text.exe"), "just text\n"), 0);
  for (const std::string& program : {dir.File("missing.exe"), dir.File("text.exe")}) {
    std::unique_ptr<Process> process = Process::Create(program, {});
    EXPECT_FALSE(process->Start() || process->Wait(&code) || process->WriteStdIn("x")) << program;
  }
}

}  // namespace
}  // namespace platform
