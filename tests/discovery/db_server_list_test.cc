#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>

#include "discovery/db_server_list.h"
#include "support/capture.h"

namespace discovery {
namespace {

std::unique_ptr<DbServer> Sql(const std::string& name) {
  auto server = std::make_unique<DbServerSql>();
  server->setServerName(name);
  return server;
}

TEST(DbServerListTest, ListsAreBoundedAndLookupsIgnoreCase) {
  DbServerList list("");
  for (int i = 0; i < 50; ++i) {
    auto server = Sql("S" + std::to_string(i));
    EXPECT_EQ(list.add(server, ServerKind::kSqlServer), i + 1);
    EXPECT_EQ(server, nullptr);  // taken
  }
  auto refused = Sql("S50");
  EXPECT_EQ(list.add(refused, ServerKind::kSqlServer), 50);
  ASSERT_NE(refused, nullptr);  // still the caller's
  EXPECT_EQ(list.count(ServerKind::kSqlServer), 50);
  EXPECT_EQ(list.count(ServerKind::kOracle), 0);

  EXPECT_EQ(list.find("s7", ServerKind::kSqlServer), list.at(7, ServerKind::kSqlServer));
  EXPECT_EQ(list.find("S7", ServerKind::kOracle), nullptr);
  EXPECT_EQ(list.at(50, ServerKind::kSqlServer), nullptr);
  EXPECT_EQ(list.at(0, ServerKind{60}), nullptr);

  DbServerList mixed("");
  auto server = Sql("MSSQLSERVER");
  mixed.add(server, ServerKind::kSqlServer);
  EXPECT_NE(mixed.find("mssqlserver", ServerKind::kSqlServer), nullptr);
}

TEST(DbServerListTest, EqualityAndTheInformixKind) {
  DbServerSql a;
  a.setServerName("Inst1");
  DbServerSql b;
  b.setServerName("INST1");
  DbServerOra c("INST1");
  c.setServerName("INST1");
  EXPECT_TRUE(a.isSameServer(b));
  EXPECT_FALSE(a.isSameServerExact(b));
  EXPECT_FALSE(b.isSameServer(c));
  EXPECT_EQ(DbServerIfx().getKind(), 3u);
}

TEST(DbServerListTest, PrintListsTheKnownKindsOnly) {
  DbServerList list("");
  auto one = Sql("INST1");
  auto two = Sql("VSQL1");
  list.add(one, ServerKind::kSqlServer);
  list.add(two, ServerKind::kSqlServer);
  EXPECT_EQ(Capture([&] { list.print(ServerKind::kSqlServer); }).out,
            "\n\n\t\t\tList of MSSQL Server found on the system\n"
            "\t\t=======================================================\n"
            "\t\t1) INST1\n\t\t2) VSQL1\n");
  EXPECT_EQ(Capture([&] { list.print(ServerKind::kNone); }).out, "");
  EXPECT_EQ(Capture([&] { list.print(ServerKind{5}); }).out, "");
  EXPECT_EQ(Capture([&] { list.print(ServerKind::kOracle); }).out,
            "\n\n\t\t\tList of Oracle Server found on the system\n"
            "\t\t=======================================================\n");
}

std::string Dump(const DbServer& server) {
  const auto path = std::filesystem::temp_directory_path() / "sqxa_dump.txt";
  {
    std::FILE* out = std::fopen(path.string().c_str(), "wb");
    server.dump(out);
    std::fclose(out);
  }
  std::stringstream text;
  {
    std::ifstream in(path, std::ios::binary);
    text << in.rdbuf();
  }
  std::filesystem::remove(path);
  return text.str();
}

TEST(DbServerTest, DumpFormats) {
  DbServerSql sql;
  sql.setServerName("INST1");
  sql.setHome("C:\\SQL");
  sql.setVersion("10.0");
  sql.setServiceName("MSSQLServer");
  sql.setErrorLogName("C:\\Log\\ERRORLOG");
  sql.setTcpPort("1433");
  EXPECT_EQ(Dump(sql),
            "dollar_mssqlserver : C:\\SQL\nserver_version : 10.0\nserver_type : SQL Server\n"
            "server_name : INST1\nservice_name : MSSQLServer\nerrorlog_name : C:\\Log\\ERRORLOG\n"
            "is_server_valid : 1\n\nTCP_PORT : 1433\n");

  DbServerOra ora("ORCL");
  ora.setInitFileName("init.ora");
  EXPECT_EQ(Dump(ora),
            "dollar_oracle : \nORA_version : \nserver_type : RDBMS Server\n"
            "initora_filename : init.ora\nserver_name : \nservice_name : \nerrorlog_name : \n"
            "is_server_valid : 1\n\n");
  EXPECT_EQ(Dump(DbServerSyb()),
            "dollar_sybase : \nsyb_version : \nserver_type : SQL Server\nserver_name : \n"
            "service_name : \nerrorlog_name : \nis_server_valid : 1\n\n");
  DbServerIfx ifx;
  ifx.setConfigFile("onconfig");
  EXPECT_EQ(Dump(ifx),
            "dollar_server : \nserver_version : \nserver_type : Online\nserver_name : \n"
            "service_name : \nerrorlog_name : \nconfig_file : onconfig\nis_server_valid : 1\n\n");
}

TEST(DiscoveryTraceTest, PrintsOnlyWhileVerbose) {
  setDiscoveryVerbose(true);
  EXPECT_EQ(Capture([] { discoveryTrace("[DEB] filename[%s]", "x"); }).out, "[DEB] filename[x]\n");
  setDiscoveryVerbose(false);
  EXPECT_EQ(Capture([] { discoveryTrace("[DEB] filename[%s]", "x"); }).out, "");
}

}  // namespace
}  // namespace discovery
