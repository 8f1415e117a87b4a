// The files an instance runs from, by server kind: against golden files, escaped
// for cmd, listed in the include file, the settings at their end (test settings,
// the site's overrides), and what the writers do when the files cannot be made.
#include "generate/agent_files.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "common/host_registry.h"
#include "common/line_ends.h"
#include "config/config_test_home.h"
#include "config/db_config_list.h"
#include "generate/bat_text.h"
#include "platform/profile.h"
#include "support/capture.h"

namespace generate {
namespace {

// The management-agent file of SQL Server and the others, for the test settings.
constexpr const char* kManagementAgentText =
    "[Identity]\nMarProd=VSQ\n\n[Local Settings]\nMTIRA_HIST_DIR=@LogPath@\\History\n"
    "KBB_RAS1=ERROR\nCOLL_DEBUG=0\n\n[Services]\n";
// A host whose default SQL Server instance has its home in C:\Program Files.
constexpr const char* kDefaultHomeRegistry =
    "Windows Registry Editor Version 5.00\n\n"
    "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\Setup]\n"
    "\"SQLPath\"=\"C:\\\\Program Files\\\\Microsoft SQL Server\\\\MSSQL\"\n\n";

config::DbConfig Record(int kind, const std::string& name, const std::string& home,
                        const std::string& version) {
  config::DbConfig record;
  record.setServerType(kind);
  record.setServerName(name);
  record.setLoginName("monitor");
  record.setPassword("{AES256:keyfile:a}c2VjcmV0");
  record.setErrorLog("D:\\logs\\" + name + ".log");
  record.setHomeDir(home);
  record.setVersion(version);
  return record;
}
config::DbConfig SqlServerRecord(const std::string& name, const std::string& home) {
  config::DbConfig record = Record(3, name, home, "10.50.1600.1");
  record.setClusterServer("NODE7");
  record.setIncludeDbNames("master,model");
  record.setPort("1433");
  record.setLongLiveConnect("YES");
  record.setWinAuthentication("NO");
  record.setTbldDailyFrequency(1);
  record.setTbldWeeklyFrequency(2);
  record.setTbldMonthlyFrequency(3);
  record.setTbldCtimeHrs(4);
  record.setTbldCtimeMins(5);
  record.setErrorlogStartupMaxTime(6);
  record.setErrorlogStartupMaxEventRow(7);
  record.setErrorlogMaxEventRow(8);
  return record;
}
config::DbConfig OracleRecord(const std::string& name, const std::string& version,
                              const std::string& tns_admin) {
  config::DbConfig record = Record(1, name, "C:\\oracle\\ora" + version, version);
  record.setTnsAdmin(tns_admin);
  record.setExtendedParams("1");
  return record;
}
config::DbConfig SybaseRecord(const std::string& name, const std::string& version) {
  config::DbConfig record = Record(2, name, "C:\\sybase", version);
  record.setOcsDir("C:\\sybase\\OCS-15_0");
  return record;
}
config::DbConfig InformixRecord(const std::string& name, int service_number) {
  config::DbConfig record = Record(4, name, "C:\\informix", "11.70");
  record.setServiceNumber(service_number);
  return record;
}

class GenerateTest : public config::ConfigTestHome {
 protected:
  void SetUp() override {
    list_.SetConsole(0);
    list_.SetEtcDir("ORVAGT6_DIR");
  }

  static std::string Slurp(const std::filesystem::path& path) {
    std::stringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
  }
  // A file of the etc directory as LF text, the etc directory shown as {ETC}.
  [[nodiscard]] std::string Read(const std::string& name) const {
    std::string out = sqxa_test::WithLf(Slurp(etc_ / name));
    for (size_t at = 0; (at = out.find(Etc(), at)) != std::string::npos;) {
      out.replace(at, Etc().size(), "{ETC}");
    }
    return out;
  }
  // Compares a generated file with tests/fixtures/generate/<golden>.
  void ExpectGolden(const std::string& name, const std::string& golden) const {
    EXPECT_EQ(Read(name), Slurp(std::string(SQXA_FIXTURE_DIR) + "/generate/" + golden)) << golden;
  }

