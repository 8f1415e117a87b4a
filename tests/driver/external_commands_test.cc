#include <gtest/gtest.h>

#include <optional>
#include <regex>
#include <string>

#include "common/scopes.h"
#include "driver/external_commands.h"
#include "support/capture.h"

namespace driver {
namespace {

TEST(RunCommandTest, OutputIsCollectedOrPassedThrough) {
  const Command echo{"child echo", SQXA_TEST_CHILD, {"echo"}};
  int exit_code = -1;
  std::string out;
  std::string err;
  ASSERT_TRUE(runCommand(echo, "settings\n", &exit_code, &out, &err));
  EXPECT_EQ(exit_code, 0);
  EXPECT_NE(out.find("settings"), std::string::npos);

  const Command failing{"child exit 3", SQXA_TEST_CHILD, {"exit", "3"}};
  EXPECT_TRUE(runCommand(failing, "", &exit_code));
  EXPECT_EQ(exit_code, 3);

  // A killed child did not finish its work, whatever its exit code says.
  const Command crash{"child crash", SQXA_TEST_CHILD, {"crash"}};
  Captured got = Capture([&] { EXPECT_FALSE(runCommand(crash, "", &exit_code)); });
  EXPECT_TRUE(
      std::regex_match(got.err, std::regex("Error line\\(\\d+\\): sqxa_test_child was ended by "
                                           "(signal \\d+ \\(.+\\)|exception 0xC[0-9A-F]{7})\n")))
      << got.err;

  // One caught in a loop is stopped, so that it cannot hold the run for ever.
  const Command sleeping{"child sleep", SQXA_TEST_CHILD, {"sleep", "60000"}, 200};
  got = Capture([&] { EXPECT_FALSE(runCommand(sleeping, "", &exit_code)); });
  EXPECT_EQ(got.err.substr(got.err.find(')')),
            "): sqxa_test_child was ended by the time limit of 200 ms\n");

  const Command missing{"no_such_program x", "no_such_dir/no_such_program", {"x"}};
  got = Capture([&] { EXPECT_FALSE(runCommand(missing, "", &exit_code)); });
  EXPECT_TRUE(std::regex_match(
      got.err, std::regex("Error line\\(\\d+\\): Error running command: no_such_program x\n")));
}

TEST(RunVinConfgTest, UnknownCommandsAndMissingToolsAreReported) {
  std::optional<sqxa_test::ScopedEnv> home(std::in_place, "MARLOX_HOME", "no_such_home_dir");
  Captured got = Capture([] {
    EXPECT_EQ(runVinConfg(static_cast<ToolCommand>(5), "inst1"), ExitStatus::kUnknownToolCommand);
  });
  EXPECT_TRUE(std::regex_match(
      got.err,
      std::regex(
          "Error line\\(\\d+\\): Invalid vinconfg command type '5' passed to runVinConfg\n")));

  got = Capture([] { EXPECT_EQ(runVinConfg(ToolCommand::kRemove, ""), ExitStatus::kToolNotRun); });
  EXPECT_TRUE(std::regex_match(
      got.err, std::regex("Error line\\(\\d+\\): Error running command: "
                          "no_such_home_dir.InstallORV\\\\vinconfg -uiVSQ\n"
                          " Error line\\(\\d+\\): Unabled to run vinconfg to add instance\n")))
      << got.err;

  home.emplace("MARLOX_HOME", "");
  EXPECT_EQ(Capture([] {
              EXPECT_EQ(runVinConfg(ToolCommand::kCreate, "inst1"), ExitStatus::kToolNotRun);
            }).out,
            "");
}

}  // namespace
}  // namespace driver
