#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/host_registry.h"
#include "config/config_test_home.h"
#include "config/db_config_list.h"
#include "platform/files.h"
#include "support/capture.h"

namespace config {
namespace {

class PreConfigScanTest : public ConfigTestHome {
 protected:
  void SetUp() override {
    list_ = std::make_unique<DbConfigList>();
    list_->SetConsole(0);
    list_->SetEtcDir("ORVAGT6_DIR");
  }
  void TearDown() override { list_.reset(); }
  std::string Add(const std::string& name) {
    return "Add=" + Etc() + "\\VSQMMA_" + name + ".ini\n";
  }
  std::unique_ptr<DbConfigList> list_;
};

TEST_F(PreConfigScanTest, IncludeFileNamesExistingInstancesOnce) {
  Write("VSQMMA_INST1.ini", "");
  Write("VSQMMA_INST2.ini", "");
  Write("VSQMMA_INST3.ini", "");
  const std::string last = Add("INST2");
  Write("OTHER.ini", "");
  Write("vsqinc.ini", "[Include]\n" + Add("INST1") + Add("GONE") + "  " + Add("INST3") +
                          Add("INST1") + "Add=\n; comment\n" + std::string(400, 'A') + "\n" +
                          "Add=" + Etc() + "\\OTHER.ini\n" + last.substr(0, last.size() - 1));
  std::vector<std::string> names;
  list_->SetConsole(1);
  const Captured got =
      Capture([&] { EXPECT_EQ(list_->GetPreConfigList(ServerKind::kSqlServer, &names), 2); });
  list_->SetConsole(0);
  // An indented line does not begin with "A"; a missing file adds nothing; a
  // file without the stem is traced and adds nothing; the last line has no
  // line end.
  EXPECT_EQ(names, (std::vector<std::string>{"INST1", "INST2"}));
  EXPECT_NE(
      got.out.find("csTempName2: " + Etc() + "\\OTHER.ini\nGetPreConfigList: csServerName: \n"),
      std::string::npos)
      << got.out;
  EXPECT_EQ(list_->GetPreConfigList(ServerKind::kInformix, &names),
            0);  // kind 4 has no include file
}

TEST_F(PreConfigScanTest, MissingIncludeFileGivesAnEmptyScan) {
  std::vector<std::string> names;
  EXPECT_EQ(list_->GetPreConfigList(ServerKind::kSqlServer, &names), 0);
  ASSERT_EQ(list_->ScanPreConfig(ServerKind::kSqlServer), 0);
  EXPECT_EQ(list_->GetCount(ServerKind::kSqlServer), 0);
}

TEST_F(PreConfigScanTest, RecordsComeFromTheRegistryKeys) {
  Write("VSQMMA_INST1.ini", "[VMAMSSQLAgent4]\n");
  Write("VSQMMA_INST2.ini", "[VMAMSSQLAgent6]\n");
  Write("VSQMMA_INST3.ini", "[VMAMSSQLAgent9]\n");
  Write("vsqinc.ini", Add("INST1") + Add("INST2") + Add("INST3"));
  ASSERT_TRUE(
      sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST1\\Environment]\n"
                          "\"COLL_CLUSTERSERVER\"=\"VSQL1\"\n\"COLL_DBHOME\"=\"C:\\\\SQL\"\n"
                          "\"COLL_DISABLE_CURSORS\"=\"Y\"\n\"COLL_LOGON\"=\"sa\"\n\"COLL_"
                          "PASSWORD\"=\"{AES256:keyfile:a}x\"\n"
                          "\"COLL_SERVERID\"=\"INST1\"\n\"COLL_TBLD_DAILY_FREQUENCY\"=\"3\"\n"
                          "\"COLL_WINAUTHENTICATION\"=\"true\"\n\"UNKNOWN_VALUE\"=\"x\"\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST2\\Environment]\n"
                          "\"COLL_SERVERID\"=\"INST2\"\n\"COLL_SERVICENUMBER\"=\"2\"\n\n"));