  config::DbConfigList list_;
};

// Outside quotes what cmd would read as syntax is escaped; between quotes
// (each quote toggles) only percent signs are doubled. A value may begin
// inside quotes (the START line's registry key).
TEST(BatText, EscapesWhatCmdWouldReadOutsideQuotesAndDoublesPercentEverywhere) {
  EXPECT_EQ(BatText("", false), "");
  EXPECT_EQ(BatText("a&b|c>d<e^f(g)h", false), "a^&b^|c^>d^<e^^f^(g^)h");
  EXPECT_EQ(BatText("C:\\Program Files (x86)\\a", false), "C:\\Program Files ^(x86^)\\a");
  EXPECT_EQ(BatText("%PATH%", false), "%%PATH%%");
  EXPECT_EQ(BatText(" lead 100% ", false), " lead 100%% ");
  EXPECT_EQ(BatText("\"a&b%c\"", false), "\"a&b%%c\"");
  EXPECT_EQ(BatText("x\"&|\"&", false), "x\"&|\"^&");
  EXPECT_EQ(BatText("\"open&(", false), "\"open&(");
  EXPECT_EQ(BatText("a\"\"&", false), "a\"\"^&");
  EXPECT_EQ(BatText("a&b%c", true), "a&b%%c");
  EXPECT_EQ(BatText("a\"&", true), "a\"^&");
}

TEST_F(GenerateTest, EachKindAndVersion) {
  ASSERT_TRUE(sqxa_test::LoadHost(kDefaultHomeRegistry));
  for (const char* name : {"vsqmma.ini", "vormma.ini", "vsymma.ini"}) {
    Write(name, kManagementAgentText);
  }
  // The home of the default instance differs from the registry's only in letter case.
  config::DbConfig main =
      SqlServerRecord("MSSQLSERVER", "c:\\program files\\microsoft sql server\\mssql");
  main.setExtendedParams("1");
  const auto expect = [&](ServerKind kind, const config::DbConfig& record, int number,
                          const std::string& ini, const std::string& bat,
                          const std::string& golden) {
    ASSERT_EQ(Generate_IniBatFiles(list_, kind, record, number), 0) << golden;
    ExpectGolden(ini + record.getServerName() + ".ini", golden + ".ini");
    ExpectGolden(bat + record.getServerName() + ".bat", golden + ".bat");
  };
  expect(ServerKind::kSqlServer,
         SqlServerRecord("INST1", "C:\\Program Files\\Microsoft SQL Server\\MSSQL10.INST1\\MSSQL"),
         3, "VSQMMA_", "MSMSQL_", "mssql_named");
  expect(ServerKind::kSqlServer, main, 0, "VSQMMA_", "MSMSQL_", "mssql_default");
  for (const std::string version : {"8.1.7", "9.2.0", "12.1.0"}) {
    const config::DbConfig record =
        OracleRecord("ORA" + version, version, version == "8.1.7" ? "D:\\tns" : "");
    expect(ServerKind::kOracle, record, 1, "VORMMA_", "Oracle_", "oracle_" + version);
  }
  for (const std::string version : {"11.9.2", "12.5", "15.0.3"}) {
    expect(ServerKind::kSybase, SybaseRecord("SYB" + version, version), 2, "VSYMMA_", "Sybase_",
           "sybase_" + version);
  }
  EXPECT_TRUE(std::filesystem::is_directory(etc_ / "logs" / "History" / "VSQ" / "INST1"));
}

TEST_F(GenerateTest, InformixFilesOfTheWholeList) {
  // The Informix test settings come from the working directory.
  Write("vdbtset.ini", "[Local Settings]\nCOLL_DEBUG=1\n");
  const sqxa_test::ScopedEnv host("SQXA_TEST_HOST", "dbhost");
  const sqxa_test::ScopedCwd cwd(etc_);
  list_.SetHostName("SQXA_TEST_HOST");
  list_.Add(std::make_unique<config::DbConfig>(InformixRecord("IFX1", 4)), ServerKind::kInformix);
  list_.Add(std::make_unique<config::DbConfig>(InformixRecord("IFX2", 5)), ServerKind::kInformix);
  EXPECT_EQ(write_informix_ini_files(list_, 2), 2);
  EXPECT_EQ(write_informix_bat_files(list_, 2), 2);
  ExpectGolden("VIXMMA_IFX1.ini", "informix.ini");
  ExpectGolden("Informix_IFX1.bat", "informix.bat");
}

// Values that cmd would read as syntax: the .ini and include files keep them
// as given, each kind's .bat writer escapes them on its own lines.
TEST_F(GenerateTest, IniKeepsValuesAsGivenBatEscapesThem) {
  for (const char* name : {"vsqmma.ini", "vormma.ini", "vsymma.ini"}) {
    Write(name, kManagementAgentText);
  }
  config::DbConfig sql = SqlServerRecord("a%n&s", "C:\\100%\\(x86)\\%PATH%");
  sql.setLoginName("x%d%%");
  sql.setPassword("p\"&|\"&");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, sql, 7), 0);
  config::DbConfig oracle = OracleRecord("O1", "9.2.0", ""), sybase = SybaseRecord("S1", "11.9.2"),
                   informix = InformixRecord("I1", 4);
  for (config::DbConfig* record : {&oracle, &sybase, &informix}) {
    record->setHomeDir("C:\\a (x86)&%b");
  }
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kOracle, oracle, 1), 0);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSybase, sybase, 2), 0);
  list_.Add(std::make_unique<config::DbConfig>(informix), ServerKind::kInformix);
  list_.Add(std::make_unique<config::DbConfig>(sql), ServerKind::kSqlServer);
  EXPECT_EQ(write_informix_bat_files(list_, 1), 1);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);

  const auto expect_line = [&](const std::string& file, const std::string& line) {
    EXPECT_NE(Read(file).find(line), std::string::npos) << line << Read(file);
  };
  expect_line("VSQMMA_a%n&s.ini", "COLL_LOGON=x%d%%\n");
  expect_line("vsqinc.ini", "\n[Include]\nAdd={ETC}\\VSQMMA_a%n&s.ini\n");
  expect_line("MSMSQL_a%n&s.bat", "SET INST=a%%n^&s\n");
  expect_line("MSMSQL_a%n&s.bat", "SET COLL_PASSWORD=p\"&|\"^&\n");
  expect_line("MSMSQL_a%n&s.bat", "SET MSSQL_HOME=C:\\100%%\\^(x86^)\\%%PATH%%\n");
  expect_line("MSMSQL_a%n&s.bat", "-hkey \"VSQ\\610\\a%%n&s\"\n");
  expect_line("Oracle_O1.bat", "SET PATH=C:\\a ^(x86^)^&%%b\\bin;%PATH%\n");
  expect_line("Sybase_S1.bat", "SET SYBASE_OCS=C:\\a ^(x86^)^&%%b\n");
  expect_line("Informix_I1.bat", "SET INFORMIXDIR=C:\\a ^(x86^)^&%%b\n");
  for (const char* bat : {"Oracle_O1.bat", "Sybase_S1.bat", "Informix_I1.bat"}) {
    EXPECT_EQ(Read(bat).find("(x86)"), std::string::npos) << bat;
  }
}

