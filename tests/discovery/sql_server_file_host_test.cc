// A 32-bit host yields no server. Only the registry file can describe one:
// Wine's own registry always has "Software\Wow6432Node".
#include <gtest/gtest.h>

#include "common/host_registry.h"
#include "discovery/db_server_list.h"
#include "discovery/sql_server_discovery.h"

namespace discovery {

TEST(SqlServerFileHostTest, A32BitHostYieldsNoServer) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      "Windows Registry Editor Version 5.00\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server\\100]\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server\\Instance Names\\SQL]\n"
      "\"INST1\"=\"MSSQL10.INST1\"\n\n"));
  DbServerList list("");
  scanSqlServerInstances(&list);
  EXPECT_EQ(list.is64BitWindows(), 0);
  EXPECT_EQ(list.count(ServerKind::kSqlServer), 0);
}

}  // namespace discovery
