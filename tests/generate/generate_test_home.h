// An etc directory with a configured list for the tests of file generation,
// records of each server kind, and the comparison with golden files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "common/line_ends.h"
#include "config/config_test_home.h"
#include "config/db_config_list.h"

namespace generate {

class GenerateTest : public config::ConfigTestHome {
 protected:
  void SetUp() override {
    list_.SetConsole(0);
    list_.SetEtcDir("ORVAGT6_DIR");
  }

  // A file of the etc directory as LF text, the etc directory shown as {ETC}.
  [[nodiscard]] std::string Read(const std::string& name) const {
    std::ifstream file(etc_ / name, std::ios::binary);
    std::stringstream text;
    text << file.rdbuf();
    std::string out = sqxa_test::WithLf(text.str());
    const std::string etc = Etc();
    for (size_t at = 0; (at = out.find(etc, at)) != std::string::npos;) {
      out.replace(at, etc.size(), "{ETC}");
    }
    return out;
  }

  // Compares a generated file with tests/fixtures/generate/<golden>. With
  // SQXA_UPDATE_GOLDEN=1 in the environment a differing golden file is
  // rewritten instead (review the difference before committing it).
  void ExpectGolden(const std::string& name, const std::string& golden) const {
    const std::string path = std::string(SQXA_FIXTURE_DIR) + "/generate/" + golden;
    std::ifstream file(path, std::ios::binary);
    std::stringstream expected;
    expected << file.rdbuf();
    const std::string got = Read(name);
    if (got != expected.str() && std::getenv("SQXA_UPDATE_GOLDEN") != nullptr) {
      std::ofstream(path, std::ios::binary) << got;
      return;
    }
    EXPECT_EQ(got, expected.str()) << "golden file " << golden;
  }

  config::DbConfigList list_;
};

[[nodiscard]] config::DbConfig SqlServerRecord(const std::string& name, const std::string& home);
[[nodiscard]] config::DbConfig OracleRecord(const std::string& name, const std::string& version,
                                            const std::string& tns_admin);
[[nodiscard]] config::DbConfig SybaseRecord(const std::string& name, const std::string& version);
[[nodiscard]] config::DbConfig InformixRecord(const std::string& name, int service_number);

// The home of the default SQL Server instance in DefaultHomeRegistry().
inline constexpr const char* kDefaultSqlHome = "C:\\Program Files\\Microsoft SQL Server\\MSSQL";
[[nodiscard]] std::string DefaultHomeRegistry();

// The management-agent file of SQL Server and the others, for the test settings.
inline constexpr const char* kManagementAgentText =
    "[Identity]\nMarProd=VSQ\n\n[Local Settings]\nMTIRA_HIST_DIR=@LogPath@\\History\n"
    "KBB_RAS1=ERROR\nCOLL_DEBUG=0\n\n[Services]\n";

}  // namespace generate
