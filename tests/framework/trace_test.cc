#include "framework/trace.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"

namespace {

class TraceTest : public ::testing::Test {
 protected:
  void TearDown() override { RAS1_Shutdown(); }
  void Start(const char* levels) {
    level_.emplace("SQ_XA_TRACE", levels);
    RAS1_Initialize();
  }
  std::string Contents() {
    RAS1_Shutdown();
    std::string text;
    if (platform::ReadFileContents(path_, &text) != 0) return "<no file>";
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir dir_;
  std::string path_ = dir_.File("sqxa.trc");
  sqxa_test::ScopedEnv file_{"SQ_XA_TRACE_FILE", path_};
  std::optional<sqxa_test::ScopedEnv> level_;
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
  for (const char* record :
       {" doConfigGet: Entry\n", " doConfigGet: Getting config for instance: inst1\n",
        " doConfigGet: Could not find configuration for server: x\n", " doConfigGet: Exit\n"}) {
    EXPECT_NE(text.find(record), std::string::npos) << record << text;
  }
  EXPECT_EQ(text.find("\n\n"), std::string::npos);
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

  Start("none");  // and then creates no file
  (void)platform::RemoveFile(path_);
  RAS1_Printf(RAS1_ERROR, "f", "x");
  EXPECT_EQ(Contents(), "<no file>");
}

}  // namespace
