#include "driver/external_commands.h"

#include <gtest/gtest.h>

#include <string>

#include "common/scopes.h"
#include "support/capture.h"

namespace driver {
namespace {

TEST(RunCommandTest, OutputIsCollectedExitCodesPassedAndALoopStopped) {
  int exit_code = -1;
  std::string out, err;
  ASSERT_TRUE(
      runCommand({"child echo", SQXA_TEST_CHILD, {"echo"}}, "settings\n", &exit_code, &out, &err));
  EXPECT_EQ(exit_code, 0);
  EXPECT_NE(out.find("settings"), std::string::npos);
  EXPECT_TRUE(runCommand({"child exit 3", SQXA_TEST_CHILD, {"exit", "3"}}, "", &exit_code));
  EXPECT_EQ(exit_code, 3);

  // One caught in a loop is stopped, so that it cannot hold the run for ever.
  const Command sleeping{"child sleep", SQXA_TEST_CHILD, {"sleep", "60000"}, 200};
  const std::string said = Capture([&] { EXPECT_FALSE(runCommand(sleeping, "", &exit_code)); }).err;
  EXPECT_EQ(said.substr(said.find(')')),
            "): sqxa_test_child was ended by the time limit of 200 ms\n");
}

// A command the tool does not know, and a home that is not set.
TEST(RunVinConfgTest, UnknownCommandsAndAnEmptyHomeAreRefused) {
  for (const std::string home : {"no_such_home_dir", ""}) {
    const sqxa_test::ScopedEnv env("MARLOX_HOME", home);
    const Captured got = Capture([&] {
      EXPECT_EQ(runVinConfg(static_cast<ToolCommand>(5), "inst1"),
                home.empty() ? ExitStatus::kToolNotRun : ExitStatus::kUnknownToolCommand);
    });
    EXPECT_EQ(got.out, "");
    EXPECT_EQ(got.err.substr(got.err.find(')')),
              home.empty() ? "): Unabled to run vinconfg to add instance\n"
                           : "): Invalid vinconfg command type '5' passed to runVinConfg\n");
  }
}

}  // namespace
}  // namespace driver
