#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>

#include "common/scopes.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/environment.h"
#include "support/memory.h"
#include "support/message.h"
#include "support/strings.h"
#include "support/time_text.h"

namespace {

// Messages without the position and thread of their header.
std::string Plain(const std::string& text) {
  return std::regex_replace(text, std::regex(" VDBUTIL\\(\\d+\\) \\(\\d+\\)"), " ");
}

class EnvironmentTest : public ::testing::Test {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
  // A name that nothing has set in this process, unset again when the test ends.
  const std::string name_ = "SQXA_UNSET_" + std::to_string(platform::CurrentProcessId());
  sqxa_test::ScopedEnv unset_{name_, std::nullopt};
};

TEST_F(EnvironmentTest, ModeOneReportsWhatIsMissing) {
  const std::string not_set = "Environment variable \"" + name_ + "\" not set\n";
  char* value = nullptr;
  Captured got = Capture([&] { value = env_get(name_.c_str(), 1, nullptr); });
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(Plain(got.out), "UEN0015W " + not_set);

  got = Capture([&] { value = env_get(name_.c_str(), 1, "dflt"); });
  UniqueText owned(value);
  ASSERT_NE(value, nullptr);
  EXPECT_STREQ(value, "dflt");
  EXPECT_EQ(Plain(got.out), "UEN0015I " + not_set + "UEN0020I Using default of dflt\n");

  // Where the platform keeps a variable that is set but empty, it counts as absent.
  sqxa_test::ScopedEnv empty(name_, "");
  got = Capture([&] { value = env_get(name_.c_str(), 1, nullptr); });
  EXPECT_EQ(value, nullptr);
  const bool kept_empty = std::getenv(name_.c_str()) != nullptr;
  EXPECT_NE(got.out.find(kept_empty ? "UEN0010W" : "UEN0015W"), std::string::npos) << got.out;
}

TEST_F(EnvironmentTest, QuietModesCopyAndModeMinusOnePutsTheDefault) {
  const char* name = name_.c_str();
  EXPECT_EQ(Capture([&] { EXPECT_EQ(env_get(name, 0, nullptr), nullptr); }).out, "");

  char* put = nullptr;
  EXPECT_EQ(Capture([&] { put = env_get(name, -1, "abc"); }).out, "");
  ASSERT_NE(put, nullptr);
  EXPECT_STREQ(put - name_.size() - 1, (name_ + "=abc").c_str());
  EXPECT_STREQ(std::getenv(name), "abc");
  // Once set, mode -1 answers the environment's own text, not a copy.
  EXPECT_EQ(env_get(name, -1, "other"), std::getenv(name));

  UniqueText copy(env_get(name, -2, "other"));
  ASSERT_NE(copy, nullptr);
  EXPECT_STREQ(copy.get(), "abc");
  EXPECT_NE(copy.get(), std::getenv(name));

  // Switch 3 traces what is read in the quiet mode 0.
  msg_set_trace_switch(3, true);
  const Captured traced = Capture([&] { UniqueText v(env_get(name, 0, nullptr)); });
  EXPECT_NE(traced.out.find("UEN0025T ("), std::string::npos);
  EXPECT_NE(traced.out.find("Env var " + name_ + "=abc.\n"), std::string::npos);
}

TEST_F(EnvironmentTest, PutConfirmsUnderSwitchZeroAndRefusesABareName) {
  msg_set_trace_switch(0, true);
  char* value = nullptr;
  const Captured set = Capture([&] { value = env_put(name_.c_str(), "B"); });
  ASSERT_NE(value, nullptr);
  EXPECT_STREQ(value, "B");
  EXPECT_NE(Plain(set.out).find(") Set environment variable \"" + name_ + "=B\".\n"),
            std::string::npos);

  const Captured refused = Capture([&] { value = env_put(name_.c_str(), nullptr); });
  EXPECT_EQ(value, nullptr);
  EXPECT_EQ(Plain(refused.err),
            "UEN0045E Environment variable \"" + name_ + "\" could not be set.\n");
}

TEST(MemoryTest, ShortageIsReportedAndStrDupEndsTheRun) {
  msg_reset_for_testing();
  const UtilAllocator real =
      util_set_allocator_for_testing([](std::size_t) -> void* { return nullptr; });
  void* block = nullptr;
  const Captured got = Capture([&] { block = util_malloc(12, "vdbutil", 1961, "size+1+1"); });
  EXPECT_EQ(block, nullptr);
  EXPECT_EQ(Plain(got.err),
            "UTM5400S Memory allocation error at:vdbutil.1961 - size+1+1 for 12 bytes \n");
  EXPECT_EXIT(UniqueText(str_dup("x")), ::testing::ExitedWithCode(1), "Malloc error");
  util_set_allocator_for_testing(real);
  UniqueText copy(str_dup("copy"));
  EXPECT_STREQ(copy.get(), "copy");
  EXPECT_EQ(str_dup(nullptr), nullptr);
}

TEST(StringsTest, CaseAndComparison) {
  char text[] = "abc-Xy1";
  EXPECT_STREQ(str_upper(text), "ABC-XY1");
  EXPECT_EQ(str_upper(nullptr), nullptr);
  EXPECT_EQ(str_icmp("MSSQLServer", "mssqlserver"), 0);
  EXPECT_EQ(str_icmp(nullptr, nullptr), 0);
  EXPECT_EQ(str_icmp(nullptr, "a"), 1);
  EXPECT_EQ(str_icmp("a", nullptr), 1);
  EXPECT_LT(str_icmp("abc", "ABD"), 0);
  EXPECT_GT(str_icmp("abcd", "ABC"), 0);
}

TEST(StringsTest, TrimByWhereAndSet) {
  const struct {
    const char* text;
    char where;
    const char* set;
    const char* expected;
  } cases[] = {
      {"  a  ", 'L', nullptr, "a  "}, {"  a  ", 'l', "", "a  "},
      {"  a  ", 'T', nullptr, "  a"}, {"  a  ", '\0', nullptr, "  a"},
      {"  a  ", 'B', nullptr, "a"},   {"  a  ", 'x', nullptr, "  a  "},
      {"    ", 'B', nullptr, ""},     {"\"'q'\"", 'b', "'\"", "q"},
      {"", 'B', nullptr, ""},
  };
  for (const auto& c : cases) {
    char buffer[32];
    std::strcpy(buffer, c.text);
    EXPECT_STREQ(str_trim(buffer, c.where, c.set), c.expected) << c.text << " " << c.where;
  }
  EXPECT_EQ(str_trim(nullptr, 'B', nullptr), nullptr);
}

TEST(StringsTest, PathSplit) {
  char dir[1024], with_sep[1024], name[1024], ext[1024], base[1024];
  path_split(" \"C:\\dir\\file.ext\"\t\n", dir, with_sep, name, ext, base);
  EXPECT_STREQ(dir, "C:\\dir");
  EXPECT_STREQ(with_sep, "C:\\dir\\");
  EXPECT_STREQ(name, "file");
  EXPECT_STREQ(ext, "ext");
  EXPECT_STREQ(base, "file.ext");

  path_split("a.b/c", dir, nullptr, name, ext, base);
  EXPECT_STREQ(dir, "a.b");
  EXPECT_STREQ(name, "c");
  EXPECT_STREQ(ext, "");

  std::strcpy(name, "untouched");
  path_split("", dir, nullptr, name, nullptr, nullptr);
  EXPECT_STREQ(name, "untouched");
  const std::string long_path(5000, 'p');
  path_split(long_path.c_str(), nullptr, nullptr, name, nullptr, nullptr);
  EXPECT_EQ(std::strlen(name), 1022u);
}

TEST(TimeTextTest, Styles) {
  char buffer[48];
  EXPECT_TRUE(std::regex_match(
      time_text(buffer, 1), std::regex("20[0-9]{2}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}")));
  EXPECT_TRUE(std::regex_match(time_text(buffer, 3), std::regex("1[0-9]{2}[0-9]{10}")));
  EXPECT_TRUE(std::regex_match(time_text(buffer, 4), std::regex("1[0-9]{2}[0-9]{10}000")));
  EXPECT_TRUE(std::regex_match(time_text(nullptr, 0), std::regex("20[0-9]{12}")));
  EXPECT_TRUE(std::regex_match(
      time_text(buffer, 2), std::regex("[0-9]{2}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}")));
  EXPECT_TRUE(std::regex_match(msg_time_hms(nullptr), std::regex("[0-9]{6}")));
}

}  // namespace
