#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "common/line_ends.h"
#include "framework/trace.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

class TraceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = (std::filesystem::temp_directory_path() /
             ("sqxa_trace_" + std::to_string(platform::CurrentProcessId()) + ".trc"))
                .string();
    std::filesystem::remove(path_);
    ASSERT_TRUE(platform::SetEnvironment("SQ_XA_TRACE_FILE", path_));
  }
  void TearDown() override {
    RAS1_Shutdown();
    ASSERT_TRUE(platform::SetEnvironment("SQ_XA_TRACE", ""));
    ASSERT_TRUE(platform::SetEnvironment("SQ_XA_TRACE_FILE", ""));
    std::filesystem::remove(path_);
  }
  void Start(const char* levels) {
    ASSERT_TRUE(platform::SetEnvironment("SQ_XA_TRACE", levels));
    RAS1_Initialize();
  }
  std::string Contents() {
    RAS1_Shutdown();
    std::string text;
    if (platform::ReadFileContents(path_, &text) != 0) return "<no file>";
    return sqxa_test::WithLf(text);
  }
  std::string path_;
};

TEST_F(TraceTest, LevelsSelectTheRecords) {
  const struct {
    const char* setting;
    unsigned levels;
  } cases[] = {{"none", 0},
               {"error", RAS1_ERROR},
               {"flow", RAS1_ERROR | RAS1_FLOW},
               {"detail", RAS1_ERROR | RAS1_FLOW | RAS1_DETAIL},
               {"all", RAS1_ERROR | RAS1_FLOW | RAS1_DETAIL},
               {"", RAS1_ERROR},
               {"bogus", RAS1_ERROR}};
  for (const auto& c : cases) {
    Start(c.setting);
    EXPECT_EQ(RAS1_Sync(), c.levels) << c.setting;
  }
}

TEST_F(TraceTest, RecordsCarryTheFunctionAndEndInOneNewline) {
  Start("detail");
  {
    Ras1Scope scope("doConfigGet");
    RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Getting config for instance: %s", "inst1");
    RAS1_Printf(RAS1_ERROR, "doConfigGet", "Could not find configuration for server: %s\n", "x");
  }
  const std::string text = Contents();
  EXPECT_NE(text.find(" doConfigGet: Entry\n"), std::string::npos) << text;
  EXPECT_NE(text.find(" doConfigGet: Getting config for instance: inst1\n"), std::string::npos);
  EXPECT_NE(text.find(" doConfigGet: Could not find configuration for server: x\n"),
            std::string::npos);
  EXPECT_EQ(text.find("\n\n"), std::string::npos);
  EXPECT_NE(text.find(" doConfigGet: Exit\n"), std::string::npos);
}

TEST_F(TraceTest, LevelsNotInForceWriteNothing) {
  Start("error");
  RAS1_Printf(RAS1_DETAIL, "f", "detail");
  RAS1_Event("f", RAS1_EV_ENTRY);
  RAS1_Printf(RAS1_ERROR, "f", "%s", "error %n %s data stays data");
  const std::string text = Contents();
  EXPECT_EQ(text.find("detail"), std::string::npos);
  EXPECT_EQ(text.find("Entry"), std::string::npos);
  EXPECT_NE(text.find(" f: error %n %s data stays data\n"), std::string::npos);
}

TEST_F(TraceTest, NoneCreatesNoFile) {
  Start("none");
  RAS1_Printf(RAS1_ERROR, "f", "x");
  EXPECT_EQ(Contents(), "<no file>");
}

}  // namespace
