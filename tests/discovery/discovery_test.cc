#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "common/host_registry.h"
#include "common/line_ends.h"
#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "discovery/db_server_list.h"
#include "discovery/local_config_log.h"
#include "discovery/sql_server_discovery.h"
#include "platform/registry.h"

namespace fs = std::filesystem;

namespace discovery {
namespace {

constexpr ServerKind kSql = ServerKind::kSqlServer;
const std::string kHeader = "Windows Registry Editor Version 5.00\n\n";
const std::string kRoot = "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server\\";

// The SQL Server instances listed, one line each: name|home|version|service|
// port|error log|cluster|extra texts 2 and 3|master data file.
std::vector<std::string> Listed(const DbServerList& list) {
  std::vector<std::string> lines;
  for (int i = 0; i < list.count(kSql); ++i) {
    const auto* s = static_cast<const DbServerSql*>(list.at(i, kSql));
    lines.push_back(s->getServerName() + "|" + s->getHome() + "|" + s->getVersion() + "|" +
                    s->getServiceName() + "|" + s->getTcpPort() + "|" + s->getErrorLogName() + "|" +
                    s->getClusterName() + "|" + s->getExtraText2() + "|" + s->getExtraText3() +
                    "|" + s->getMasterDataFile());
  }
  return lines;
}

struct Instance {
  std::string id;
  std::string version;
  std::string port = "\"TcpPort\"=\"1433\"";  // the port key's values; "" leaves the key out
  std::string parameters =
      "\"SQLArg0\"=\"-dC:\\\\Data\\\\master.mdf\"\n\"SQLArg1\"=\"-eC:\\\\Log\\\\ERRORLOG\"";
  std::string cluster = "";  // a ClusterName; "" leaves the key out
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
    return sqxa_test::WithLf(std::string(std::istreambuf_iterator<char>(in), {}));
  }
  std::vector<std::string> Scan(const std::string& host) {
    EXPECT_TRUE(sqxa_test::LoadHost(host));
    scanSqlServerInstances(&list_);
    return Listed(list_);
  }
  sqxa_test::ScratchDir scratch_;
  const fs::path home_ = scratch_.path();
  std::optional<sqxa_test::ScopedEnv> marlox_home_{std::in_place, "MARLOX_HOME", home_.string()};
  sqxa_test::ScopedEnv computer_{"COMPUTERNAME", "TESTHOST"};
  DbServerList list_{""};
};

TEST_F(DiscoveryTest, EachReleaseScanFindsItsOwnInstances) {
  const std::string v10 = "10.0.1600.22";
  // INST2's "1433,1434" reads as a number, "-D" is no "-d"; INST3 has no port
  // key and INST4 no setup key; the default instance goes by its cluster; a
  // DWORD port reads as its number; SEVEN is of a release no scan lists.
  EXPECT_EQ(
      Scan(
          Host("89", {{"INST1",
                       {.id = "MSSQL10.INST1",
                        .version = v10,
                        .port = "\"TcpDynamicPorts\"=\"\"\n\"TcpPort\"=\"1434\""}},
                      {"INST2",
                       {.id = "MSSQL10.INST2",
                        .version = "10.50.1600.1",
                        .port = "\"TcpPort\"=\"1433,1434\"",
                        .parameters = "\"SQLArg0\"=\"-DC:\\\\upper\"\n"
                                      "\"SQLArg1\"=\"  -dC:\\\\Data\\\\master.mdf \""}},
                      {"INST3", {.id = "MSSQL10.INST3", .version = v10, .port = ""}},
                      {"INST4", {.id = "MSSQL10.INST4", .version = v10, .setup = false}},
                      {"MSSQLSERVER",
                       {.id = "MSSQL10.MSSQLSERVER", .version = "10.0.2531.0", .cluster = "VSQL1"}},
                      {"OLD",
                       {.id = "MSSQL.1",
                        .version = "9.00.1399.06",
                        .port = "\"TcpPort\"=dword:00000599",
                        .port_spelling = "Tcp"}},
                      {"SEVEN", {.id = "MSSQL.7", .version = "8.00.2039"}}}) +
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
  // The version of one instance, its name looked up in upper case.
  for (const auto& [name, version] :
       {std::pair{"inst1", "10.0.1600.22"}, {"old", "9.00.1399.06"}}) {
    char output[256] = "";
    (void)getMSSQLVersion(name, output);
    EXPECT_STREQ(output, version);
  }
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
        {"I" + std::to_string(i), {.id = "MSSQL10.I" + std::to_string(i), .version = "10.0"}});
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
  EXPECT_LT(elapsed.count(), 500000);  // well under 50 ms natively; sanitizers, Wine are slower
  std::unique_ptr<DbServer> refused = std::make_unique<DbServerSql>();
  EXPECT_EQ(list.add(refused, kSql), 50);
  EXPECT_NE(refused, nullptr);
}

TEST_F(DiscoveryTest, WithoutMarloxHomeNothingIsLogged) {
  marlox_home_.emplace("MARLOX_HOME", std::nullopt);
  EXPECT_TRUE(Scan(Host("8", {})).empty());
  EXPECT_EQ(Log(), "");
}

// Where getMSSQLVersion finds the version when no 2008 or 2005 instance has it.
TEST(GetMSSQLVersionTest, OlderReleasesAndTheDefaultKey) {
  const std::string server = kRoot.substr(0, kRoot.size() - 1);
  const std::string default_key =
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n";
  const std::string release_2000 = kHeader + server + "\\80]\n\n" + default_key +
                                   "\"CurrentVersion\"=\"8.00.194\"\n\n" + server +
                                   "\\NAMED\\MSSQLServer\\CurrentVersion]\n"
                                   "\"CurrentVersion\"=\"8.00.760\"\n\n";
  const std::tuple<std::string, const char*, const char*> kCases[] = {
      {release_2000, "MSSQLSERVER", "8.00.194"},
      {release_2000, "named", "8.00.760"},
      // An unknown instance falls back to the default key.
      {Host("8", {}) + default_key + "\"CurrentVersion\"=\"10.0.1.0\"\n\n", "OTHER", "10.0.1.0"},
      {kHeader, "INST1", "untouched"},  // no server leaves the output alone
  };
  for (const auto& [host, instance, version] : kCases) {
    ASSERT_TRUE(sqxa_test::LoadHost(host)) << host;
    char output[256] = "untouched";
    (void)getMSSQLVersion(instance, output);
    EXPECT_STREQ(output, version) << host;
  }
}

}  // namespace
}  // namespace discovery
