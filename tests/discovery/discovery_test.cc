#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "common/host_registry.h"
#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "discovery/db_server_list.h"
#include "discovery/local_config_log.h"
#include "discovery/other_discovery.h"
#include "discovery/sql_server_discovery.h"
#include "platform/registry.h"
#include "support/capture.h"

namespace fs = std::filesystem;

namespace discovery {
namespace {

constexpr ServerKind kSql = ServerKind::kSqlServer;
const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";
const std::string kRoot = "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server\\";

// The servers of a kind, one line each: name|home|version|service|port|error
// log|cluster|extra 2|extra 3|master data file or Sybase's added texts.
std::vector<std::string> Listed(const DbServerList& list, ServerKind kind) {
  std::vector<std::string> lines;
  for (int i = 0; i < list.count(kind); ++i) {
    const DbServer* s = list.at(i, kind);
    std::string line = s->getServerName() + "|" + s->getHome() + "|" + s->getVersion() + "|" +
                       s->getServiceName() + "|" + s->getTcpPort() + "|" + s->getErrorLogName() +
                       "|" + s->getClusterName() + "|" + s->getExtraText2() + "|" +
                       s->getExtraText3();
    if (const auto* sql = dynamic_cast<const DbServerSql*>(s))
      line += "|" + sql->getMasterDataFile();
    if (const auto* syb = dynamic_cast<const DbServerSyb*>(s)) {
      line += "|" + syb->getAddedText1() + "|" + syb->getAddedText2();
    }
    lines.push_back(line);
  }
  return lines;
}

struct Instance {
  Instance(std::string identifier, std::string release)
      : id(std::move(identifier)), version(std::move(release)) {}
  std::string id;
  std::string version;
  std::string port = "\"TcpPort\"=\"1433\"";  // the port key's values; "" leaves the key out
  std::string parameters =
      "\"SQLArg0\"=\"-dC:\\\\Data\\\\master.mdf\"\n\"SQLArg1\"=\"-eC:\\\\Log\\\\ERRORLOG\"";
  std::string cluster;  // a ClusterName; "" leaves the key out
  bool setup = true;
  const char* port_spelling = "TCP";
};

// A 64-bit host with SQL Server releases 2008 ('8') and 2005 ('9') and the instances.
std::string Host(const std::string& releases,
                 const std::vector<std::pair<std::string, Instance>>& instances) {
  std::string text = kHeader + "[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node]\n\n";
  for (const char release : releases) {
    text += kRoot + std::string(release == '8' ? "100" : "90") + "]\n\n";
  }
  text += kRoot + "Instance Names\\SQL]\n";
  for (const auto& [name, i] : instances) text += "\"" + name + "\"=\"" + i.id + "\"\n";
  text += "\n";
  for (const auto& [name, i] : instances) {
    const std::string key = kRoot + i.id;
    if (!i.cluster.empty()) text += key + "\\Cluster]\n\"ClusterName\"=\"" + i.cluster + "\"\n\n";
    text += key + "\\MSSQLServer\\CurrentVersion]\n\"CurrentVersion\"=\"" + i.version + "\"\n\n";
    text += key + "\\MSSQLServer\\Parameters]\n" + i.parameters + "\n\n";
    if (!i.port.empty()) {
      text += key + "\\MSSQLServer\\SuperSocketNetLib\\" + i.port_spelling + "\\IPAll]\n" + i.port +
              "\n\n";
    }
    if (i.setup) text += key + "\\Setup]\n\"SQLPath\"=\"C:\\\\SQL\\\\" + i.id + "\"\n\n";
  }
  return text;
}

class DiscoveryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(home_ / "ORVAGT6_x64" / "logs");
    resetLocalConfigLogForTesting();
    setDiscoveryVerbose(false);
  }
  void TearDown() override { resetLocalConfigLogForTesting(); }
  std::string Log() const {
    std::ifstream in(home_ / "ORVAGT6_x64" / "logs" / "SQ_LocalConfig.log", std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return sqxa_test::WithLf(text.str());  // a text file: CR LF line ends on Windows
  }
  std::string File(const std::string& name, const std::string& text) const {
    std::ofstream(home_ / name, std::ios::binary) << text;
    return (home_ / name).string();
  }
  std::vector<std::string> Scan(const std::string& host) {
    EXPECT_TRUE(sqxa_test::LoadHost(host));
    scanSqlServerInstances(&list_);
    return Listed(list_, kSql);
  }
  sqxa_test::ScratchDir scratch_;
  const fs::path home_ = scratch_.path();
  std::optional<sqxa_test::ScopedEnv> marlox_home_{std::in_place, "MARLOX_HOME", home_.string()};
  sqxa_test::ScopedEnv computer_{"COMPUTERNAME", "TESTHOST"};
  DbServerList list_{""};
};

TEST_F(DiscoveryTest, EachReleaseScanFindsItsOwnInstances) {
  Instance inst1{"MSSQL10.INST1", "10.0.1600.22"};
  inst1.port = "\"TcpDynamicPorts\"=\"\"\n\"TcpPort\"=\"1434\"";
  Instance inst2{"MSSQL10.INST2", "10.50.1600.1"};
  inst2.port = "\"TcpPort\"=\"1433,1434\"";  // read as a number
  inst2.parameters = "\"SQLArg0\"=\"-DC:\\\\upper\"\n\"SQLArg1\"=\"  -dC:\\\\Data\\\\master.mdf \"";
  Instance inst3{"MSSQL10.INST3", "10.0.1600.22"};
  inst3.port = "";
  Instance inst4{"MSSQL10.INST4", "10.0.1600.22"};
  inst4.setup = false;
  Instance clustered{"MSSQL10.MSSQLSERVER", "10.0.2531.0"};
  clustered.cluster = "VSQL1";  // the default instance goes by its cluster
  Instance old{"MSSQL.1", "9.00.1399.06"};
  old.port_spelling = "Tcp";
  old.port = "\"TcpPort\"=dword:00000599";  // reads as its number
  EXPECT_EQ(Scan(Host("89", {{"INST1", inst1},
                             {"INST2", inst2},
                             {"INST3", inst3},
                             {"INST4", inst4},
                             {"MSSQLSERVER", clustered},
                             {"OLD", old},
                             {"SEVEN", {"MSSQL.7", "8.00.2039"}}}) +
                 // A 300-byte identifier does not fit the 256-byte buffer: the
                 // instance list ends before it, as on Windows.
                 kRoot + "Instance Names\\SQL]\n\"ZZ\"=\"" + std::string(300, 'x') + "\"\n\n"),
            (std::vector<std::string>{
                "INST1|C:\\SQL\\MSSQL10.INST1|10.0.1600.22|MSSQLServer|1434|C:\\Log\\ERRORLOG|"
                "TESTHOST|||C:\\Data\\master.mdf",
                "INST2|C:\\SQL\\MSSQL10.INST2|10.50.1600.1|MSSQLServer|1433||TESTHOST|||"
                "C:\\Data\\master.mdf",
                "VSQL1|C:\\SQL\\MSSQL10.MSSQLSERVER|10.0.2531.0|MSSQLServer|1433|"
                "C:\\Log\\ERRORLOG|VSQL1|||C:\\Data\\master.mdf",
                "OLD|C:\\SQL\\MSSQL.1|9.00.1399.06|MSSQLServer|1433|C:\\Log\\ERRORLOG|TESTHOST|||"
                "C:\\Data\\master.mdf"}));
  EXPECT_EQ(list_.is64BitWindows(), 1);
  EXPECT_EQ(list_.find("vsql1", kSql), list_.at(2, kSql));  // names without regard to case
  const std::string log = Log();
  // The log says why an instance was left out.
  for (const char* line :
       {"Windows is 64-bit \n", "for instance 'INST4';So this instance will not be added \n",
        "SQL Server 2005 instance 'OLD' is found \n \n", "Scanning Done  \n"}) {
    EXPECT_NE(log.find(line), std::string::npos) << line << "\n--- log:\n" << log;
  }
  EXPECT_EQ(log.find("'SEVEN' is found"), std::string::npos);
}

// The list holds fifty servers of a kind; the fifty-first stays the caller's.
TEST_F(DiscoveryTest, OnlyFiftyInstancesAreListedAndTheScanIsQuick) {
  std::vector<std::pair<std::string, Instance>> instances;
  for (int i = 10; i < 70; ++i) {
    instances.push_back(
        {"I" + std::to_string(i), {"MSSQL10.I" + std::to_string(i), "10.0.1600.22"}});
  }
  ASSERT_TRUE(sqxa_test::LoadHost(Host("8", instances)));
  scanSqlServerInstances(&list_);  // the registry file is read once per change
  DbServerList list("");
  const auto start = std::chrono::steady_clock::now();
  scanSqlServerInstances(&list);
  const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::steady_clock::now() - start);
  EXPECT_EQ(list.count(kSql), 50);
  EXPECT_EQ(list.at(49, kSql)->getServerName(), "I59");
  std::printf("discovery of 50 instances: %lld us\n", static_cast<long long>(elapsed.count()));
  EXPECT_LT(elapsed.count(),
            500000);  // the target is well under 50 ms; sanitizers and Wine are slower
  std::unique_ptr<DbServer> refused = std::make_unique<DbServerSql>();
  EXPECT_EQ(list.add(refused, kSql), 50);
  EXPECT_NE(refused, nullptr);
}

