// Behaviour of the system facts, the same on every backend.
#include "platform/system.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>
#include <utility>

#include "common/scopes.h"

namespace platform {
namespace {

TEST(System, ComputerNameIsAShortUpperCaseHostName) {
  const std::string name = ComputerName();
  EXPECT_FALSE(name.empty());
  EXPECT_LE(name.size(), 15u);
  EXPECT_EQ(name.find('.'), std::string::npos);
  for (const char c : name) EXPECT_FALSE(c >= 'a' && c <= 'z') << name;
}

TEST(System, CurrentDirectoryAndTicksFollowSleeps) {
  EXPECT_EQ(CurrentDirectory(), std::filesystem::current_path().string());
  const uint32_t start = TickCount();
  SleepMilliseconds(100);
  // The count may move in steps of a system tick (about 16 ms on Windows).
  const uint32_t elapsed = TickCount() - start;  // wraps like the count itself
  EXPECT_GE(elapsed, 70u);
  EXPECT_LT(elapsed, 5000u);
}

TEST(System, ThreadsAndProcessAreTold) {
  const unsigned long here = CurrentThreadId();
  const auto elsewhere = std::async(std::launch::async, [] {
                           return std::make_pair(CurrentThreadId(), CurrentProcessId());
                         }).get();
  EXPECT_NE(here, elsewhere.first);
  EXPECT_EQ(CurrentThreadId(), here);
  EXPECT_EQ(CurrentProcessId(), elsewhere.second);
  EXPECT_NE(CurrentProcessId(), 0ul);
}

TEST(System, EnvironmentIsSeenByTheRuntime) {
  sqxa_test::ScopedEnv restored("SQXA_SYSTEM_TEST", std::nullopt);
  ASSERT_TRUE(SetEnvironment("SQXA_SYSTEM_TEST", "a value = with blanks"));
  const char* value = std::getenv("SQXA_SYSTEM_TEST");
  ASSERT_TRUE(value != nullptr);
  EXPECT_STREQ(value, "a value = with blanks");
  ASSERT_TRUE(SetEnvironment("SQXA_SYSTEM_TEST", "changed"));
  EXPECT_STREQ(std::getenv("SQXA_SYSTEM_TEST"), "changed");
  UnsetEnvironment("SQXA_SYSTEM_TEST");
  EXPECT_EQ(std::getenv("SQXA_SYSTEM_TEST"), nullptr);
}

TEST(System, VersionAndErrorTexts) {
  EXPECT_GT(GetOsVersion().major, 0u);
  const std::string text = SystemErrorText(2);  // a missing file on every system
  ASSERT_FALSE(text.empty());
  EXPECT_NE(text.back(), '\n');
  EXPECT_NE(text.back(), '\r');
}

}  // namespace
}  // namespace platform
