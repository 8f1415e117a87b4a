// Discovery of the kinds the library finds for the other agents built on it:
// Oracle homes (and the init files they name) and Sybase servers.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/host_registry.h"
#include "common/scratch_dir.h"
#include "discovery/other_discovery.h"
#include "support/capture.h"

namespace discovery {
namespace {

const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";

std::string OracleHome(const std::string& key, const std::string& values) {
  return "[HKEY_LOCAL_MACHINE\\Software\\Oracle\\" + key + "]\n" + values + "\n";
}

// The servers of a kind, one line each: name|version|error log|service|extras 2 and 3.
std::vector<std::string> Listed(const DbServerList& list, ServerKind kind) {
  std::vector<std::string> lines;
  for (int i = 0; i < list.count(kind); ++i) {
    const DbServer* s = list.at(i, kind);
    lines.push_back(s->getServerName() + "|" + s->getVersion() + "|" + s->getErrorLogName() + "|" +
                    s->getServiceName() + "|" + s->getExtraText2() + "|" + s->getExtraText3());
  }
  return lines;
}

class OtherKindsTest : public ::testing::Test {
 protected:
  void SetUp() override { setDiscoveryVerbose(false); }
  std::string File(const std::string& name, const std::string& text) {
    const std::string path = (scratch_.path() / name).string();
    std::ofstream(path, std::ios::binary) << text;
    return path;
  }
  sqxa_test::ScratchDir scratch_;
};

// Homes are read by number up to the counter, the home of the last number read
// again for each number past it; a home without ORACLE_BASE gives no record;
// the release comes from the init file, or from a KEY_ home's name.
TEST_F(OtherKindsTest, OracleHomesByNumberAndByName) {
  const std::string plain = File("initA.ora", "# no IFILE here\ndb_name=A\n");
  const std::string pointing = File("initB.ora", "IFILE='elsewhere.ora'\n");
  const std::string base = "\"ORACLE_BASE\"=\"C:\\\\ora\"\n";
  auto home = [&](const std::string& n, const std::string& sid) {
    return "\"ORACLE_HOME\"=\"C:\\\\ora\\\\h" + n + "\"\n\"ORACLE_SID\"=\"" + sid + "\"\n";
  };
  ASSERT_TRUE(sqxa_test::LoadHost(
      kHeader + "[HKEY_LOCAL_MACHINE\\Software\\Oracle]\n\n" +
      OracleHome("ALL_HOMES", "\"HOME_COUNTER\"=\"6\"\n") +
      OracleHome("HOME0", "\"ORA_A_AUTOSTART\"=\"true\"\n\"ORA_A_PFILE\"=\"" +
                              sqxa_test::RegEscape(plain) + "\"\n" + base + home("0", "a")) +
      OracleHome("HOME1", "\"ORA_B_AUTOSTART\"=\"true\"\n\"ORA_B_PFILE\"=\"" +
                              sqxa_test::RegEscape(pointing) + "\"\n" + base + home("1", "B") +
                              "\"TNS_ADMIN\"=\"C:\\\\tns\"\n") +
      OracleHome("HOME2", "\"ORA_C_AUTOSTART\"=\"true\"\n" + home("2", "C")) +
      OracleHome("HOME3", "\"ORA_D_AUTOSTART\"=\"true\"\n" + base + home("3", "D")) +
      OracleHome("KEY_OraDb11g_home2", "\"ORA_F_AUTOSTART\"=\"true\"\n" + base + home("11", "F"))));
  DbServerList list("");
  EXPECT_EQ(Capture([&] { scanOracleServers(&list); }).out, "No change in initfile\n");
  const std::string d = "D|9.2.0|alert_D.log|OracleServiceD|C:\\ora|C:\\ora\\h3\\network\\admin";
  EXPECT_EQ(Listed(list, ServerKind::kOracle),
            (std::vector<std::string>{
                "A|8.1.X|Aalrt.log|OracleServiceA|C:\\ora|C:\\ora\\h0\\network\\admin",
                "B|9.0.1|Balrt.log|OracleServiceB|C:\\ora|C:\\tns", d, d, d,
                "F|11.1|alert_F.log|OracleServiceF|C:\\ora|C:\\ora\\h11\\network\\admin"}));
}

// IFILE counts in capitals, on a line not commented out, of any length.
TEST_F(OtherKindsTest, InitFileFollowsItsIfile) {
  const std::string target = (scratch_.path() / std::string(300, 'r')).string() + ".ora";
  for (const auto& [text, resolves] : std::vector<std::pair<std::string, bool>>{
           {"db_name=x\n\t IFILE = \"" + target + "\" \t\r\n", true},
           {"ifile='" + target + "'\n", false},
           {"#IFILE='" + target + "'\n", false}}) {
    const std::string file = File("init.ora", text);
    const std::string wanted = resolves ? target : file;
    const Captured printed = Capture([&] { EXPECT_EQ(resolveInitFile(file), wanted); });
    EXPECT_EQ(printed.out, resolves ? "" : "No change in initfile\n") << text;
  }
}

// Only servers of type SQLServer; the second added text is Arg0's data file.
TEST_F(OtherKindsTest, SybaseServersOfTypeSqlServer) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      kHeader +
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\SQLServer]\n\"CurrentVersion\"=\"12.5\"\n"
      "\"RootDir\"=\"C:\\\\sybase\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\BACKUP]\n\"ServerType\"=\"BackupServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1]\n\"ServerType\"=\"SQLServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1\\Parameters]\n"
      "\"Arg0\"=\"-dC:\\\\sybase\\\\master.dat\"\n\"Arg1\"=\"-sSYB1\"\n\"Arg2\"=\"-eC:"
      "\\\\sybase\\\\SYB1.log\"\n\n"));
  DbServerList list("");
  scanSybaseServers(&list);
  ASSERT_EQ(list.count(ServerKind::kSybase), 1);
  const auto* s = static_cast<const DbServerSyb*>(list.at(0, ServerKind::kSybase));
  EXPECT_EQ(s->getServerName() + "|" + s->getServiceName() + "|" + s->getHome() + "|" +
                s->getVersion() + "|" + s->getAddedText1() + "|" + s->getAddedText2() + "|" +
                s->getErrorLogName(),
            "SYB1|Sybase SQLServer_SYB1|C:\\sybase|12.5||C:\\sybase\\master.dat|"
            "C:\\sybase\\SYB1.log");
}

}  // namespace
}  // namespace discovery
