// Behaviour of the system facts and of formatting, the same on every backend.
#include "platform/system.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>

#include "common/scopes.h"
#include "platform/text_format.h"

namespace platform {
namespace {

TEST(System, FactsOfTheMachineAndProcess) {
  const std::string name = ComputerName();  // a short upper-case host name
  EXPECT_EQ(name.find_first_of(".abcdefghijklmnopqrstuvwxyz"), std::string::npos) << name;
  EXPECT_TRUE(!name.empty() && name.size() <= 15u) << name;
  EXPECT_EQ(CurrentDirectory(), std::filesystem::current_path().string());
  EXPECT_GT(GetOsVersion().major, 0u);
  const std::string text = SystemErrorText(2);  // a missing file on every system
  EXPECT_TRUE(!text.empty() && text.back() != '\n' && text.back() != '\r') << text;
  const auto [thread, process] = std::async(std::launch::async, [] {
                                   return std::make_pair(CurrentThreadId(), CurrentProcessId());
                                 }).get();
  EXPECT_NE(thread, CurrentThreadId());
  EXPECT_EQ(process, CurrentProcessId());

  const uint32_t start = TickCount();
  SleepMilliseconds(100);
  // The count may move in steps of a system tick (about 16 ms on Windows).
  const uint32_t elapsed = TickCount() - start;  // wraps like the count itself
  EXPECT_TRUE(elapsed >= 70u && elapsed < 5000u) << elapsed;
}

TEST(System, EnvironmentIsSeenByTheRuntime) {
  sqxa_test::ScopedEnv restored("SQXA_SYSTEM_TEST", std::nullopt);
  ASSERT_TRUE(SetEnvironment("SQXA_SYSTEM_TEST", "first") &&
              SetEnvironment("SQXA_SYSTEM_TEST", "a value = with blanks"));
  ASSERT_NE(std::getenv("SQXA_SYSTEM_TEST"), nullptr);
  EXPECT_STREQ(std::getenv("SQXA_SYSTEM_TEST"), "a value = with blanks");
  UnsetEnvironment("SQXA_SYSTEM_TEST");
  EXPECT_EQ(std::getenv("SQXA_SYSTEM_TEST"), nullptr);
}

// The short way taken for "%s", "%d" and "%%" gives the C library's text.
TEST(TextFormatTest, SameTextAsTheCLibrary) {
  char text[256];
#define LIBRARY(...) (std::snprintf(text, sizeof text, __VA_ARGS__), std::string(text))
  EXPECT_EQ(format("%s=%d%%", "n", -5), LIBRARY("%s=%d%%", "n", -5));
  EXPECT_EQ(format("%d %d", INT_MIN, INT_MAX), LIBRARY("%d %d", INT_MIN, INT_MAX));
  EXPECT_EQ(format("%5s|%-3d|%x|%lu", "ab", 7, 255, 9ul),
            LIBRARY("%5s|%-3d|%x|%lu", "ab", 7, 255, 9ul));
#undef LIBRARY
  EXPECT_EQ(format("a%%n%s", "%d"), "a%n%d");  // data is never a format
  const std::string long_text(3000, 'x');
  EXPECT_EQ(format("%c[%s]", 'q', long_text.c_str()), "q[" + long_text + "]");
}

}  // namespace
}  // namespace platform
