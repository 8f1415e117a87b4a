#include <gtest/gtest.h>

#include <string>

#include "common/host_registry.h"
#include "discovery/sql_server_discovery.h"
#include "platform/registry.h"

namespace discovery {
namespace {

constexpr const char* kHeader = "Windows Registry Editor Version 5.00\n\n";
constexpr const char* kServer = "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Microsoft SQL Server";

// The registry of each release as its setup leaves it.
std::string Release(const std::string& number, const std::string& instance, const std::string& id,
                    const std::string& values) {
  return std::string(kHeader) + kServer + "\\" + number + "]\n\n" + kServer +
         "\\Instance Names\\SQL]\n\"" + instance + "\"=\"" + id + "\"\n\n" + kServer + "\\" + id +
         "\\MSSQLServer\\CurrentVersion]\n" + values + "\n";
}
constexpr const char* kDefaultKey =
    "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion]\n";

TEST(GetMSSQLVersionTest, EachReleaseKeepsItsVersionElsewhere) {
  const std::string release_2000 = std::string(kHeader) + kServer + "\\80]\n\n" + kDefaultKey +
                                   "\"CurrentVersion\"=\"8.00.194\"\n\n" + kServer +
                                   "\\NAMED\\MSSQLServer\\CurrentVersion]\n"
                                   "\"CurrentVersion\"=\"8.00.760\"\n\n";
  const struct {
    std::string host;
    const char* instance;
    const char* version;
  } kCases[] = {
      // The name is looked up in upper case.
      {Release("100", "INST1", "MSSQL10.INST1", "\"CurrentVersion\"=\"10.0.1600.22\"\n"), "inst1",
       "10.0.1600.22"},
      {Release("90", "OLD", "MSSQL.1", "\"CurrentVersion\"=\"9.00.1399.06\"\n"), "OLD",
       "9.00.1399.06"},
      {release_2000, "MSSQLSERVER", "8.00.194"},
      {release_2000, "named", "8.00.760"},
      {std::string(kHeader) + kDefaultKey + "\"CurrentVersion\"=\"7.00.623\"\n\n", "MSSQLSERVER",
       "7.00.623"},
      // The output holds the last value of the key.
      {Release("100", "INST1", "MSSQL10.INST1",
               "\"CSDVersion\"=\"Service Pack 1\"\n\"CurrentVersion\"=\"10.0.2531.0\"\n"
               "\"Language\"=dword:00000409\n"),
       "INST1", "1033"},
      // An unknown instance falls back to the default key.
      {Release("100", "INST1", "MSSQL10.INST1", "") + kDefaultKey +
           "\"CurrentVersion\"=\"10.0.1.0\"\n\n",
       "OTHER", "10.0.1.0"},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.host);
    ASSERT_TRUE(sqxa_test::LoadHost(c.host));
    char output[256] = "untouched";
    (void)getMSSQLVersion(c.instance, output);
    EXPECT_STREQ(output, c.version);
  }
}

TEST(GetMSSQLVersionTest, NoServerLeavesTheOutputAlone) {
  ASSERT_TRUE(sqxa_test::LoadHost(kHeader));
  char output[256] = "untouched";
  EXPECT_NE(getMSSQLVersion("INST1", output), platform::kRegSuccess);
  EXPECT_STREQ(output, "untouched");
}

}  // namespace
}  // namespace discovery
