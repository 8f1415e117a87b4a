#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "common/line_ends.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace fs = std::filesystem;

namespace {

class MessageOutputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = fs::temp_directory_path() / ("sqxa_msg_" + std::to_string(platform::CurrentProcessId()));
    fs::remove_all(dir_);
    fs::create_directories(dir_);
    msg_reset_for_testing();
    msg_set_name_qualifiers(dir_.string().c_str(), nullptr, nullptr, nullptr);
  }
  void TearDown() override {
    msg_reset_for_testing();
    ASSERT_TRUE(platform::SetEnvironment("COLL_NUMOUTBAK", ""));
    ASSERT_TRUE(platform::SetEnvironment("COLL_WRAPLINES", ""));
    fs::remove_all(dir_);
  }
  void Write(const std::string& name, const std::string& text) {
    std::ofstream(dir_ / name, std::ios::binary) << text;
  }
  std::string Read(const std::string& name) {
    std::ifstream in(dir_ / name, std::ios::binary);
    if (!in) return "<missing>";
    std::stringstream text;
    text << in.rdbuf();
    return sqxa_test::WithLf(text.str());
  }
  fs::path dir_;
};

TEST_F(MessageOutputTest, BackupsRotateByTheLopsidedCount) {
  const struct {
    const char* setting;
    int kept;
  } cases[] = {{"", 1}, {"0", 0}, {"3", 3}, {"15", 9}, {"-3", 0}, {"-12", 12}};
  for (const auto& c : cases) {
    SetUp();
    ASSERT_TRUE(platform::SetEnvironment("COLL_NUMOUTBAK", c.setting));
    Write("col.out", "current");
    for (int k = 1; k <= 13; ++k) Write("col.ou" + std::to_string(k), "old " + std::to_string(k));

    ASSERT_NE(msg_open_output(nullptr), nullptr) << c.setting;
    msg_reset_for_testing();

    EXPECT_EQ(Read("col.out"), "") << c.setting;
    if (c.kept > 0) {
      EXPECT_EQ(Read("col.ou1"), "current") << c.setting;
    }
    for (int k = 2; k <= c.kept; ++k) {
      EXPECT_EQ(Read("col.ou" + std::to_string(k)), "old " + std::to_string(k - 1)) << c.setting;
    }
    // Backups past the count are left as they were.
    for (int k = c.kept + 1; k <= 13; ++k) {
      EXPECT_EQ(Read("col.ou" + std::to_string(k)), "old " + std::to_string(k)) << c.setting;
    }
  }
}

TEST_F(MessageOutputTest, FallsBackOnceToColxOut) {
  // A directory cannot be opened as the file; without backups it is not moved.
  ASSERT_TRUE(platform::SetEnvironment("COLL_NUMOUTBAK", "0"));
  fs::create_directories(dir_ / "col.out");
  const std::string expected_path = (dir_.string() + "\\col.out");
  std::FILE* stream = nullptr;
  const Captured got = Capture([&] { stream = msg_open_output(nullptr); });
  EXPECT_NE(stream, nullptr);
  EXPECT_EQ(got.out, "CAT1995E - Can't open message ouput file: " + expected_path + "\n");
  msg_write_simple('i', "abc0001", "to the fallback");
  msg_reset_for_testing();
  EXPECT_NE(Read("colx.out").find("ABC0001I ("), std::string::npos);
  EXPECT_NE(Read("colx.out").find("to the fallback\n"), std::string::npos);
}

TEST_F(MessageOutputTest, WithoutAnyFileMessagesGoToStandardOutput) {
  msg_set_name_qualifiers((dir_ / "missing").string().c_str(), nullptr, nullptr, nullptr);
  std::FILE* stream = &*stdout;
  const Captured opened = Capture([&] { stream = msg_open_output(nullptr); });
  EXPECT_EQ(stream, nullptr);
  // One report, for the first name only.
  EXPECT_EQ(opened.out.find("CAT1995E"), 0u);
  EXPECT_EQ(opened.out.find("CAT1995E", 1), std::string::npos);
  EXPECT_NE(Capture([] { msg_write_simple('i', "abc0001", "here"); }).out.find(")here\n"),
            std::string::npos);
}

TEST_F(MessageOutputTest, FileWrapsAtTheLineLimit) {
  ASSERT_TRUE(platform::SetEnvironment("COLL_WRAPLINES", "2"));
  ASSERT_NE(msg_open_output(nullptr), nullptr);
  for (const char* text : {"one", "two", "three"}) msg_write_simple('i', "abc0001", "%s", text);
  msg_reset_for_testing();

  const std::string first = Read("col.ou1");
  EXPECT_NE(first.find(")one\n"), std::string::npos);
  EXPECT_NE(first.find(")two\n"), std::string::npos);
  const std::string wrapped = Read("col.out");
  EXPECT_EQ(wrapped.rfind("CGN5000I (", 0), 0u) << wrapped;
  EXPECT_NE(wrapped.find(")       File wrapped -- "), std::string::npos);
  EXPECT_NE(wrapped.find(")three\n"), std::string::npos);
  EXPECT_EQ(wrapped.find(")one\n"), std::string::npos);
}

TEST_F(MessageOutputTest, ZeroOrNegativeLimitNeverWraps) {
  for (const char* limit : {"0", "-1"}) {
    SetUp();
    ASSERT_TRUE(platform::SetEnvironment("COLL_WRAPLINES", limit));
    ASSERT_NE(msg_open_output(nullptr), nullptr);
    for (int i = 0; i < 5; ++i) msg_write_simple('i', "abc0001", "line %d", i);
    msg_reset_for_testing();
    EXPECT_NE(Read("col.out").find(")line 4\n"), std::string::npos) << limit;
    EXPECT_EQ(Read("col.out").find("File wrapped"), std::string::npos) << limit;
  }
}

}  // namespace
