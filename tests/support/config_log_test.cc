#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "common/line_ends.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "support/capture.h"
#include "support/config_log.h"

namespace fs = std::filesystem;

namespace support {
namespace {

class ConfigLogTest : public ::testing::Test {
 protected:
  static std::string Read(const fs::path& path) {
    std::string text;
    EXPECT_EQ(platform::ReadFileContents(path.string(), &text), 0) << path;
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir scratch_;
  const fs::path dir_ = scratch_.path();
};

TEST_F(ConfigLogTest, ChannelsRouteTextAndOnlyTheLogChannelsExpandPercentPairs) {
  const fs::path log_path = dir_ / "dbcfg_inst1.log";
  ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(log_path.string()), 1);
  std::FILE* ini = std::fopen((dir_ / "x.ini").string().c_str(), "wb");
  ASSERT_NE(ini, nullptr);
  log.SetStream(Channel::kIni, ini);

  const Captured quiet = Capture([&] {
    log.Output(Channel::kLog, "name %s\n", "a%n%s 100%%");
    log.Output(Channel{7}, "seven %d%%\n", 7);
    log.Output(Channel::kIni, "COLL_HOME=%s\n", "C:\\100%%");
    log.Output(Channel::kBat, "dropped: no stream\n");
    log.Output(Channel::kInclude, "dropped too\n");
  });
  EXPECT_EQ(quiet.out, "");

  log.SetConsole(1);
  const Captured console = Capture([&] { log.Output(Channel::kLog, "%s\n", "shown 50%%"); });
  EXPECT_EQ(console.out, "shown 50%\n");
  EXPECT_EQ(Capture([&] { log.Output(Channel{9}, "not shown\n"); }).out, "");

  std::fclose(ini);
  log.SetStream(Channel::kIni, nullptr);
  log.CloseLog();
  EXPECT_EQ(Read(log_path), "name a%n%s 100%\nseven 7%\nshown 50%\nnot shown\n");
  EXPECT_EQ(Read(dir_ / "x.ini"), "COLL_HOME=C:\\100%%\n");
  EXPECT_EQ(ExpandPercentPairs("100%% %s %n %%%"), "100% %s %n %%");
  EXPECT_EQ(ExpandPercentPairs("%"), "%");
}

TEST_F(ConfigLogTest, LogAppendsAndStampsInTheCalendarForm) {
  const fs::path log_path = dir_ / "dbcfg_.log";
  std::ofstream(log_path, std::ios::binary) << "earlier run\n";
  ConfigLog log(0);
  ASSERT_EQ(log.OpenLog(log_path.string()), 1);
  log.LogTimestamped("Start\n");
  log.Output(Channel::kLog, "%s", std::string(5000, 'x').c_str());  // longer than any fixed buffer
  log.CloseLog();
  const std::string text = Read(log_path);
  EXPECT_TRUE(
      std::regex_search(text, std::regex("^earlier run\n\n[A-Z][a-z]{2} [A-Z][a-z]{2} [0-9]{2} "
                                         "[0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]{4}\nStart\nx{5000}$")))
      << text.substr(0, 80);
}

TEST_F(ConfigLogTest, WithoutALogFileChannelOneStillReachesTheConsole) {
  ConfigLog log(1);
  EXPECT_EQ(log.OpenLog((dir_ / "missing" / "dbcfg_x.log").string()), 0);
  log.LogTimestamped("nothing happens\n");
  EXPECT_EQ(Capture([&] { log.Output(Channel::kLog, "to the console\n"); }).out,
            "to the console\n");
}

}  // namespace
}  // namespace support
