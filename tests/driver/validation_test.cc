#include "driver/validation.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <ranges>
#include <string>

#include "common/scratch_dir.h"
#include "framework/agent_config.h"
#include "support/capture.h"

namespace driver {
namespace {

class ValidationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"sql/Binn", "sql/log", "ora/Bin", "ora/network/admin"}) {
      std::filesystem::create_directories(scratch_.path() / dir);
    }
    for (const char* file : {"sql/Binn/sqlservr.exe", "sql/log/errorlog", "ora/Bin/oracle.exe",
                             "ora/network/admin/listener.ora", "syb.log"}) {
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
  using Validator = int (*)(const VFW::ConfigSection&);
  const Validator sql = validateMsSqlCfgParms, ora = validateOracleCfgParms,
                  syb = validateSybaseCfgParms;
  const std::string s = "db_login=sa;db_password=p;db_home={R}\\sql;";
  const std::string o = "db_login=system;db_password=p;db_home={R}\\ora;db_ver=";
  const std::string y = "db_login=sa;db_password=p;db_home={R}\\syb;db_ver=";
  const struct {
    Validator validate;
    std::string settings;
    int status;
    const char* said;
  } cases[] = {
      {sql, s + "db_errorlog={R}\\sql\\log\\errorlog", VDB_RC_OK, ""},
      {sql, "db_winauth=1;db_home={R}\\sql;db_errorlog={R}\\sql\\log\\errorlog", VDB_RC_OK,
       "Bypassing requirement for db_password with win auth\n"},
      {sql, "db_winauth=true;db_home={R}\\sql", VDB_RC_MISSING_PROPERTY,
       "Missing required property: db_login\n"},
      {sql, "db_login=sa;db_password=p;db_home={R}\\nowhere", VDB_RC_BAD_HOME,
       "File '{R}\\nowhere\\Binn\\sqlservr.exe' does not exist\n"},
      {sql, s, VDB_RC_BAD_ERRLOG, "Missing required property: db_errorlog\n"},
      {sql, s + "db_errorlog={R}\\none.log", VDB_RC_BAD_ERRLOG,
       "errorlog file name '{R}\\none.log' does not exist\n"},
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
    const std::string text = Path(c.settings);
    for (const auto& entry : std::views::split(text, ';')) {
      const std::string pair(entry.begin(), entry.end());
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

}  // namespace
}  // namespace driver