TEST_F(DiscoveryTest, WithoutMarloxHomeNothingIsLogged) {
  marlox_home_.emplace("MARLOX_HOME", std::nullopt);
  EXPECT_TRUE(Scan(Host("8", {})).empty());
  EXPECT_EQ(Log(), "");
}

TEST(GetMSSQLVersionTest, EachReleaseKeepsItsVersionElsewhere) {
  const std::string server = kRoot.substr(0, kRoot.size() - 1);
  const auto release = [&](const std::string& number, const std::string& values) {
    return kHeader + server + "\\" + number + "]\n\n" + server +
           "\\Instance Names\\SQL]\n\"INST1\"=\"MSSQL10.INST1\"\n\n" + server +
           "\\MSSQL10.INST1\\MSSQLServer\\CurrentVersion]\n" + values + "\n";
  };
  const std::string default_key =
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n";
  const std::string release_2000 = kHeader + server + "\\80]\n\n" + default_key +
                                   "\"CurrentVersion\"=\"8.00.194\"\n\n" + server +
                                   "\\NAMED\\MSSQLServer\\CurrentVersion]\n"
                                   "\"CurrentVersion\"=\"8.00.760\"\n\n";
  const struct {
    std::string host;
    const char* instance;
    const char* version;
  } kCases[] = {
      // The name is looked up in upper case.
      {release("100", "\"CurrentVersion\"=\"10.0.1600.22\"\n"), "inst1", "10.0.1600.22"},
      {release("90", "\"CurrentVersion\"=\"9.00.1399.06\"\n"), "INST1", "9.00.1399.06"},
      {release_2000, "MSSQLSERVER", "8.00.194"},
      {release_2000, "named", "8.00.760"},
      // An unknown instance falls back to the default key.
      {release("100", "") + default_key + "\"CurrentVersion\"=\"10.0.1.0\"\n\n", "OTHER",
       "10.0.1.0"},
      // No server leaves the output alone.
      {kHeader, "INST1", "untouched"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.host);
    ASSERT_TRUE(sqxa_test::LoadHost(c.host));
    char output[256] = "untouched";
    (void)getMSSQLVersion(c.instance, output);
    EXPECT_STREQ(output, c.version);
  }
}

