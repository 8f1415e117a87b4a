// The generated files of each server kind, line for line.
#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <string>

#include "common/host_registry.h"
#include "generate/agent_files.h"
#include "generate/generate_test_home.h"
#include "platform/files.h"

namespace generate {
namespace {

using GoldenFiles = GenerateTest;

TEST_F(GoldenFiles, SqlServerNamedAndDefaultInstance) {
  ASSERT_TRUE(sqxa_test::LoadHost(DefaultHomeRegistry()));
  Write("vsqmma.ini", kManagementAgentText);

  const config::DbConfig named =
      SqlServerRecord("INST1", "C:\\Program Files\\Microsoft SQL Server\\MSSQL10.INST1\\MSSQL");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, named, 3), 0);
  ExpectGolden("VSQMMA_INST1.ini", "mssql_named.ini");
  ExpectGolden("MSMSQL_INST1.bat", "mssql_named.bat");
  EXPECT_TRUE(std::filesystem::is_directory(etc_ / "logs" / "History" / "VSQ" / "INST1"));

  // The home of the default instance differs only in letter case.
  config::DbConfig main = SqlServerRecord("MSSQLSERVER", kDefaultSqlHome);
  main.setHomeDir("c:\\program files\\microsoft sql server\\mssql");
  main.setExtendedParams("1");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, main, 0), 0);
  ExpectGolden("VSQMMA_MSSQLSERVER.ini", "mssql_default.ini");
  ExpectGolden("MSMSQL_MSSQLSERVER.bat", "mssql_default.bat");
}

TEST_F(GoldenFiles, OracleByVersionAndTnsAdmin) {
  Write("vormma.ini", kManagementAgentText);
  struct Case {
    const char* version;
    const char* tns_admin;
  };
  for (const Case& c : {Case{"8.1.7", "D:\\tns"}, Case{"9.2.0", ""}, Case{"12.1.0", ""}}) {
    const std::string name = std::string("ORA") + c.version;
    ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kOracle,
                                   OracleRecord(name, c.version, c.tns_admin), 1),
              0);
    ExpectGolden("VORMMA_" + name + ".ini", std::string("oracle_") + c.version + ".ini");
    ExpectGolden("Oracle_" + name + ".bat", std::string("oracle_") + c.version + ".bat");
  }
}

TEST_F(GoldenFiles, SybaseByVersion) {
  Write("vsymma.ini", kManagementAgentText);
  for (const char* version : {"11.9.2", "12.5", "15.0.3"}) {
    const std::string name = std::string("SYB") + version;
    ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSybase, SybaseRecord(name, version), 2), 0);
    ExpectGolden("VSYMMA_" + name + ".ini", std::string("sybase_") + version + ".ini");
    ExpectGolden("Sybase_" + name + ".bat", std::string("sybase_") + version + ".bat");
  }
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

TEST_F(GoldenFiles, IniKeepsValuesAsGivenBatEscapesThem) {
  Write("vsqmma.ini", kManagementAgentText);
  Write("vsymma.ini", kManagementAgentText);
  config::DbConfig record = SqlServerRecord("a%n&s", "C:\\100%\\(x86)\\%PATH%");
  record.setLoginName("x%d%%");
  record.setPassword("p\"&|\"&");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, record, 7), 0);
  const std::string ini = Read("VSQMMA_a%n&s.ini");
  for (const char* line :
       {"MarTask=a%n&s\n", "COLL_LOGON=x%d%%\n", "COLL_PASSWORD=p\"&|\"&\n",
        "MSSQL_HOME=C:\\100%\\(x86)\\%PATH%\n", "KDH_SERVICEPOINT=@COMPUTERNAME@_SQ_a%n&s\n"}) {
    EXPECT_NE(ini.find(line), std::string::npos) << line << ini;
  }
  const std::string bat = Read("MSMSQL_a%n&s.bat");
  for (const char* line :
       {"SET INST=a%%n^&s\n", "SET COLL_LOGON=x%%d%%%%\n", "SET COLL_PASSWORD=p\"&|\"^&\n",
        "SET MSSQL_HOME=C:\\100%%\\^(x86^)\\%%PATH%%\n",
        "SET KDH_SERVICEPOINT=%COMPUTERNAME%_SQ_a%%n^&s\n", "SET COLL_SERVERID=%INST%\n",
        "SET COLL_HOSTNAME=%COMPUTERNAME%\n", "-hkey \"VSQ\\610\\a%%n&s\"\n"}) {
    EXPECT_NE(bat.find(line), std::string::npos) << line << bat;
  }

  list_.Add(std::make_unique<config::DbConfig>(record), ServerKind::kSqlServer);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
  EXPECT_EQ(Read("vsqinc.ini"), "\n[Include]\nAdd={ETC}\\VSQMMA_a%n&s.ini\n");
}

// The other kinds' writers escape their own lines too: a home holding what
// cmd would read as syntax, and their one line that joins it to fixed text.
TEST_F(GoldenFiles, EveryKindEscapesTheHome) {
  const std::string home = "C:\\a (x86)&%b";
  for (const char* name : {"vormma.ini", "vsymma.ini", "vixmma.ini"}) {
    Write(name, kManagementAgentText);
  }
  config::DbConfig oracle = OracleRecord("O1", "9.2.0", "");
  oracle.setHomeDir(home);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kOracle, oracle, 1), 0);
  config::DbConfig sybase = SybaseRecord("S1", "11.9.2");
  sybase.setHomeDir(home);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSybase, sybase, 2), 0);
  config::DbConfig informix = InformixRecord("I1", 4);
  informix.setHomeDir(home);
  list_.Add(std::make_unique<config::DbConfig>(informix), ServerKind::kInformix);
  EXPECT_EQ(write_informix_bat_files(list_, 1), 1);

  struct Case {
    const char* file;
    const char* line;
  };
  for (const Case& c : {Case{"Oracle_O1.bat", "SET PATH=C:\\a ^(x86^)^&%%b\\bin;%PATH%\n"},
                        Case{"Oracle_O1.bat", "SET TNS_ADMIN=C:\\a ^(x86^)^&%%b\\network\\admin\n"},
                        Case{"Sybase_S1.bat", "SET SYBASE_OCS=C:\\a ^(x86^)^&%%b\n"},
                        Case{"Informix_I1.bat", "SET INFORMIXDIR=C:\\a ^(x86^)^&%%b\n"}}) {
    const std::string bat = Read(c.file);
    EXPECT_NE(bat.find(c.line), std::string::npos) << c.line << bat;
    EXPECT_EQ(bat.find("(x86)"), std::string::npos) << c.file;
  }
}

}  // namespace
}  // namespace generate