// An etc directory whose parent is missing (forward slashes: one component on
// every platform) or which is a plain file: nothing is made.
TEST_F(GenerateTest, EtcDirectoryThatCannotBeMadeOrOpened) {
  Write("plain", "a file where the etc directory should be");
  const struct {
    std::string etc;
    int status;
    const char* step;
  } cases[] = {{(etc_ / "missing" / "deeper").generic_string(), 2, "create_dir"},
               {(etc_ / "plain").string(), 1, "open_init"}};
  list_.Add(std::make_unique<config::DbConfig>(InformixRecord("I", 0)), ServerKind::kInformix);
  for (const auto& c : cases) {
    const sqxa_test::ScopedEnv etc("ORVAGT6_DIR", c.etc);
    list_.SetEtcDir("ORVAGT6_DIR");
    const config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL");
    list_.SetConsole(1);
    const std::string traced =
        Capture([&] {
          EXPECT_EQ(write_single_mssql_ini(list_, record, 3), c.status);
          EXPECT_EQ(write_single_mssql_bat(list_, record), c.status);
          EXPECT_EQ(write_single_oracle_bat(list_, OracleRecord("O", "9.2", "")), c.status);
          EXPECT_EQ(write_single_sybase_bat(list_, SybaseRecord("S", "12.5")), c.status);
          EXPECT_EQ(write_informix_ini_files(list_, 1), 0);
          EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 2);
        }).out;
    EXPECT_NE(
        traced.find("ERROR: File '" + c.etc + "\\VSQMMA_INST1.ini' " + c.step + "() failure\n"),
        std::string::npos)
        << traced;
    EXPECT_EQ(scratch_.Entries(), std::vector<std::string>{"plain"});
  }
}

