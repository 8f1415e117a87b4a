#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "common/host_registry.h"
#include "config/config_test_home.h"
#include "config/instance_removal.h"
#include "discovery/db_server_list.h"
#include "platform/registry.h"
#include "platform/service_control.h"
#include "support/capture.h"

namespace config {
namespace {

class InstanceRemovalTest : public ConfigTestHome {
 protected:
  void SetUp() override { discovery::setDiscoveryVerbose(true); }
  void TearDown() override { discovery::setDiscoveryVerbose(false); }
};

TEST_F(InstanceRemovalTest, RemovesTheFilesThatExist) {
  Write("VSQMMA_INST1.ini", "x");
  Write("VSQMMA_INST2.ini", "x");
  Write("MSMSQL_INST2.bat", "x");
  Write("VIXMMA_INST2.ini", "x");
  const Captured got = Capture([&] {
    RemoveInstanceFiles(ServerKind::kSqlServer, Etc(), "INST1");
    RemoveInstanceFiles(ServerKind::kSqlServer, Etc(), "INST2");
    RemoveInstanceFiles(ServerKind::kInformix, Etc(), "INST2");
  });
  EXPECT_EQ(got.out.find("Finished removing " + Etc() + "\\VSQMMA_INST1.ini file\n\n"), 0u);
  EXPECT_FALSE(Exists("VSQMMA_INST1.ini"));
  EXPECT_FALSE(Exists("VSQMMA_INST2.ini"));
  EXPECT_FALSE(Exists("MSMSQL_INST2.bat"));
  EXPECT_TRUE(Exists("VIXMMA_INST2.ini"));  // kind 4 removes nothing
}

TEST_F(InstanceRemovalTest, DeletesARegistryTree) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      "Windows Registry Editor Version 5.00\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST1\\Environment]\n\"A\"=\"1\"\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST1\\Deeper\\Still]\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST2\\Environment]\n\"A\"=\"2\"\n\n"));
  std::unique_ptr<platform::Registry> hive;
  ASSERT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
  EXPECT_EQ(DeleteRegistryTree(hive.get(), "Software\\Marlox\\VSQ\\610\\INST1"), 1);
  std::unique_ptr<platform::RegistryKey> key;
  EXPECT_NE(hive->OpenKey("Software\\Marlox\\VSQ\\610\\INST1", platform::kKeyRead, &key),
            platform::kRegSuccess);
  EXPECT_EQ(
      hive->OpenKey("Software\\Marlox\\VSQ\\610\\INST2\\Environment", platform::kKeyRead, &key),
      platform::kRegSuccess);
  EXPECT_EQ(DeleteRegistryTree(hive.get(), "Software\\Marlox\\VSQ\\610\\NONE"), 0);
}

TEST_F(InstanceRemovalTest, RemovingAnInstanceKeyReportsEachStep) {
  ASSERT_TRUE(sqxa_test::LoadHost(
      "Windows Registry Editor Version 5.00\n\n"
      "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST1\\Environment]\n\"A\"=\"1\"\n\n"));
  const Captured got = Capture([] { RemoveInstanceKey(ServerKind::kSqlServer, "INST1", 3); });
  EXPECT_EQ(got.out.find("[DBG] Deleting instance [Software\\Marlox\\VSQ\\610\\INST1]\n\n"), 0u)
      << got.out;
  // Services that do not exist count as deleted; without a service manager
  // the deletion fails.
  unsigned long error = 0;
  const bool has_manager = platform::ServiceManager::Connect(&error) != nullptr;
  const char* outcome = has_manager ? "Deleted" : "Fail to delete";
  EXPECT_NE(got.out.find(std::string("[DBG] ") + outcome + " service [VSQCOLL3]\n"),
            std::string::npos)
      << got.out;
  EXPECT_NE(got.out.find(std::string("[DBG] ") + outcome + " service [VSQAGENT3]\n"),
            std::string::npos);
}

// The variants over every discovered server of a kind.
TEST_F(InstanceRemovalTest, RemovesWhatEveryDiscoveredServerHas) {
  ASSERT_TRUE(
      sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\A\\Environment]\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\B\\Environment]\n\n"));
  discovery::DbServerList servers("");
  for (const char* name : {"A", "B"}) {
    std::unique_ptr<discovery::DbServer> server = std::make_unique<discovery::DbServerSql>();
    server->setServerName(name);
    (void)servers.add(server, ServerKind::kSqlServer);
    Write(std::string("VSQMMA_") + name + ".ini", "x");
  }
  const Captured got = Capture([&] {
    RemoveDiscoveredInstanceFiles(servers, ServerKind::kSqlServer, Etc());
    RemoveDiscoveredInstanceKeys(servers, ServerKind::kSqlServer);
  });
  EXPECT_FALSE(Exists("VSQMMA_A.ini"));
  EXPECT_FALSE(Exists("VSQMMA_B.ini"));
  for (const char* line :
       {"[DBG] Deleting instance [Software\\Marlox\\VSQ\\610\\B]\n", "service [VSQAGENT49]\n"}) {
    EXPECT_NE(got.out.find(line), std::string::npos) << line;
  }
}

}  // namespace
}  // namespace config
