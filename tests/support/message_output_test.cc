#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "support/capture.h"
#include "support/message.h"

namespace {

using sqxa_test::ScopedEnv;

// The message file goes to a fresh directory for each case (Reset).
class MessageOutputTest : public ::testing::Test {
 protected:
  void SetUp() override { Reset(); }
  void TearDown() override { msg_reset_for_testing(); }
  void Reset() {
    dir_.emplace();
    msg_reset_for_testing();
    msg_set_name_qualifiers(dir_->path().string().c_str(), nullptr, nullptr, nullptr);
  }
  void Write(const std::string& name, const std::string& text) {
    ASSERT_EQ(platform::ReplaceFileContents(dir_->File(name), text), 0);
  }
  std::string Read(const std::string& name) {
    std::string text;
    if (platform::ReadFileContents(dir_->File(name), &text) != 0) return "<missing>";
    return sqxa_test::WithLf(text);
  }
  ScopedEnv backups_{"COLL_NUMOUTBAK", std::nullopt};
  ScopedEnv wrap_{"COLL_WRAPLINES", std::nullopt};
  std::optional<sqxa_test::ScratchDir> dir_;
};

TEST_F(MessageOutputTest, BackupsRotateByTheLopsidedCount) {
  const struct {
    std::optional<std::string> setting;
    int kept;
  } cases[] = {{std::nullopt, 1}, {"0", 0}, {"3", 3}, {"15", 9}, {"-3", 0}, {"-12", 12}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.setting.value_or("unset"));
    Reset();
    ScopedEnv backups("COLL_NUMOUTBAK", c.setting);
    Write("col.out", "current");
    for (int k = 1; k <= 13; ++k) Write("col.ou" + std::to_string(k), "old " + std::to_string(k));
    ASSERT_NE(msg_open_output(nullptr), nullptr);
    msg_reset_for_testing();

    EXPECT_EQ(Read("col.out"), "");
    for (int k = 1; k <= 13; ++k) {
      // Each kept backup moves up one; those past the count are left as they were.
      const std::string expected = k > c.kept ? "old " + std::to_string(k)
                                   : k == 1   ? "current"
                                              : "old " + std::to_string(k - 1);
      EXPECT_EQ(Read("col.ou" + std::to_string(k)), expected) << k;
    }
  }
}

TEST_F(MessageOutputTest, FallsBackOnceToColxOut) {
  // A directory cannot be opened as the file; without backups it is not moved.
  ScopedEnv no_backups("COLL_NUMOUTBAK", "0");
  std::filesystem::create_directories(dir_->path() / "col.out");
  std::FILE* stream = nullptr;
  const Captured got = Capture([&] { stream = msg_open_output(nullptr); });
  EXPECT_NE(stream, nullptr);
  EXPECT_EQ(got.out,
            "CAT1995E - Can't open message ouput file: " + dir_->path().string() + "\\col.out\n");
  msg_write_simple('i', "abc0001", "to the fallback");
  msg_reset_for_testing();
  EXPECT_NE(Read("colx.out").find("ABC0001I ("), std::string::npos);
  EXPECT_NE(Read("colx.out").find("to the fallback\n"), std::string::npos);

  // Without any file: one report, for the first name only, and standard output.
  msg_set_name_qualifiers((dir_->path() / "missing").string().c_str(), nullptr, nullptr, nullptr);
  const Captured opened = Capture([&] { stream = msg_open_output(nullptr); });
  EXPECT_EQ(stream, nullptr);
  EXPECT_EQ(opened.out.find("CAT1995E"), 0u);
  EXPECT_EQ(opened.out.find("CAT1995E", 1), std::string::npos);
  EXPECT_NE(Capture([] { msg_write_simple('i', "abc0001", "here"); }).out.find(")here\n"),
            std::string::npos);
}

TEST_F(MessageOutputTest, FileWrapsAtTheLineLimit) {
  ScopedEnv wrap("COLL_WRAPLINES", "2");
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

  for (const char* limit : {"0", "-1"}) {  // never wraps
    SCOPED_TRACE(limit);
    Reset();
    ScopedEnv never("COLL_WRAPLINES", limit);
    ASSERT_NE(msg_open_output(nullptr), nullptr);
    for (int i = 0; i < 5; ++i) msg_write_simple('i', "abc0001", "line %d", i);
    msg_reset_for_testing();
    EXPECT_NE(Read("col.out").find(")line 4\n"), std::string::npos);
    EXPECT_EQ(Read("col.out").find("File wrapped"), std::string::npos);
  }
}

}  // namespace