TEST_F(DiscoveryTest, OracleNumberedHomesAndTheirReleases) {
  const std::string plain = File("initA.ora", "# no IFILE here\ndb_name=A\n");
  const std::string pointing =
      File("initB.ora", "#IFILE=ignored\n  IFILE = \"" + (home_ / "real.ora").string() + "\"  \n");
  const auto home = [](const std::string& key, const std::string& values) {
    return "[HKEY_LOCAL_MACHINE\\Software\\Oracle\\" + key + "]\n" + values +
           "\"ORACLE_HOME\"=\"C:\\\\ora\\\\" + key + "\"\n\n";
  };
  const std::string base = "\"ORACLE_BASE\"=\"C:\\\\ora\"\n";
  ASSERT_TRUE(sqxa_test::LoadHost(
      kHeader + "[HKEY_LOCAL_MACHINE\\Software\\Oracle]\n\n" +
      "[HKEY_LOCAL_MACHINE\\Software\\Oracle\\ALL_HOMES]\n\"HOME_COUNTER\"=\"6\"\n\n" +
      home("HOME0", "\"ORA_A_AUTOSTART\"=\"true\"\n\"ORA_A_PFILE\"=\"" +
                        sqxa_test::RegEscape(plain) + "\"\n" + base + "\"ORACLE_SID\"=\"a\"\n") +
      home("HOME1", "\"ORA_B_AUTOSTART\"=\"true\"\n\"ORA_B_PFILE\"=\"" +
                        sqxa_test::RegEscape(pointing) + "\"\n" + base +
                        "\"ORACLE_SID\"=\"B\"\n\"TNS_ADMIN\"=\"C:\\\\tns\"\n") +
      home("HOME2", "\"ORA_C_AUTOSTART\"=\"true\"\n\"ORACLE_SID\"=\"C\"\n") +  // no ORACLE_BASE
      home("HOME3", "\"ORA_D_AUTOSTART\"=\"true\"\n\"ORA_E_AUTOSTART\"=\"true\"\n" + base +
                        "\"ORACLE_SID\"=\"D\"\n") +
      home("KEY_OraDb11g_home2",
           "\"ORA_F_AUTOSTART\"=\"true\"\n" + base + "\"ORACLE_SID\"=\"F\"\n")));
  EXPECT_EQ(Capture([&] { scanOracleServers(&list_); }).out,
            "No change in initfile\n");  // for initA.ora
  // A, B, then HOME3 read for i = 3, 4 and 5 (D and E each time), then F.
  const auto ora = [](const char* sid, const std::string& dir, const char* version,
                      const std::string& log, const std::string& tns = "") {
    return std::string(sid) + "|C:\\ora\\" + dir + "|" + version + "|OracleService" + sid + "||" +
           log + "||C:\\ora|" + (tns.empty() ? "C:\\ora\\" + dir + "\\network\\admin" : tns);
  };
  const std::string d = ora("D", "HOME3", "9.2.0", "alert_D.log"),
                    e = ora("E", "HOME3", "9.2.0", "alert_E.log");
  EXPECT_EQ(
      Listed(list_, ServerKind::kOracle),
      (std::vector<std::string>{ora("A", "HOME0", "8.1.X", "Aalrt.log"),
                                ora("B", "HOME1", "9.0.1", "Balrt.log", "C:\\tns"), d, e, d, e, d,
                                e, ora("F", "KEY_OraDb11g_home2", "11.1", "alert_F.log")}));
}

