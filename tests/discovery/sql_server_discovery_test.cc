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
#include "discovery/sql_server_discovery.h"

namespace fs = std::filesystem;

namespace discovery {
namespace {

const std::string kRoot = "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server\\";

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

std::string Keys(const Instance& i) {
  std::string text;
  if (!i.cluster.empty()) {
    text += kRoot + i.id + "\\Cluster]\n\"ClusterName\"=\"" + i.cluster + "\"\n\n";
  }
  text +=
      kRoot + i.id + "\\MSSQLServer\\CurrentVersion]\n\"CurrentVersion\"=\"" + i.version + "\"\n\n";
  text += kRoot + i.id + "\\MSSQLServer\\Parameters]\n" + i.parameters + "\n\n";
  if (!i.port.empty()) {
    text += kRoot + i.id + "\\MSSQLServer\\SuperSocketNetLib\\" + i.port_spelling + "\\IPAll]\n" +
            i.port + "\n\n";
  }
  if (i.setup) text += kRoot + i.id + "\\Setup]\n\"SQLPath\"=\"C:\\\\SQL\\\\" + i.id + "\"\n\n";
  return text;
}

std::string Host(bool is64, const std::string& releases,
                 const std::vector<std::pair<std::string, Instance>>& instances) {
  std::string text = "Windows Registry Editor Version 5.00\n\n";
  if (is64) text += "[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node]\n\n";
  for (const char release : releases) {
    text += kRoot + std::string(release == '8' ? "100" : "90") + "]\n\n";
  }
  text += kRoot + "Instance Names\\SQL]\n";
  for (const auto& [name, instance] : instances) {
    text += "\"" + name + "\"=\"" + instance.id + "\"\n";
  }
  text += "\n";
  for (const auto& [name, instance] : instances) text += Keys(instance);
  return text;
}

class SqlServerDiscoveryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::create_directories(home_ / "ORVAGT6_x64" / "logs");
    resetLocalConfigLogForTesting();
  }
  void TearDown() override { resetLocalConfigLogForTesting(); }
  std::string Log() const {
    std::ifstream in(home_ / "ORVAGT6_x64" / "logs" / "SQ_LocalConfig.log", std::ios::binary);
    std::stringstream text;
    text << in.rdbuf();
    return sqxa_test::WithLf(text.str());  // a text file: CR LF line ends on Windows
  }
  sqxa_test::ScratchDir scratch_;
  const fs::path home_ = scratch_.path();
  std::optional<sqxa_test::ScopedEnv> marlox_home_{std::in_place, "MARLOX_HOME", home_.string()};
  sqxa_test::ScopedEnv computer_{"COMPUTERNAME", "TESTHOST"};
};

TEST_F(SqlServerDiscoveryTest, EachReleaseScanFindsItsOwnInstances) {
  Instance inst1{"MSSQL10.INST1", "10.0.1600.22"};
  inst1.port = "\"TcpDynamicPorts\"=\"\"\n\"TcpPort\"=\"1434\"";
  Instance inst2{"MSSQL10.INST2", "10.50.1600.1"};
  inst2.port = "\"TcpPort\"=\"1433,1434\"";
  inst2.parameters = "\"SQLArg0\"=\"-DC:\\\\upper\"\n\"SQLArg1\"=\"  -dC:\\\\Data\\\\master.mdf \"";
  Instance inst3{"MSSQL10.INST3", "10.0.1600.22"};
  inst3.port = "";
  Instance inst4{"MSSQL10.INST4", "10.0.1600.22"};
  inst4.setup = false;
  Instance clustered{"MSSQL10.MSSQLSERVER", "10.0.2531.0"};
  clustered.cluster = "VSQL1";
  Instance old{"MSSQL.1", "9.00.1399.06"};
  old.port_spelling = "Tcp";
  Instance seven{"MSSQL.7", "8.00.2039"};
  ASSERT_TRUE(sqxa_test::LoadHost(Host(true, "89",
                                       {{"INST1", inst1},
                                        {"INST2", inst2},
                                        {"INST3", inst3},
                                        {"INST4", inst4},
                                        {"MSSQLSERVER", clustered},
                                        {"OLD", old},
                                        {"SEVEN", seven}})));

  DbServerList list("");
  scanSqlServerInstances(&list);
  EXPECT_EQ(list.is64BitWindows(), 1);
  ASSERT_EQ(list.count(ServerKind::kSqlServer), 4);
  const auto* first = static_cast<const DbServerSql*>(list.at(0, ServerKind::kSqlServer));
  EXPECT_EQ(first->getServerName(), "INST1");
  EXPECT_EQ(first->getHome(), "C:\\SQL\\MSSQL10.INST1");
  EXPECT_EQ(first->getVersion(), "10.0.1600.22");
  EXPECT_EQ(first->getServiceName(), "MSSQLServer");
  EXPECT_EQ(first->getTcpPort(), "1434");
  EXPECT_EQ(first->getMasterDataFile(), "C:\\Data\\master.mdf");
  EXPECT_EQ(first->getErrorLogName(), "C:\\Log\\ERRORLOG");
  EXPECT_EQ(first->getClusterName(), "TESTHOST");

  const auto* second = static_cast<const DbServerSql*>(list.at(1, ServerKind::kSqlServer));
  EXPECT_EQ(second->getTcpPort(), "1433");                         // "1433,1434" read as a number
  EXPECT_EQ(second->getMasterDataFile(), "C:\\Data\\master.mdf");  // "-D" is not "-d"
  EXPECT_EQ(second->getErrorLogName(), "");

  EXPECT_EQ(list.at(2, ServerKind::kSqlServer)->getServerName(),
            "VSQL1");  // the default instance by its cluster
  EXPECT_EQ(list.at(2, ServerKind::kSqlServer)->getClusterName(), "VSQL1");
  EXPECT_EQ(list.at(3, ServerKind::kSqlServer)->getServerName(), "OLD");
  EXPECT_EQ(list.at(3, ServerKind::kSqlServer)->getVersion(), "9.00.1399.06");

  const std::string log = Log();
  // The log says why an instance was left out.
  for (const char* line :
       {"Windows is 64-bit \n", "for instance 'INST4';So this instance will not be added \n",
        "SQL Server 2005 instance 'OLD' is found \n \n", "Scanning Done  \n"}) {
    EXPECT_NE(log.find(line), std::string::npos) << line << "\n--- log:\n" << log;
  }
  EXPECT_EQ(log.find("'SEVEN' is found"), std::string::npos);
}