  ASSERT_EQ(list_->ScanPreConfig(ServerKind::kSqlServer), 0);
  ASSERT_EQ(list_->GetCount(ServerKind::kSqlServer), 3);
  const DbConfig* first = list_->GetAt(0, ServerKind::kSqlServer);
  EXPECT_EQ(first->getServerName(), "INST1");
  EXPECT_EQ(first->getLoginName(), "sa");
  EXPECT_EQ(first->getClusterServer(), "VSQL1");
  EXPECT_EQ(first->getExtendedParams(), "Y");
  EXPECT_EQ(first->getWinAuthentication(), "true");
  EXPECT_EQ(first->getServerType(), 3);
  EXPECT_EQ(first->getConfigType(), kConfigScanned);
  EXPECT_EQ(first->getServiceNumber(), 4);  // from its management-agent file
  const DbConfig* second = list_->GetAt(1, ServerKind::kSqlServer);
  EXPECT_EQ(second->getServiceNumber(), 2);
  EXPECT_EQ(second->getTbldDailyFrequency(), 3);  // carried over from the first instance
  // No key at all (its tool died before it registered): named after its file,
  // so that its number is read and its include line kept.
  const DbConfig* third = list_->GetAt(2, ServerKind::kSqlServer);
  EXPECT_EQ(third->getServerName(), "INST3");
  EXPECT_EQ(third->getServiceNumber(), 9);
  EXPECT_FALSE(third->isRegistered());
  EXPECT_TRUE(first->isRegistered());
}

// A list that is there but cannot be read must not pass for an empty one: the
// next regeneration of the include file would drop every instance it lists.
TEST_F(PreConfigScanTest, AnUnreadableListFailsTheScan) {
  Write("VSQMMA_INST1.ini", "[VMAMSSQLAgent4]\n");
  Write("vsqinc.ini", Add("INST1"));
  for (const char* unreadable : {"vsqinc.ini", "VSQMMA_INST1.ini"}) {
    SCOPED_TRACE(unreadable);
    static std::string failing;
    failing = unreadable;
    platform::FileSystemCalls calls = platform::SetFileSystemCallsForTesting(nullptr);
    static platform::FileSystemCalls real;
    real = calls;
    calls.open = [](const std::string& path, const char* mode, std::FILE** file) {
      return path.size() >= failing.size() &&
                     path.compare(path.size() - failing.size(), failing.size(), failing) == 0
                 ? EIO
                 : real.open(path, mode, file);
    };
    (void)platform::SetFileSystemCallsForTesting(&calls);
    EXPECT_EQ(list_->ScanPreConfig(ServerKind::kSqlServer), EIO);
    (void)platform::SetFileSystemCallsForTesting(nullptr);
  }
}

TEST_F(PreConfigScanTest, ADotBeforeTheStemGivesNoName) {
  std::filesystem::create_directories(etc_ / "v6.1");
  Write("v6.1/VSQMMA_INST1.ini", "");
  Write("vsqinc.ini", "Add=" + Etc() + "\\v6.1\\VSQMMA_INST1.ini\n");
  std::vector<std::string> names;
  EXPECT_EQ(list_->GetPreConfigList(ServerKind::kSqlServer, &names), 1);
  EXPECT_EQ(names, std::vector<std::string>{""});
  // The scan still finds the registration under the name the file carries.
  ASSERT_TRUE(
      sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\INST1\\Environment]\n"
                          "\"COLL_SERVERID\"=\"INST1\"\n\"COLL_LOGON\"=\"sa\"\n\n"));
  ASSERT_EQ(list_->ScanPreConfig(ServerKind::kSqlServer), 0);
  ASSERT_EQ(list_->GetCount(ServerKind::kSqlServer), 1);
  EXPECT_EQ(list_->GetAt(0, ServerKind::kSqlServer)->getServerName(), "INST1");
  EXPECT_EQ(list_->GetAt(0, ServerKind::kSqlServer)->getLoginName(), "sa");
  EXPECT_TRUE(list_->GetAt(0, ServerKind::kSqlServer)->isRegistered());
}

}  // namespace
}  // namespace config