// Each kind's include file, rewritten whole from the list; unknown kinds have
// none.
TEST_F(GenerateTest, IncludeFileOfEachKindRewrittenWhole) {
  const struct {
    ServerKind kind;
    std::string include_file, ini_stem;
  } kinds[] = {{ServerKind::kOracle, "vorinc.ini", "VORMMA_"},
               {ServerKind::kSybase, "vsyinc.ini", "VSYMMA_"},
               {ServerKind::kSqlServer, "vsqinc.ini", "VSQMMA_"},
               {ServerKind::kInformix, "vixinc.ini", "VIXMMA_"}};
  for (const auto& kind : kinds) {
    Write(kind.include_file, "\n[Include]\nAdd=stale\n");
    for (const std::string name : {"I1", "I2"}) {
      list_.Add(std::make_unique<config::DbConfig>(
                    Record(support::KindNumber(kind.kind), name, "D:\\" + name, "11.2")),
                kind.kind);
    }
    ASSERT_EQ(Generate_IniIncFile(list_, kind.kind), 0);
    const std::string add = "Add={ETC}\\" + kind.ini_stem;
    EXPECT_EQ(Read(kind.include_file), "\n[Include]\n" + add + "I1.ini\n" + add + "I2.ini\n");
  }
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind{5}), 1);
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kNone), 1);
}

TEST_F(GenerateTest, CopiesEveryLocalSettingsSectionUpToItsFirstEmptyLine) {
  const std::string long_value(5000, 'x');
  Write("vsqmma.ini",
        "[Local Settings]x\nNOT_A_HEADER=1\n"
        "[Local Settings]\r\nMTIRA_HIST_DIR=@LogPath@\r\nA=1\r\nX_MTIRA_HIST_DIR_Y=2\r\n\r\nB=2\n"
        "[Other]\nC=3\n"
        "[Local Settings]\nD=" +
            long_value + "\n[Local Settings]\nE=5\n[Next]\nF=6\n[Local Settings]\nG=7");
  ASSERT_EQ(CopyLocalSettings(list_, Etc() + "\\vsqmma.ini", Etc() + "\\copy.ini"), 0);
  EXPECT_EQ(Read("copy.ini"), "[Local Settings]\nA=1\n[Local Settings]\nD=" + long_value +
                                  "\n[Local Settings]\nE=5\n[Local Settings]\nG=7\n");

  EXPECT_EQ(CopyLocalSettings(list_, Etc() + "\\missing.ini", Etc() + "\\copy.ini"), -1);
  EXPECT_EQ(CopyLocalSettings(list_, Etc() + "\\vsqmma.ini", Etc() + "\\no\\such\\copy.ini"), -2);
  EXPECT_FALSE(Exists("no"));
}

