#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <regex>
#include <string>

#include "common/scratch_dir.h"
#include "driver/validation.h"
#include "framework/agent_config.h"
#include "support/capture.h"
#include "support/server_kind.h"

namespace fs = std::filesystem;

namespace driver {
namespace {

class ValidationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (const char* dir : {"sql/Binn", "sql/log", "ora/Bin", "ora/network/admin"}) {
      fs::create_directories(root_ / dir);
    }
    for (const char* file : {"sql/Binn/sqlservr.exe", "sql/log/errorlog", "ora/Bin/oracle.exe",
                             "ora/network/admin/listener.ora", "syb.log"}) {
      std::ofstream(root_ / file) << "x";
    }
  }
  // A path in the Windows form the settings use.
  std::string Path(const std::string& relative) const { return root_.string() + "\\" + relative; }
  const sqxa_test::ScratchDir scratch_;
  const fs::path root_ = scratch_.path();
};

VFW::ConfigSection Settings(std::initializer_list<std::pair<const char*, std::string>> entries) {
  VFW::ConfigSection section("DBSETTINGS");
  for (const auto& [key, value] : entries) section.writeEntry(key, value);
  return section;
}

// The first failure decides the status and is named; Windows authentication
// stands in for the login and password.
TEST_F(ValidationTest, SqlServerStopsAtTheFirstFailure) {
  const std::string home = Path("sql"), errorlog = Path("sql\\log\\errorlog");
  const std::string nowhere = Path("nowhere"), none = Path("none.log");
  const struct {
    VFW::ConfigSection settings;
    int status;
    std::string said;
  } kCases[] = {
      {Settings({{"db_login", "sa"},
                 {"db_password", "p"},
                 {"db_home", home},
                 {"db_errorlog", errorlog}}),
       VDB_RC_OK, ""},
      {Settings({{"db_winauth", "1"}, {"db_home", home}, {"db_errorlog", errorlog}}), VDB_RC_OK,
       "Bypassing requirement for db_password with win auth\n"},
      {Settings({{"db_winauth", "true"}, {"db_home", home}}), VDB_RC_MISSING_PROPERTY,
       "Missing required property: db_login\n"},
      {Settings({{"db_login", "sa"}, {"db_password", "p"}, {"db_home", nowhere}}), VDB_RC_BAD_HOME,
       "File '" + nowhere + "\\Binn\\sqlservr.exe' does not exist\n"},
      {Settings({{"db_login", "sa"}, {"db_password", "p"}, {"db_home", home}}), VDB_RC_BAD_ERRLOG,
       "Missing required property: db_errorlog\n"},
      {Settings(
           {{"db_login", "sa"}, {"db_password", "p"}, {"db_home", home}, {"db_errorlog", none}}),
       VDB_RC_BAD_ERRLOG, "errorlog file name '" + none + "' does not exist\n"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.said);
    const Captured got = Capture([&] { EXPECT_EQ(validateMsSqlCfgParms(c.settings), c.status); });
    EXPECT_NE(got.err.find(c.said), std::string::npos) << got.err;
  }
}

TEST_F(ValidationTest, OracleVersionsHomesAndListener) {
  const auto oracle = [&](const std::string& version, const std::string& tns) {
    auto settings = Settings({{"db_login", "system"},
                              {"db_password", "p"},
                              {"db_ver", version},
                              {"db_home", Path("ora")}});
    if (!tns.empty()) settings.writeEntry("db_tns", tns);
    int result = -1;
    (void)Capture([&] { result = validateOracleCfgParms(settings); });
    return result;
  };
  EXPECT_EQ(oracle("8.1.7", ""), VDB_RC_OK);
  EXPECT_EQ(oracle("7.3", ""), VDB_RC_BAD_VERSION);
  EXPECT_EQ(oracle("12c", ""), VDB_RC_OK);
  EXPECT_EQ(oracle(".5", ""), VDB_RC_BAD_VERSION);
  EXPECT_EQ(oracle("10.2", Path("sql")), VDB_RC_MISSING_PROPERTY);  // no listener.ora there
}

TEST_F(ValidationTest, SybaseOrderAndCodes) {
  const auto sybase = [&](const std::string& version, const std::string& errorlog, bool ocs) {
    auto settings = Settings(
        {{"db_login", "sa"}, {"db_password", "p"}, {"db_ver", version}, {"db_home", Path("syb")}});
    if (!errorlog.empty()) settings.writeEntry("db_errorlog", errorlog);
    if (ocs) settings.writeEntry("SYBASE_OCS", "OCS-12_5");
    int result = -1;
    (void)Capture([&] { result = validateSybaseCfgParms(settings); });
    return result;
  };
  EXPECT_EQ(sybase("11.0", Path("syb.log"), true), VDB_RC_OK);
  EXPECT_EQ(sybase("10.0", Path("syb.log"), true), VDB_RC_BAD_VERSION);
  EXPECT_EQ(sybase("12.5", "", true), VDB_RC_MISSING_PROPERTY);  // not 108 here
  EXPECT_EQ(sybase("12.5", Path("none.log"), true), VDB_RC_BAD_ERRLOG);
  EXPECT_EQ(sybase("12.5", Path("syb.log"), false), VDB_RC_MISSING_PROPERTY);
}

TEST(MajorVersionTest, DigitsBeforeThePoint) {
  std::string copied;
  EXPECT_EQ(majorVersion("10.2.0", &copied), 10);
  EXPECT_EQ(majorVersion("9", &copied), 9);
  EXPECT_EQ(majorVersion(".5", &copied), 0);
  EXPECT_EQ(copied, ".5");
  EXPECT_EQ(majorVersion(std::string(20, '1') + ".0", &copied), 11);  // too long: two characters
  EXPECT_EQ(copied, "11");
  EXPECT_EQ(majorVersion(std::string(15, '0') + "123.0", &copied), 12);
  EXPECT_EQ(copied.size(), 17u);  // cut to what the buffer holds
}

TEST_F(ValidationTest, CheckFileExistsReportsBothWaysInTheErrorForm) {
  const Captured got = Capture([&] {
    EXPECT_EQ(checkFileExists(Path("syb.log")), 0);
    EXPECT_EQ(checkFileExists(Path("none.log")), 1);
  });
  EXPECT_TRUE(
      std::regex_match(got.err, std::regex("Error line\\(\\d+\\): File '.*syb\\.log' is valid\n"
                                           "Error line\\(\\d+\\): File '.*none\\.log' does "
                                           "not exist\n")))
      << got.err;
}

}  // namespace
}  // namespace driver
