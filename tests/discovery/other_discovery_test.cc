#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/host_registry.h"
#include "common/scratch_dir.h"
#include "discovery/other_discovery.h"
#include "support/capture.h"

namespace fs = std::filesystem;

namespace discovery {
namespace {

constexpr const char* kHeader = "Windows Registry Editor Version 5.00\n\n";

class OtherDiscoveryTest : public ::testing::Test {
 protected:
  void SetUp() override { setDiscoveryVerbose(false); }
  std::string File(const std::string& name, const std::string& text) {
    const fs::path path = dir_ / name;
    std::ofstream(path, std::ios::binary) << text;
    return path.string();
  }
  sqxa_test::ScratchDir scratch_;
  const fs::path dir_ = scratch_.path();
};

std::string Home(const std::string& key, const std::string& values) {
  return "[HKEY_LOCAL_MACHINE\\Software\\Oracle\\" + key + "]\n" + values + "\n";
}

TEST_F(OtherDiscoveryTest, OracleNumberedHomesAndTheirReleases) {
  const std::string plain = File("initA.ora", "# no IFILE here\ndb_name=A\n");
  const std::string pointing =
      File("initB.ora", "#IFILE=ignored\n  IFILE = \"" + (dir_ / "real.ora").string() + "\"  \n");
  const std::string host =
      std::string(kHeader) + "[HKEY_LOCAL_MACHINE\\Software\\Oracle]\n\n" +
      Home("ALL_HOMES", "\"HOME_COUNTER\"=\"6\"\n") +
      Home("HOME0", "\"ORA_A_AUTOSTART\"=\"true\"\n\"ORA_A_PFILE\"=\"" +
                        sqxa_test::RegEscape(plain) +
                        "\"\n\"ORACLE_BASE\"=\"C:\\\\ora\"\n\"ORACLE_HOME\"=\"C:\\\\ora\\\\h0\"\n"
                        "\"ORACLE_SID\"=\"a\"\n") +
      Home("HOME1", "\"ORA_B_AUTOSTART\"=\"true\"\n\"ORA_B_PFILE\"=\"" +
                        sqxa_test::RegEscape(pointing) +
                        "\"\n\"ORACLE_BASE\"=\"C:\\\\ora\"\n\"ORACLE_HOME\"=\"C:\\\\ora\\\\h1\"\n"
                        "\"ORACLE_SID\"=\"B\"\n\"TNS_ADMIN\"=\"C:\\\\tns\"\n") +
      Home("HOME2",
           "\"ORA_C_AUTOSTART\"=\"true\"\n\"ORACLE_HOME\"=\"C:\\\\ora\\\\h2\"\n"
           "\"ORACLE_SID\"=\"C\"\n") +  // no ORACLE_BASE: no record
      Home("HOME3",
           "\"ORA_D_AUTOSTART\"=\"true\"\n\"ORA_E_AUTOSTART\"=\"true\"\n"
           "\"ORACLE_BASE\"=\"C:\\\\ora\"\n\"ORACLE_HOME\"=\"C:\\\\ora\\\\h3\"\n"
           "\"ORACLE_SID\"=\"D\"\n") +
      Home("KEY_OraDb11g_home2",
           "\"ORA_F_AUTOSTART\"=\"true\"\n\"ORACLE_BASE\"=\"C:\\\\ora\"\n"
           "\"ORACLE_HOME\"=\"C:\\\\ora\\\\h11\"\n\"ORACLE_SID\"=\"F\"\n");
  ASSERT_TRUE(sqxa_test::LoadHost(host));

  DbServerList list("");
  const Captured printed = Capture([&] { scanOracleServers(&list); });
  EXPECT_EQ(printed.out, "No change in initfile\n");  // for initA.ora
  // A, B, then HOME3 read for i = 3, 4 and 5 (D and E each time), then F.
  ASSERT_EQ(list.count(ServerKind::kOracle), 9);
  const auto* a = static_cast<const DbServerOra*>(list.at(0, ServerKind::kOracle));
  EXPECT_EQ(a->getServerName(), "A");
  EXPECT_EQ(a->getVersion(), "8.1.X");
  EXPECT_EQ(a->getErrorLogName(), "Aalrt.log");
  EXPECT_EQ(a->getServiceName(), "OracleServiceA");
  EXPECT_EQ(a->getExtraText3(), "C:\\ora\\h0\\network\\admin");
  EXPECT_EQ(a->getExtraText2(), "C:\\ora");
  const auto* b = list.at(1, ServerKind::kOracle);
  EXPECT_EQ(b->getVersion(), "9.0.1");
  EXPECT_EQ(b->getErrorLogName(), "Balrt.log");
  EXPECT_EQ(b->getExtraText3(), "C:\\tns");
  for (int i = 2; i < 8; i += 2) {
    EXPECT_EQ(list.at(i, ServerKind::kOracle)->getServerName(), "D");
    EXPECT_EQ(list.at(i + 1, ServerKind::kOracle)->getServerName(), "E");
    EXPECT_EQ(list.at(i, ServerKind::kOracle)->getVersion(), "9.2.0");
    EXPECT_EQ(list.at(i, ServerKind::kOracle)->getErrorLogName(), "alert_D.log");
  }
  EXPECT_EQ(list.at(8, ServerKind::kOracle)->getServerName(), "F");
  EXPECT_EQ(list.at(8, ServerKind::kOracle)->getVersion(), "11.1");
}

TEST_F(OtherDiscoveryTest, InitFileResolution) {
  const std::string target = (dir_ / std::string(300, 'r')).string() + ".ora";
  // The text of an init file, and whether its IFILE entry names the target.
  const struct {
    std::string text;
    bool resolves;
  } kCases[] = {
      {"IFILE='" + target + "'\n", true},
      {"db_name=x\n\t IFILE = \"" + target + "\" \t\r\n", true},  // longer than any buffer
      {"db_name=x", false},
      {"ifile='" + target + "'\n", false},  // the name is upper-case
      {"#IFILE='" + target + "'\n", false},
  };
  for (const auto& c : kCases) {
    const std::string file = File("init.ora", c.text);
    const Captured printed =
        Capture([&] { EXPECT_EQ(resolveInitFile(file), c.resolves ? target : file) << c.text; });
    EXPECT_EQ(printed.out, c.resolves ? "" : "No change in initfile\n") << c.text;
  }
  const std::string missing = (dir_ / "missing.ora").string();
  EXPECT_EQ(Capture([&] { EXPECT_EQ(resolveInitFile(missing), missing); }).out,
            "No change in initfile\n");
}

TEST_F(OtherDiscoveryTest, SybaseServersOfTypeSqlServer) {
  const std::string host =
      std::string(kHeader) +
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\SQLServer]\n\"CurrentVersion\"=\"12.5\"\n"
      "\"RootDir\"=\"C:\\\\sybase\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\BACKUP]\n\"ServerType\"=\"BackupServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1]\n\"ServerType\"=\"SQLServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1\\Parameters]\n"
      "\"Arg0\"=\"-dC:\\\\sybase\\\\data\\\\master.dat\"\n\"Arg1\"=\"-sSYB1\"\n"
      "\"Arg2\"=\"-eC:\\\\sybase\\\\install\\\\SYB1.log\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(host));
  DbServerList list("");
  scanSybaseServers(&list);
  ASSERT_EQ(list.count(ServerKind::kSybase), 1);
  const auto* server = static_cast<const DbServerSyb*>(list.at(0, ServerKind::kSybase));
  EXPECT_EQ(server->getServerName(), "SYB1");
  EXPECT_EQ(server->getServiceName(), "Sybase SQLServer_SYB1");
  EXPECT_EQ(server->getHome(), "C:\\sybase");
  EXPECT_EQ(server->getVersion(), "12.5");
  EXPECT_EQ(server->getAddedText1(), "");
  EXPECT_EQ(server->getAddedText2(), "C:\\sybase\\data\\master.dat");
  EXPECT_EQ(server->getErrorLogName(), "C:\\sybase\\install\\SYB1.log");
}

}  // namespace
}  // namespace discovery