TEST_F(GenerateTest, TestSettingsMadeOnceAndReusedByEveryInstanceAndKind) {
  Write("vsqmma.ini", kManagementAgentText);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, SqlServerRecord("A", "D:\\A"), 0),
            0);
  const std::string settings = "[Local Settings]\nKBB_RAS1=ERROR\nCOLL_DEBUG=0\n";
  // Another instance, even of another kind whose management-agent file is
  // missing, takes the file as it is (the golden files show it made).
  Write("vsqmma.ini", "[Local Settings]\nCHANGED=1\n");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kOracle, OracleRecord("B", "11.2", ""), 1), 0);
  EXPECT_EQ(Read("vdbtset.ini"), settings);
  EXPECT_TRUE(Read("VORMMA_B.ini").ends_with("Action=NOStart\n" + settings))
      << Read("VORMMA_B.ini");
}

// Without the kind's management-agent file no instance file is made. Kind 4
// has none; with a test-settings file in place it is refused by the driver.
TEST_F(GenerateTest, MissingSourceStopsTheInstanceFiles) {
  EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kSybase, SybaseRecord("S", "15.0"), 0), -1);
  EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kInformix, InformixRecord("I", 0), 0), -1);
  Write("vdbtset.ini", "");
  EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kInformix, InformixRecord("I", 0), 0), 10);
  EXPECT_FALSE(Exists("VSYMMA_S.ini") || Exists("VIXMMA_I.ini"));
}

// Sections of two entries, of more than one read step (60 entries of 20
// characters: read with 520, 1040 and 1560 bytes), and of one entry of 518
// characters, for which the reader's answer for 520 bytes is size - 2, which
// must be taken as "did not fit".
TEST_F(GenerateTest, OverridesKeptAtTheEndOfTheRegeneratedFile) {
  ASSERT_TRUE(sqxa_test::LoadHost(kDefaultHomeRegistry));
  Write("vdbtset.ini", "[Local Settings]\nCOLL_DEBUG=0\n");
  std::string sixty;
  for (int i = 10; i < 70; ++i)
    sixty += "OVERRIDE_KEY_" + std::to_string(i) + "=" + std::to_string(i * 7 + 1000) + "\n";
  for (const std::string& lines :
       {std::string("COLL_DEBUG=9\nKDC_DEBUG=Y\n"), sixty, "K=" + std::string(515, 'v') + "\n"}) {
    std::filesystem::remove(etc_ / "VSQMMA_INST1.ini");
    config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL\\INST1");
    ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
    EXPECT_EQ(Read("VSQMMA_INST1.ini").find("Override"), std::string::npos);  // none yet
    std::string entries = lines + '\n';
    for (char& c : entries) c = c == '\n' ? '\0' : c;
    ASSERT_TRUE(platform::WriteIniSection("Override Local Settings", entries.c_str(),
                                          Etc() + "\\VSQMMA_INST1.ini"));
    record.setLoginName("changed");
    ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
    const std::string text = Read("VSQMMA_INST1.ini");
    EXPECT_NE(text.find("COLL_LOGON=changed\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("COLL_DEBUG=0\n[Override Local Settings]\n" + lines)) << text;
    EXPECT_EQ(text.find("[Override"), text.rfind("[Override"));
  }
}

TEST_F(GenerateTest, NoOverridesInTheOtherKindsFiles) {
  Write("vdbtset.ini", "[Local Settings]\nCOLL_DEBUG=0\n");
  using Writer = int (*)(config::DbConfigList&, const config::DbConfig&, int);
  const std::tuple<Writer, config::DbConfig, std::string> others[] = {
      {write_single_oracle_ini, OracleRecord("ORA1", "11.2.0", ""), "VORMMA_ORA1.ini"},
      {write_single_sybase_ini, SybaseRecord("SYB1", "15.0.3"), "VSYMMA_SYB1.ini"}};
  for (const auto& [write, record, name] : others) {
    ASSERT_EQ(write(list_, record, 1), 0);
    ASSERT_TRUE(
        platform::WriteIniSection("Override Local Settings", "A=1\0\0", Etc() + "\\" + name));
    ASSERT_EQ(write(list_, record, 1), 0);
    EXPECT_EQ(Read(name).find("Override"), std::string::npos) << name;
  }
}

}  // namespace
}  // namespace generate
