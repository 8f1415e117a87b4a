#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "discovery/db_server_list.h"

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

TEST(DbServerListTest, SameServerIgnoresCaseNotKind) {
  DbServerSql a;
  a.setServerName("Inst1");
  DbServerSql b;
  b.setServerName("INST1");
  DbServerOra c("INST1");
  c.setServerName("INST1");
  EXPECT_TRUE(a.isSameServer(b));
  EXPECT_FALSE(a.isSameServerExact(b));
  EXPECT_FALSE(b.isSameServer(c));
}

}  // namespace
}  // namespace discovery