TEST_F(SqlServerDiscoveryTest, DefaultInstanceWithoutClusterIsListedUnderTheComputerName) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      Host(true, "8", {{"MSSQLSERVER", Instance("MSSQL10.MSSQLSERVER", "10.0.1600.22")}})));
  DbServerList list("");
  scanSqlServerInstances(&list);
  ASSERT_EQ(list.count(ServerKind::kSqlServer), 1);
  EXPECT_EQ(list.at(0, ServerKind::kSqlServer)->getServerName(), "TESTHOST");
  EXPECT_EQ(list.find("testhost", ServerKind::kSqlServer), list.at(0, ServerKind::kSqlServer));
}

TEST_F(SqlServerDiscoveryTest, OnlyFiftyInstanceNamesAreReadAndTheScanIsQuick) {
  std::vector<std::pair<std::string, Instance>> instances;
  for (int i = 10; i < 70; ++i) {
    instances.push_back(
        {"I" + std::to_string(i), {"MSSQL10.I" + std::to_string(i), "10.0.1600.22"}});
  }
  ASSERT_TRUE(sqxa_test::LoadHost(Host(true, "8", instances)));
  DbServerList warm("");
  scanSqlServerInstances(&warm);  // the registry file is read once per change

  const auto start = std::chrono::steady_clock::now();
  DbServerList list("");
  scanSqlServerInstances(&list);
  const auto elapsed = std::chrono::duration_cast<std::chrono::microseconds>(
      std::chrono::steady_clock::now() - start);
  EXPECT_EQ(list.count(ServerKind::kSqlServer), 50);
  EXPECT_EQ(list.at(49, ServerKind::kSqlServer)->getServerName(), "I59");
  std::printf("discovery of 50 instances: %lld us\n", static_cast<long long>(elapsed.count()));
  EXPECT_LT(elapsed.count(),
            500000);  // the target is well under 50 ms; sanitizers and Wine are slower
}

TEST_F(SqlServerDiscoveryTest, OverlongValuesEndAnEnumerationWithoutHarm) {
  Instance plain{"MSSQL10.PLAIN", "10.0.1600.22"};
  Instance dword_port{"MSSQL10.DW", "10.0.1600.22"};
  dword_port.port = "\"TcpPort\"=dword:00000599";
  std::string text = Host(true, "8", {{"DW", dword_port}, {"PLAIN", plain}});
  // A 300-byte identifier does not fit the 256-byte buffer: the instance list
  // ends before it, as on Windows.
  text += kRoot + "Instance Names\\SQL]\n\"ZZ\"=\"" + std::string(300, 'x') + "\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(text));
  DbServerList list("");
  scanSqlServerInstances(&list);
  ASSERT_EQ(list.count(ServerKind::kSqlServer), 2);
  EXPECT_EQ(list.at(0, ServerKind::kSqlServer)->getTcpPort(),
            "1433");  // a DWORD port reads as its number
}

TEST_F(SqlServerDiscoveryTest, WithoutMarloxHomeNothingIsLogged) {
  marlox_home_.emplace("MARLOX_HOME", std::nullopt);
  ASSERT_TRUE(sqxa_test::LoadHost(Host(true, "8", {})));
  DbServerList list("");
  scanSqlServerInstances(&list);
  EXPECT_EQ(list.count(ServerKind::kSqlServer), 0);
  EXPECT_EQ(Log(), "");
}

TEST(CheckMajorVersionTest, DigitsBeforeTheFirstDot) {
  EXPECT_TRUE(checkMajorVersion("10.0.1600.22", 10));
  EXPECT_FALSE(checkMajorVersion("10.0.1600.22", 9));
  EXPECT_TRUE(checkMajorVersion("9.00.1399.06", 9));
  EXPECT_TRUE(checkMajorVersion("10", 0));  // without a "." the major version is 0
  EXPECT_TRUE(checkMajorVersion("", 0));
}

}  // namespace
}  // namespace discovery