TEST_F(DiscoveryTest, InitFileResolution) {
  const std::string target = (home_ / std::string(300, 'r')).string() + ".ora";
  // The text of an init file, and whether its IFILE entry names the target.
  const struct {
    std::string text;
    bool resolves;
  } kCases[] = {
      {"db_name=x\n\t IFILE = \"" + target + "\" \t\r\n", true},  // longer than any buffer
      {"ifile='" + target + "'\n", false},                        // the name is upper-case
      {"#IFILE='" + target + "'\n", false},
      {"", false},  // no file at all
  };
  for (const auto& c : kCases) {
    const std::string file =
        c.text.empty() ? (home_ / "missing.ora").string() : File("init.ora", c.text);
    const Captured printed =
        Capture([&] { EXPECT_EQ(resolveInitFile(file), c.resolves ? target : file) << c.text; });
    EXPECT_EQ(printed.out, c.resolves ? "" : "No change in initfile\n") << c.text;
  }
}

TEST_F(DiscoveryTest, SybaseServersOfTypeSqlServer) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      kHeader +
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\SQLServer]\n\"CurrentVersion\"=\"12.5\"\n"
      "\"RootDir\"=\"C:\\\\sybase\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\BACKUP]\n\"ServerType\"=\"BackupServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1]\n\"ServerType\"=\"SQLServer\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Sybase\\Server\\SYB1\\Parameters]\n"
      "\"Arg0\"=\"-dC:\\\\sybase\\\\data\\\\master.dat\"\n\"Arg1\"=\"-sSYB1\"\n"
      "\"Arg2\"=\"-eC:\\\\sybase\\\\install\\\\SYB1.log\"\n\n"));
  scanSybaseServers(&list_);
  EXPECT_EQ(
      Listed(list_, ServerKind::kSybase),
      std::vector<std::string>{"SYB1|C:\\sybase|12.5|Sybase SQLServer_SYB1||"
                               "C:\\sybase\\install\\SYB1.log|||||C:\\sybase\\data\\master.dat"});
}

}  // namespace
}  // namespace discovery
