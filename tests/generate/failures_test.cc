// Files that cannot be made or put in place: the writers' results and traces,
// and the old files left whole.
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

#include "common/host_registry.h"
#include "generate/agent_files.h"
#include "generate/generate_test_home.h"
#include "platform/files.h"
#include "platform/profile.h"
#include "support/capture.h"

namespace generate {
namespace {

class Failures : public GenerateTest {
 protected:
  void UseEtc(const std::string& etc) {
    other_etc_.emplace("ORVAGT6_DIR", etc);
    list_.SetEtcDir("ORVAGT6_DIR");
  }
  // Runs the code with the console on and answers what it traced.
  std::string Traced(const std::function<void()>& code) {
    list_.SetConsole(1);
    const Captured got = Capture(code);
    list_.SetConsole(0);
    return got.out;
  }
  [[nodiscard]] std::set<std::string> Names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(etc_)) {
      names.insert(entry.path().filename().string());
    }
    return names;
  }
  std::optional<sqxa_test::ScopedEnv> other_etc_;
};

TEST_F(Failures, DirectoryThatCannotBeMade) {
  // Forward slashes: one component whose parent is missing, on every platform.
  const std::string etc = (etc_ / "missing" / "deeper").generic_string();
  UseEtc(etc);
  const config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL");
  const std::string traced = Traced([&] {
    EXPECT_EQ(write_single_mssql_ini(list_, record, 3), 2);
    EXPECT_EQ(write_single_mssql_bat(list_, record), 2);
    EXPECT_EQ(write_single_oracle_bat(list_, OracleRecord("O", "9.2", "")), 2);
    EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 2);
  });
  EXPECT_NE(traced.find("ERROR: File '" + etc + "\\VSQMMA_INST1.ini' create_dir() failure\n"),
            std::string::npos)
      << traced;
  EXPECT_EQ(Names(), std::set<std::string>{});
}

TEST_F(Failures, FileThatCannotBeOpened) {
  Write("plain", "a file where the etc directory should be");
  const std::string etc = (etc_ / "plain").string();
  UseEtc(etc);
  const std::string traced = Traced([&] {
    EXPECT_EQ(write_single_mssql_ini(list_, SqlServerRecord("INST1", "D:\\SQL"), 3), 1);
    EXPECT_EQ(write_single_sybase_bat(list_, SybaseRecord("S", "12.5")), 1);
    list_.Add(std::make_unique<config::DbConfig>(InformixRecord("I", 0)), ServerKind::kInformix);
    EXPECT_EQ(write_informix_ini_files(list_, 1), 0);
  });
  EXPECT_NE(traced.find("ERROR: File '" + etc + "\\VSQMMA_INST1.ini' open_init() failure\n"),
            std::string::npos)
      << traced;
  EXPECT_EQ(Names(), std::set<std::string>{"plain"});
}

TEST_F(Failures, CrashBeforeTheRenameLeavesTheOldFiles) {
  ASSERT_TRUE(sqxa_test::LoadHost(DefaultHomeRegistry()));
  Write("vsqmma.ini", kManagementAgentText);
  config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL");
  list_.Add(std::make_unique<config::DbConfig>(record), ServerKind::kSqlServer);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, record, 3), 0);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
  ASSERT_TRUE(platform::WriteIniSection("Override Local Settings", "A=1\0\0",
                                        Etc() + "\\VSQMMA_INST1.ini"));
  const std::set<std::string> names = Names();
  const std::string ini = Read("VSQMMA_INST1.ini");
  const std::string bat = Read("MSMSQL_INST1.bat");
  const std::string include = Read("vsqinc.ini");

  const platform::FileSystemCalls real = platform::SetFileSystemCallsForTesting(nullptr);
  platform::FileSystemCalls failing = real;
  failing.rename = [](const std::string&, const std::string&) { return EIO; };
  (void)platform::SetFileSystemCallsForTesting(&failing);
  record.setLoginName("changed");
  list_.Add(std::make_unique<config::DbConfig>(SqlServerRecord("INST2", "D:\\SQL2")),
            ServerKind::kSqlServer);
  const std::string traced = Traced([&] {
    EXPECT_EQ(write_single_mssql_ini(list_, record, 3), 1);
    EXPECT_EQ(write_single_mssql_bat(list_, record), 1);
    EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 2);
    EXPECT_EQ(CopyLocalSettings(list_, Etc() + "\\vsqmma.ini", Etc() + "\\vdbtset.ini"), -2);
  });
  (void)platform::SetFileSystemCallsForTesting(nullptr);

  EXPECT_EQ(Read("VSQMMA_INST1.ini"), ini);
  EXPECT_EQ(Read("MSMSQL_INST1.bat"), bat);
  EXPECT_EQ(Read("vsqinc.ini"), include);
  EXPECT_EQ(Names(), names);
  // The traces of a replaced file stay as they were.
  EXPECT_NE(traced.find("File '" + Etc() + "\\VSQMMA_INST1.ini' existed\n"), std::string::npos);
  EXPECT_EQ(traced.find("Finished generating"), std::string::npos);
}

}  // namespace
}  // namespace generate
