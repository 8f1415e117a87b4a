// What a put checks before it writes, and the programs it runs.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "driver/external_commands.h"
#include "driver/validation.h"
#include "framework/agent_config.h"
#include "support/capture.h"

namespace driver {
namespace {

class ValidationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* file : {"sql/Binn/sqlservr.exe", "sql/log/errorlog", "ora/Bin/oracle.exe",
                             "ora/network/admin/listener.ora", "syb.log"}) {
      std::filesystem::create_directories((scratch_.path() / file).parent_path());
      std::ofstream(scratch_.path() / file) << "x";
    }
  }
  // `text` with "{R}" as the scratch directory in the Windows form the settings use.
  [[nodiscard]] std::string Path(std::string text) const {
    for (size_t at; (at = text.find("{R}")) != std::string::npos;) {
      text.replace(at, 3, scratch_.path().string());
    }
    return text;
  }
  const sqxa_test::ScratchDir scratch_;
};

// Each kind's validator stops at the first failure, which decides the status
// and is named; Windows authentication stands in for the login and password.
TEST_F(ValidationTest, FirstFailureDecidesTheStatus) {
  const auto sql = validateMsSqlCfgParms, ora = validateOracleCfgParms,
             syb = validateSybaseCfgParms;
  const std::string o = "db_login=system;db_password=p;db_home={R}\\ora;db_ver=";
  const std::string y = "db_login=sa;db_password=p;db_home={R}\\syb;db_ver=";
  const struct {
    decltype(sql) validate;
    std::string settings;
    int status;
    const char* said;
  } cases[] = {
      {sql, "db_winauth=true;db_home={R}\\sql", VDB_RC_MISSING_PROPERTY,
       "Missing required property: db_login\n"},
      {sql, "db_login=sa;db_password=p;db_home={R}\\sql;db_errorlog={R}\\none.log",
       VDB_RC_BAD_ERRLOG, "errorlog file name '{R}\\none.log' does not exist\n"},
      {ora, o + "8.1.7", VDB_RC_OK, ""},
      {ora, o + "7.3", VDB_RC_BAD_VERSION, "Invalid version 7 for db_ver property value '7'"},
      {ora, o + "10.2;db_tns={R}\\sql", VDB_RC_MISSING_PROPERTY, ""},  // no listener.ora there
      {syb, y + "11.0;db_errorlog={R}\\syb.log;SYBASE_OCS=OCS-12_5", VDB_RC_OK, ""},
      {syb, y + "10.0;db_errorlog={R}\\syb.log;SYBASE_OCS=OCS-12_5", VDB_RC_BAD_VERSION, ""},
      {syb, y + "12.5;SYBASE_OCS=OCS-12_5", VDB_RC_MISSING_PROPERTY, ""},  // not 108 here
      {syb, y + "12.5;db_errorlog={R}\\none.log;SYBASE_OCS=OCS-12_5", VDB_RC_BAD_ERRLOG, ""},
      {syb, y + "12.5;db_errorlog={R}\\syb.log", VDB_RC_MISSING_PROPERTY, ""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.settings);
    VFW::ConfigSection settings("DBSETTINGS");
    const std::string text = Path(c.settings) + ";";
    for (size_t at = 0, end; (end = text.find(';', at)) != std::string::npos; at = end + 1) {
      const std::string pair = text.substr(at, end - at);
      settings.writeEntry(pair.substr(0, pair.find('=')), pair.substr(pair.find('=') + 1));
    }
    const Captured got = Capture([&] { EXPECT_EQ(c.validate(settings), c.status); });
    EXPECT_NE(got.err.find(Path(c.said)), std::string::npos) << got.err;
  }
}

// The major version: the digits before the point, or the first two characters
// of a long or empty part, read from a buffer of 17.
TEST_F(ValidationTest, MajorVersionAndMissingFile) {
  const struct {
    std::string version;
    int major;
    const char* copied;
  } cases[] = {{"10.2.0", 10, "10"},
               {"9", 9, "9"},
               {"12c", 12, "12c"},
               {".5", 0, ".5"},
               {std::string(20, '1') + ".0", 11, "11"},
               {std::string(15, '0') + "123.0", 12, "00000000000000012"}};
  for (const auto& c : cases) {
    std::string copied;
    EXPECT_EQ(majorVersion(c.version, &copied), c.major) << c.version;
    EXPECT_EQ(copied, c.copied);
  }
  const std::string said =
      Capture([&] { EXPECT_EQ(checkFileExists(Path("{R}\\none.log")), 1); }).err;
  EXPECT_EQ(said.substr(said.find(')')), Path("): File '{R}\\none.log' does not exist\n"));
}

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
