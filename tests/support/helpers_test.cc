// The base services beside the messages that the program uses: environment,
// memory, strings, time texts and the configuration log.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/config_log.h"
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
std::string Out(const std::function<void()>& code) { return Plain(Capture(code).out); }

class EnvironmentTest : public ::testing::Test {
 protected:
  void SetUp() override { msg_reset_for_testing(); }
  void TearDown() override { msg_reset_for_testing(); }
  // A name that nothing has set in this process, unset again when the test ends.
  const std::string name_ = "SQXA_UNSET_" + std::to_string(platform::CurrentProcessId());
  sqxa_test::ScopedEnv unset_{name_, std::nullopt};
};

// The two modes the program reads with: 1 reports what is missing, -2 answers
// a copy; a variable that is set but empty counts as absent (where the
// platform keeps one).
TEST_F(EnvironmentTest, ReportedWhenMissingCopiedWhenSet) {
  char* value = nullptr;
  const std::string said = Out([&] { value = env_get(name_.c_str(), 1, nullptr); });
  EXPECT_EQ(said, "UEN0015W Environment variable \"" + name_ + "\" not set\n");
  EXPECT_EQ(value, nullptr);
  {
    const sqxa_test::ScopedEnv set(name_, "abc");
    const UniqueText copy(env_get(name_.c_str(), -2, nullptr));
    EXPECT_STREQ(copy.get(), "abc");
    EXPECT_NE(copy.get(), std::getenv(name_.c_str()));
  }
  const sqxa_test::ScopedEnv empty(name_, "");
  const std::string empty_said = Out([&] { value = env_get(name_.c_str(), 1, nullptr); });
  EXPECT_EQ(value, nullptr);
  EXPECT_NE(empty_said.find(std::getenv(name_.c_str()) ? "UEN0010W" : "UEN0015W"),
            std::string::npos);
}

TEST(MemoryTest, ShortageIsReported) {
  msg_reset_for_testing();
  const UtilAllocator real =
      util_set_allocator_for_testing([](std::size_t) -> void* { return nullptr; });
  void* block = nullptr;
  EXPECT_EQ(Plain(Capture([&] { block = util_malloc(12, "vdbutil", 1961, "size+1+1"); }).err),
            "UTM5400S Memory allocation error at:vdbutil.1961 - size+1+1 for 12 bytes \n");
  EXPECT_EQ(block, nullptr);
  util_set_allocator_for_testing(real);
}

TEST(StringsTest, CaseComparisonAndPathSplit) {
  char text[] = "abc-Xy1";
  EXPECT_STREQ(str_upper(text), "ABC-XY1");
  EXPECT_EQ(str_upper(nullptr), nullptr);
  EXPECT_EQ(str_icmp("MSSQLServer", "mssqlserver"), 0);
  EXPECT_EQ(str_icmp(nullptr, nullptr), 0);
  EXPECT_EQ(str_icmp(nullptr, "a"), 1);
  EXPECT_EQ(str_icmp("a", nullptr), 1);
  EXPECT_LT(str_icmp("abc", "ABD"), 0);
  EXPECT_GT(str_icmp("abcd", "ABC"), 0);

  // The name of a source file, as message headers show it.
  char name[1024];
  path_split(" \"C:\\dir\\file.ext\"\t\n", nullptr, nullptr, name, nullptr, nullptr);
  EXPECT_STREQ(name, "file");
  path_split(std::string(5000, 'p').c_str(), nullptr, nullptr, name, nullptr, nullptr);
  EXPECT_EQ(std::strlen(name), 1022u);
}

// The forms the message facility shows: the date and time of a wrapped file
// and the time of day of a trace.
TEST(TimeTextTest, Styles) {
  char buffer[48];
  EXPECT_TRUE(std::regex_match(
      time_text(buffer, 2), std::regex("[0-9]{2}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}")));
  EXPECT_TRUE(std::regex_match(msg_time_hms(nullptr), std::regex("[0-9]{6}")));
}

class ConfigLogTest : public ::testing::Test {
 protected:
  std::string Read(const std::string& name) {
    std::string text;
    EXPECT_EQ(platform::ReadFileContents(scratch_.File(name), &text), 0) << name;
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir scratch_;
};

TEST_F(ConfigLogTest, ChannelsRouteTextAndOnlyTheLogChannelsExpandPercentPairs) {
  using support::Channel;
  support::ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(scratch_.File("dbcfg_inst1.log")), 1);
  std::FILE* ini = std::fopen(scratch_.File("x.ini").c_str(), "wb");
  ASSERT_NE(ini, nullptr);
  log.SetStream(Channel::kIni, ini);
  EXPECT_EQ(Capture([&] {
              log.Output(Channel::kLog, "name %s\n", "a%n%s 100%%");
              log.Output(Channel{7}, "seven %d%%\n", 7);
              log.Output(Channel::kIni, "COLL_HOME=%s\n", "C:\\100%%");
              log.Output(Channel::kBat, "dropped: no stream\n");
              log.Output(Channel::kInclude, "dropped too\n");
            }).out,
            "");
  log.SetConsole(1);
  EXPECT_EQ(Capture([&] { log.Output(Channel::kLog, "%s\n", "shown 50%%"); }).out, "shown 50%\n");
  EXPECT_EQ(Capture([&] { log.Output(Channel{9}, "not shown\n"); }).out, "");
  std::fclose(ini);
  log.SetStream(Channel::kIni, nullptr);
  log.CloseLog();
  EXPECT_EQ(Read("dbcfg_inst1.log"), "name a%n%s 100%\nseven 7%\nshown 50%\nnot shown\n");
  EXPECT_EQ(Read("x.ini"), "COLL_HOME=C:\\100%%\n");
  EXPECT_EQ(support::ExpandPercentPairs("100%% %s %n %%%"), "100% %s %n %%");
  EXPECT_EQ(support::ExpandPercentPairs("%"), "%");
}

// The log is appended to and stamped in the calendar form; without a log file
// channel one still reaches the console.
TEST_F(ConfigLogTest, LogAppendsAndStampsInTheCalendarForm) {
  std::ofstream(scratch_.path() / "dbcfg_.log", std::ios::binary) << "earlier run\n";
  support::ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(scratch_.File("dbcfg_.log")), 1);
  log.LogTimestamped("Start\n");
  log.Output(support::Channel::kLog, "%s", std::string(5000, 'x').c_str());  // past any buffer
  log.CloseLog();
  const std::string text = Read("dbcfg_.log");
  EXPECT_TRUE(
      std::regex_search(text, std::regex("^earlier run\n\n[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} "
                                         "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}\nStart\nx{5000}$")))
      << text.substr(0, 80);

  support::ConfigLog console(1);
  EXPECT_EQ(console.OpenLog(scratch_.File("missing/dbcfg_x.log")), 0);
  console.LogTimestamped("nothing happens\n");
  EXPECT_EQ(Capture([&] { console.Output(support::Channel::kLog, "to the console\n"); }).out,
            "to the console\n");
}

}  // namespace
