#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "common/host_registry.h"
#include "discovery/sql_server_discovery.h"
#include "platform/registry.h"

namespace discovery {
namespace {

constexpr const char* kHeader = "Windows Registry Editor Version 5.00\n\n";
constexpr const char* kServer = "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server";

std::string Version(const char* instance) {
  char output[256];
  std::strcpy(output, "untouched");
  (void)getMSSQLVersion(instance, output);
  return output;
}

TEST(GetMSSQLVersionTest, ReleasesFrom2008To70) {
  const std::string version_2008 =
      std::string(kHeader) + kServer + "\\100]\n\n" + kServer +
      "\\100\\Tools\\Setup]\n\"Edition\"=\"Enterprise Edition (64-bit)\"\n\n" + kServer +
      "\\Instance Names\\SQL]\n\"INST1\"=\"MSSQL10.INST1\"\n\n" + kServer +
      "\\MSSQL10.INST1\\MSSQLServer\\CurrentVersion]\n"
      "\"CurrentVersion\"=\"10.0.1600.22\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(version_2008));
  EXPECT_EQ(Version("inst1"), "10.0.1600.22");  // the name is looked up in upper case

  const std::string version_2005 = std::string(kHeader) + kServer + "\\90]\n\n" + kServer +
                                   "\\Instance Names\\SQL]\n\"OLD\"=\"MSSQL.1\"\n\n" + kServer +
                                   "\\MSSQL.1\\MSSQLServer\\CurrentVersion]\n"
                                   "\"CurrentVersion\"=\"9.00.1399.06\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(version_2005));
  EXPECT_EQ(Version("OLD"), "9.00.1399.06");

  const std::string version_2000 =
      std::string(kHeader) + kServer + "\\80]\n\n" +
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n"
      "\"CurrentVersion\"=\"8.00.194\"\n\n" +
      kServer + "\\NAMED\\MSSQLServer\\CurrentVersion]\n\"CurrentVersion\"=\"8.00.760\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(version_2000));
  EXPECT_EQ(Version("MSSQLSERVER"), "8.00.194");
  EXPECT_EQ(Version("named"), "8.00.760");

  const std::string version_70 =
      std::string(kHeader) +
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n"
      "\"CurrentVersion\"=\"7.00.623\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(version_70));
  EXPECT_EQ(Version("MSSQLSERVER"), "7.00.623");
}

TEST(GetMSSQLVersionTest, TheOutputHoldsTheLastValueOfTheKey) {
  const std::string host = std::string(kHeader) + kServer + "\\100]\n\n" + kServer +
                           "\\Instance Names\\SQL]\n\"INST1\"=\"MSSQL10.INST1\"\n\n" + kServer +
                           "\\MSSQL10.INST1\\MSSQLServer\\CurrentVersion]\n"
                           "\"CSDVersion\"=\"Service Pack 1\"\n"
                           "\"CurrentVersion\"=\"10.0.2531.0\"\n"
                           "\"Language\"=dword:00000409\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(host));
  EXPECT_EQ(Version("INST1"), "1033");
}

TEST(GetMSSQLVersionTest, AnUnknownInstanceFallsBackToTheDefaultKey) {
  const std::string host =
      std::string(kHeader) + kServer + "\\100]\n\n" + kServer +
      "\\Instance Names\\SQL]\n\"INST1\"=\"MSSQL10.INST1\"\n\n" +
      "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n"
      "\"CurrentVersion\"=\"10.0.1.0\"\n\n";
  ASSERT_TRUE(sqxa_test::LoadHost(host));
  EXPECT_EQ(Version("OTHER"), "10.0.1.0");
}

TEST(GetMSSQLVersionTest, NoServerLeavesTheOutputAlone) {
  ASSERT_TRUE(sqxa_test::LoadHost(kHeader));
  char output[256] = "untouched";
  EXPECT_NE(getMSSQLVersion("INST1", output), platform::kRegSuccess);
  EXPECT_STREQ(output, "untouched");
}

}  // namespace
}  // namespace discovery
