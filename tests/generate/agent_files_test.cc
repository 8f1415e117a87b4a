// The generated files of each server kind, line for line, their values escaped
// for cmd, the include file that lists them, and what the writers do when the
// files cannot be made.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "generate/bat_text.h"
#include "generate/generate_test_home.h"

namespace generate {
namespace {

struct Case {
  const char* value;
  bool quoted;
  const char* text;
};

TEST(BatText, EscapesWhatCmdWouldReadOutsideQuotesAndDoublesPercentEverywhere) {
  const Case cases[] = {
      {"", false, ""},
      {"plain value 1", false, "plain value 1"},
      {"a&b|c>d<e^f(g)h", false, "a^&b^|c^>d^<e^^f^(g^)h"},
      {"C:\\Program Files (x86)\\a", false, "C:\\Program Files ^(x86^)\\a"},
      {"%PATH%", false, "%%PATH%%"},
      {"100%", false, "100%%"},
      {" lead and trail ", false, " lead and trail "},
      // Between quotes only percent signs change; each quote toggles.
      {"\"a&b%c\"", false, "\"a&b%%c\""},
      {"x\"&|\"&", false, "x\"&|\"^&"},
      {"\"open&(", false, "\"open&("},
      {"a\"\"&", false, "a\"\"^&"},
      {"\"", false, "\""},
      // The value begins inside quotes (the START line's registry key).
      {"a&b%c", true, "a&b%%c"},
      {"a\"&", true, "a\"^&"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(BatText(c.value, c.quoted), c.text) << c.value << " quoted=" << c.quoted;
  }
}

using GoldenFiles = GenerateTest;

TEST_F(GoldenFiles, EachKindAndVersion) {
  ASSERT_TRUE(sqxa_test::LoadHost(DefaultHomeRegistry()));
  for (const char* name : {"vsqmma.ini", "vormma.ini", "vsymma.ini"}) {
    Write(name, kManagementAgentText);
  }
  // The home of the default instance differs from the registry's only in letter case.
  config::DbConfig main =
      SqlServerRecord("MSSQLSERVER", "c:\\program files\\microsoft sql server\\mssql");
  main.setExtendedParams("1");
  const auto expect = [&](ServerKind kind, const config::DbConfig& record, int number,
                           const std::string& ini, const std::string& bat, const std::string& golden) {
    ASSERT_EQ(Generate_IniBatFiles(list_, kind, record, number), 0) << golden;
    ExpectGolden(ini + record.getServerName() + ".ini", golden + ".ini");
    ExpectGolden(bat + record.getServerName() + ".bat", golden + ".bat");
  };
  expect(ServerKind::kSqlServer,
         SqlServerRecord("INST1", "C:\\Program Files\\Microsoft SQL Server\\MSSQL10.INST1\\MSSQL"), 3,
         "VSQMMA_", "MSMSQL_", "mssql_named");
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

TEST_F(GoldenFiles, InformixFilesOfTheWholeList) {
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
  EXPECT_TRUE(Exists("VIXMMA_IFX2.ini"));
  EXPECT_TRUE(Exists("Informix_IFX2.bat"));
}

// Values that cmd would read as syntax: the .ini and include files keep them
// as given, each kind's .bat writer escapes them on its own lines.
TEST_F(GoldenFiles, IniKeepsValuesAsGivenBatEscapesThem) {
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

  const struct {
    const char* file;
    const char* line;
  } cases[] = {
      {"VSQMMA_a%n&s.ini", "COLL_LOGON=x%d%%\n"},
      {"VSQMMA_a%n&s.ini", "MSSQL_HOME=C:\\100%\\(x86)\\%PATH%\n"},
      {"vsqinc.ini", "\n[Include]\nAdd={ETC}\\VSQMMA_a%n&s.ini\n"},
      {"MSMSQL_a%n&s.bat", "SET INST=a%%n^&s\n"},
      {"MSMSQL_a%n&s.bat", "SET COLL_PASSWORD=p\"&|\"^&\n"},
      {"MSMSQL_a%n&s.bat", "SET MSSQL_HOME=C:\\100%%\\^(x86^)\\%%PATH%%\n"},
      {"MSMSQL_a%n&s.bat", "SET KDH_SERVICEPOINT=%COMPUTERNAME%_SQ_a%%n^&s\n"},
      {"MSMSQL_a%n&s.bat", "-hkey \"VSQ\\610\\a%%n&s\"\n"},
      {"Oracle_O1.bat", "SET PATH=C:\\a ^(x86^)^&%%b\\bin;%PATH%\n"},
      {"Oracle_O1.bat", "SET TNS_ADMIN=C:\\a ^(x86^)^&%%b\\network\\admin\n"},
      {"Sybase_S1.bat", "SET SYBASE_OCS=C:\\a ^(x86^)^&%%b\n"},
      {"Informix_I1.bat", "SET INFORMIXDIR=C:\\a ^(x86^)^&%%b\n"},
  };
  for (const auto& c : cases) {
    EXPECT_NE(Read(c.file).find(c.line), std::string::npos) << c.line << Read(c.file);
  }
  for (const char* bat : {"Oracle_O1.bat", "Sybase_S1.bat", "Informix_I1.bat"}) {
    EXPECT_EQ(Read(bat).find("(x86)"), std::string::npos) << bat;
  }
}

// An etc directory whose parent is missing (forward slashes: one component on
// every platform) or which is a plain file: nothing is made.
TEST_F(GoldenFiles, EtcDirectoryThatCannotBeMadeOrOpened) {
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
    const std::string traced = Traced([&] {
      EXPECT_EQ(write_single_mssql_ini(list_, record, 3), c.status);
      EXPECT_EQ(write_single_mssql_bat(list_, record), c.status);
      EXPECT_EQ(write_single_oracle_bat(list_, OracleRecord("O", "9.2", "")), c.status);
      EXPECT_EQ(write_single_sybase_bat(list_, SybaseRecord("S", "12.5")), c.status);
      EXPECT_EQ(write_informix_ini_files(list_, 1), 0);
      EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 2);
    });
    EXPECT_NE(
        traced.find("ERROR: File '" + c.etc + "\\VSQMMA_INST1.ini' " + c.step + "() failure\n"),
        std::string::npos)
        << traced;
    EXPECT_EQ(scratch_.Entries(), std::vector<std::string>{"plain"});
  }
}

// Each kind's include file, rewritten whole from the list, as the scan reads
// it back: the two sides take the names from one table, and a kind the scan
// skips (Informix) still has its file written. Unknown kinds have none.
struct KindFiles {
  ServerKind kind;
  const char* include_file;
  const char* ini_stem;
  bool scanned;
};

class IncludeFile : public GenerateTest, public ::testing::WithParamInterface<KindFiles> {};

TEST_P(IncludeFile, RewrittenWholeAndReadBack) {
  const KindFiles& kind = GetParam();
  Write(kind.include_file, "\n[Include]\nAdd=stale\n");
  ASSERT_EQ(Generate_IniIncFile(list_, kind.kind), 0);
  EXPECT_EQ(Read(kind.include_file), "\n[Include]\n");

  const std::string add = std::string("Add={ETC}\\") + kind.ini_stem;
  for (const std::string name : {"I1", "I2"}) {
    list_.Add(std::make_unique<config::DbConfig>(
                  Record(support::KindNumber(kind.kind), name, "D:\\" + name, "11.2")),
              kind.kind);
    Write(kind.ini_stem + name + ".ini", "");  // listed files must be there
  }
  ASSERT_EQ(Generate_IniIncFile(list_, kind.kind), 0);
  EXPECT_EQ(Read(kind.include_file), "\n[Include]\n" + add + "I1.ini\n" + add + "I2.ini\n");

  config::DbConfigList scan;
  scan.SetConsole(0);
  scan.SetEtcDir("ORVAGT6_DIR");
  std::vector<std::string> names;
  EXPECT_EQ(scan.GetPreConfigList(kind.kind, &names), kind.scanned ? 2 : 0);
  EXPECT_EQ(names,
            (kind.scanned ? std::vector<std::string>{"I1", "I2"} : std::vector<std::string>{}));
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind{5}), 1);
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kNone), 1);
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, IncludeFile,
    ::testing::Values(KindFiles{ServerKind::kOracle, "vorinc.ini", "VORMMA_", true},
                      KindFiles{ServerKind::kSybase, "vsyinc.ini", "VSYMMA_", true},
                      KindFiles{ServerKind::kSqlServer, "vsqinc.ini", "VSQMMA_", true},
                      KindFiles{ServerKind::kInformix, "vixinc.ini", "VIXMMA_", false}));

}  // namespace
}  // namespace generate
