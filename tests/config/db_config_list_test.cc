#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

#include "config/db_config_list.h"
#include "discovery/db_server.h"
#include "support/capture.h"

namespace config {
namespace {

std::unique_ptr<DbConfig> Record(const std::string& name, int number = -1) {
  auto record = std::make_unique<DbConfig>();
  record->setServerName(name);
  record->setServerType(3);
  record->setServiceNumber(number);
  return record;
}

TEST(DbConfigTest, DefaultsNamesAndConstructionFromADiscoveredServer) {
  const DbConfig fresh;
  EXPECT_EQ(fresh.getServerType(), 5);
  EXPECT_EQ(fresh.getConfigType(), kConfigNone);
  EXPECT_EQ(fresh.getServiceNumber(), -1);
  EXPECT_EQ(fresh.getErrorlogMaxEventRow(), 50);

  DbConfig named;
  named.setServerName("  INST1 \t");
  EXPECT_EQ(named.getServerName(), "INST1");

  discovery::DbServerSql server;
  server.setServerName("VSQL1");
  server.setServiceName("MSSQLServer");
  server.setErrorLogName("C:\\log");
  server.setHome("C:\\home");
  server.setVersion("10.0");
  server.setClusterName("VSQL1");
  server.setTcpPort("1433");
  const DbConfig from(server);
  EXPECT_EQ(from.getServerType(), 3);
  EXPECT_EQ(from.getServerName(), "VSQL1");
  EXPECT_EQ(from.getServiceKey(), "MSSQLServer");
  EXPECT_EQ(from.getClusterServer(), "VSQL1");
  EXPECT_EQ(from.getPort(), "1433");
  EXPECT_EQ(from.getLoginName(), "");

  DbConfig copy = from;
  EXPECT_EQ(copy.isEqual(from), 1);
  EXPECT_EQ(copy.compare(from), 0);
  copy.setServiceNumber(4);
  EXPECT_EQ(copy.isEqual(from), 0);
  EXPECT_EQ(copy.compare(from), -1);
}

TEST(DbConfigListTest, LookupsDifferInTheirCaseRules) {
  DbConfigList list;
  list.SetConsole(0);
  list.Add(Record("INST1", 2), ServerKind::kSqlServer);
  EXPECT_EQ(list.HasServer("inst1", ServerKind::kSqlServer), 1);
  EXPECT_EQ(list.HasServer("inst1", ServerKind::kOracle), 0);
  DbConfig wanted;
  wanted.setServerName("inst1");
  wanted.setServerType(3);
  wanted.setServiceNumber(2);
  EXPECT_EQ(list.FindConfig(wanted, ServerKind::kSqlServer), nullptr);
  wanted.setServerName("INST1");
  EXPECT_EQ(list.FindConfig(wanted, ServerKind::kSqlServer), list.GetAt(0, ServerKind::kSqlServer));
  EXPECT_EQ(list.FindByName("INST1", ServerKind::kSqlServer),
            list.GetAt(0, ServerKind::kSqlServer));
  EXPECT_EQ(list.FindByName("inst1", ServerKind::kSqlServer), nullptr);
  EXPECT_EQ(list.GetAt(-1, ServerKind::kSqlServer), nullptr);
  EXPECT_EQ(list.GetAt(1, ServerKind::kSqlServer), nullptr);
}

TEST(DbConfigListTest, DeletionKeepsTheOrderAndTraces) {
  DbConfigList list;
  list.Add(Record("A"), ServerKind::kSqlServer);
  list.Add(Record("B"), ServerKind::kSqlServer);
  list.Add(Record("C"), ServerKind::kSqlServer);
  const Captured got = Capture(
      [&] { list.Delete_Config(list.GetAt(1, ServerKind::kSqlServer), ServerKind::kSqlServer); });
  EXPECT_EQ(got.out,
            "Delete_Config: enter, num dbconfigs 3\nDelete_Config: deleting 'B'\n"
            "Delete_Config: exit, num dbconfigs 2\n");
  ASSERT_EQ(list.GetCount(ServerKind::kSqlServer), 2);
  EXPECT_EQ(list.GetAt(0, ServerKind::kSqlServer)->getServerName(), "A");
  EXPECT_EQ(list.GetAt(1, ServerKind::kSqlServer)->getServerName(), "C");

  const DbConfig stranger;
  EXPECT_EQ(Capture([&] { list.Delete_Config(&stranger, ServerKind::kSqlServer); }).out,
            "Delete_Config: enter, num dbconfigs 2\nDelete_Config: exit, num dbconfigs 2\n");
}

TEST(DbConfigListTest, DestructionTracesLastRecordFirstAndEndsOnTheConsole) {
  const Captured got = Capture([] {
    DbConfigList list;
    list.Add(Record("FIRST"), ServerKind::kSqlServer);
    list.Add(Record("SECOND"), ServerKind::kSqlServer);
  });
  EXPECT_TRUE(
      std::regex_match(got.out, std::regex("~DbConfigList: Enter\n"
                                           "~DbConfigList: deleting DbConfig 'SECOND'\n"
                                           "~DbConfigList: deleting DbConfig addr 0x[0-9a-f]+\n"
                                           "~DbConfigList: deleting DbConfig 'FIRST'\n"
                                           "~DbConfigList: deleting DbConfig addr 0x[0-9a-f]+\n"
                                           "~DbConfigList: Exit\n")))
      << got.out;
}

TEST(DbConfigListTest, PrintFormats) {
  DbConfigList list;
  auto record = Record("INST1", 2);
  record->setHomeDir("C:\\home");
  record->setErrorLog("C:\\log");
  record->setPassword("{AES256:keyfile:a}xyz");
  list.Add(std::move(record), ServerKind::kSqlServer);

  EXPECT_EQ(Capture([&] { EXPECT_EQ(list.PrintServers(ServerKind::kSqlServer), 1); }).out,
            "\n\t\t\tList of MSSQL Servers\n\n\t=================================================\n"
            "\n\t1) Server Name: 'INST1' HomeDir: 'C:\\home' Errorlog: 'C:\\log'\n\n");
  EXPECT_EQ(Capture([&] { EXPECT_EQ(list.PrintServers(ServerKind::kOracle), 0); }).out,
            "\tNo Servers in the Configuration List\n\n");
  EXPECT_EQ(Capture([&] { EXPECT_EQ(list.PrintServers(ServerKind{7}), 0); }).out,
            "\tNo Servers in the Configuration List\n\n");
  list.Add(Record("X"), ServerKind{7});
  EXPECT_EQ(Capture([&] { EXPECT_EQ(list.PrintServers(ServerKind{7}), 0); }).out, "");

  EXPECT_EQ(Capture([&] { list.PrintConfigs(ServerKind::kSqlServer); }).out,
            "\n\t\t\tList of MSSQL Servers \n"
            "\n\t\t========================================================\n"
            "\n\tDatabase Server name: 'INST1'\n\tDatabase Server Version: ''\n"
            "\tDatabase Login name: ''\n\tPassword '********'\n"
            "\tDatabase Errorlog: 'C:\\log'\n\tDatabase Home directory: 'C:\\home'\n"
            "\tServer Type '3'\n\tService Key ''\n\tConfig File ''\n\tClust Server ''\n"
            "\tTNS_ADMIN ''\n\tExtended Parameters ''\n\tServiceNumber '2'\n"
            "\tDatabase names to include ''\n\n");
  EXPECT_EQ(Capture([&] { list.PrintConfigs(ServerKind::kSybase); }).out,
            "\n\n\t\tNo Servers were found in the Configuration List\n\n");
  list.SetConsole(0);
}

}  // namespace
}  // namespace config
