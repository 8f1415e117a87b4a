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
    std::string text = "<no file>";
    (void)platform::ReadFileContents(path_, &text);
    return sqxa_test::WithLf(text);
  }
  sqxa_test::ScratchDir dir_;
  std::string path_ = dir_.File("sqxa.trc");
  sqxa_test::ScopedEnv file_{"SQ_XA_TRACE_FILE", path_};
  std::optional<sqxa_test::ScopedEnv> level_;
};

TEST_F(TraceTest, LevelsSelectTheRecords) {
  const unsigned flow = RAS1_ERROR | RAS1_FLOW, detail = flow | RAS1_DETAIL;
  const std::pair<const char*, unsigned> cases[] = {
      {"none", 0},     {"error", RAS1_ERROR}, {"flow", flow},       {"detail", detail},
      {"all", detail}, {"", RAS1_ERROR},      {"bogus", RAS1_ERROR}};
  for (const auto& [setting, levels] : cases) {
    Start(setting);
    EXPECT_EQ(RAS1_Sync(), levels) << setting;
  }

  // Records name their function and end in one newline; levels not in force
  // write nothing, and "none" no file at all.
  Start("detail");
  {
    Ras1Scope scope("doConfigGet");
    RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Getting config for instance: %s", "inst1");
    RAS1_Printf(RAS1_ERROR, "doConfigGet", "Could not find server: %s\n", "x");
  }
  const std::string text = Contents();
  size_t at = 0;
  for (const char* record :
       {" doConfigGet: Entry\n", " doConfigGet: Getting config for instance: inst1\n",
        " doConfigGet: Could not find server: x\n", " doConfigGet: Exit\n"})
    EXPECT_NE(at = text.find(record, at), std::string::npos) << record << text;
  EXPECT_EQ(text.find("\n\n"), std::string::npos);
  Start("error");
  RAS1_Printf(RAS1_DETAIL, "f", "detail");
  RAS1_Event("f", RAS1_EV_ENTRY);
  EXPECT_EQ(Contents().find(" f: "), std::string::npos);
  Start("none");
  (void)platform::RemoveFile(path_);
  RAS1_Printf(RAS1_ERROR, "f", "x");
  EXPECT_EQ(Contents(), "<no file>");
}

}  // namespace
