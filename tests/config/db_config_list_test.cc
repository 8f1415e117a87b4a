// The list of configured instances, and the instance files under the
// product's etc directory: the include file the scan reads, the service
// numbers in the instance files, their removal.
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include "common/host_registry.h"
#include "config/config_test_home.h"
#include "config/db_config_list.h"
#include "config/instance_removal.h"
#include "discovery/db_server_list.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/service_control.h"
#include "support/capture.h"

namespace config {
namespace {

constexpr ServerKind kSql = ServerKind::kSqlServer;
const std::string kHost = "Windows Registry Editor Version 5.00\n\n";
const std::string kKey = "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\";

std::unique_ptr<DbConfig> Record(const std::string& name, int number = -1) {
  auto record = std::make_unique<DbConfig>();
  record->setServerName(name);
  record->setServerType(3);
  record->setServiceNumber(number);
  return record;
}

// Names are trimmed; HasServer ignores case, FindByName and FindConfig (which
// compares every field) do not.
TEST(DbConfigListTest, NamesAreTrimmedAndLookupsDifferInTheirCaseRules) {
  DbConfigList list;
  list.SetConsole(0);
  list.Add(Record("  INST1 \t", 2), kSql);
  const DbConfig* listed = list.GetAt(0, kSql);
  EXPECT_EQ(listed->getServerName(), "INST1");
  EXPECT_EQ(list.HasServer("inst1", kSql), 1);
  EXPECT_EQ(list.HasServer("inst1", ServerKind::kOracle), 0);
  EXPECT_EQ(list.FindByName("INST1", kSql), listed);
  EXPECT_EQ(list.FindByName("inst1", kSql), nullptr);
  EXPECT_EQ(list.FindConfig(*Record("inst1", 2), kSql), nullptr);
  EXPECT_EQ(list.FindConfig(*Record("INST1", 2), kSql), listed);
  EXPECT_EQ(list.FindConfig(*Record("INST1", 4), kSql), nullptr);
  EXPECT_EQ(list.GetAt(1, kSql), nullptr);
}

TEST(DbConfigListTest, DeletionAndDestructionKeepTheOrderAndTrace) {
  std::string out = Capture([] {
                      DbConfigList list;
                      for (const char* name : {"A", "B", "C"}) list.Add(Record(name), kSql);
                      list.Delete_Config(list.GetAt(1, kSql), kSql);
                      const DbConfig stranger;
                      list.Delete_Config(&stranger, kSql);
                    }).out;
  out = std::regex_replace(out, std::regex("0x[0-9a-f]+"), "0x..");
  EXPECT_EQ(out,
            "Delete_Config: enter, num dbconfigs 3\nDelete_Config: deleting 'B'\n"
            "Delete_Config: exit, num dbconfigs 2\n"
            "Delete_Config: enter, num dbconfigs 2\nDelete_Config: exit, num dbconfigs 2\n"
            "~DbConfigList: Enter\n"
            "~DbConfigList: deleting DbConfig 'C'\n~DbConfigList: deleting DbConfig addr 0x..\n"
            "~DbConfigList: deleting DbConfig 'A'\n~DbConfigList: deleting DbConfig addr 0x..\n"
            "~DbConfigList: Exit\n");
}

// The listing a put traces shows no password.
TEST(DbConfigListTest, PrintedConfigsHideThePassword) {
  DbConfigList list;
  auto record = Record("INST1", 2);
  record->setPassword("{AES256:keyfile:a}xyz");
  list.Add(std::move(record), kSql);
  const std::string out = Capture([&] { list.PrintConfigs(kSql); }).out;
  EXPECT_NE(out.find("\tPassword '********'\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("xyz"), std::string::npos);
  list.SetConsole(0);
}

class InstanceFilesTest : public ConfigTestHome {
 protected:
  void SetUp() override {
    list_.SetConsole(0);
    list_.SetEtcDir("ORVAGT6_DIR");
  }
  [[nodiscard]] std::string Add(const std::string& name) const {
    return "Add=" + Etc() + "\\VSQMMA_" + name + ".ini\n";
  }
  // An instance file whose agent section carries the service number.
  void WriteNumbered(const std::string& name, int number) const {
    Write("VSQMMA_" + name + ".ini", "[VMAMSSQLAgent" + std::to_string(number) + "]\n");
  }
  // What the scan gave, a record a line.
  std::vector<std::string> Scanned() const {
    std::vector<std::string> lines;
    for (int i = 0; i < list_.GetCount(kSql); ++i) {
      const DbConfig* r = list_.GetAt(i, kSql);
      lines.push_back(r->getServerName() + "|" + r->getLoginName() + "|" + r->getClusterServer() +
                      "|" + r->getExtendedParams() + "|" + r->getWinAuthentication() + "|" +
                      std::to_string(r->getServerType()) + std::to_string(r->getConfigType()) +
                      "|" + std::to_string(r->getServiceNumber()) + "|" +
                      std::to_string(r->getTbldDailyFrequency()) + "|" +
                      (r->isRegistered() ? "registered" : "unregistered"));
    }
    return lines;
  }

  DbConfigList list_;
};

TEST_F(InstanceFilesTest, IncludeFileNamesExistingInstancesOnce) {
  std::vector<std::string> names;
  EXPECT_EQ(list_.GetPreConfigList(kSql, &names), 0);  // no include file: nothing
  for (const char* name : {"VSQMMA_INST1.ini", "VSQMMA_INST2.ini", "VSQMMA_INST3.ini", "OTHER.ini"})
    Write(name, "");
  const std::string last = Add("INST2");
  // An indented line does not begin with "A"; a missing file adds nothing; a
  // file without the stem is traced and adds nothing; the last line has no
  // line end.
  Write("vsqinc.ini", "[Include]\n" + Add("INST1") + Add("GONE") + "  " + Add("INST3") +
                          Add("INST1") + "Add=\n; comment\n" + std::string(400, 'A') + "\n" +
                          "Add=" + Etc() + "\\OTHER.ini\n" + last.substr(0, last.size() - 1));
  list_.SetConsole(1);
  const Captured got = Capture([&] { EXPECT_EQ(list_.GetPreConfigList(kSql, &names), 2); });
  list_.SetConsole(0);
  EXPECT_EQ(names, (std::vector<std::string>{"INST1", "INST2"}));
  EXPECT_NE(
      got.out.find("csTempName2: " + Etc() + "\\OTHER.ini\nGetPreConfigList: csServerName: \n"),
      std::string::npos)
      << got.out;
  EXPECT_EQ(list_.GetPreConfigList(ServerKind::kInformix, &names), 0);  // no include file
}

TEST_F(InstanceFilesTest, ScannedRecordsComeFromTheRegistryKeys) {
  WriteNumbered("INST1", 4);
  WriteNumbered("INST2", 6);
  WriteNumbered("INST3", 9);
  std::filesystem::create_directories(etc_ / "v6.1");
  Write("v6.1/VSQMMA_INST4.ini", "");
  // A dot before the stem gives no name, but the scan still finds the
  // registration under the name the file carries.
  Write("vsqinc.ini",
        Add("INST1") + Add("INST2") + Add("INST3") + "Add=" + Etc() + "\\v6.1\\VSQMMA_INST4.ini\n");
  ASSERT_TRUE(sqxa_test::LoadHost(
      kHost + kKey + "INST1\\Environment]\n\"COLL_CLUSTERSERVER\"=\"VSQL1\"\n" +
      "\"COLL_DBHOME\"=\"C:\\\\SQL\"\n\"COLL_DISABLE_CURSORS\"=\"Y\"\n\"COLL_LOGON\"=\"sa\"\n" +
      "\"COLL_PASSWORD\"=\"{AES256:keyfile:a}x\"\n\"COLL_SERVERID\"=\"INST1\"\n" +
      "\"COLL_TBLD_DAILY_FREQUENCY\"=\"3\"\n\"COLL_WINAUTHENTICATION\"=\"true\"\n" +
      "\"UNKNOWN_VALUE\"=\"x\"\n\n" + kKey +
      "INST2\\Environment]\n\"COLL_SERVERID\"=\"INST2\"\n\"COLL_SERVICENUMBER\"=\"2\"\n\n" + kKey +
      "INST4\\Environment]\n\"COLL_SERVERID\"=\"INST4\"\n\"COLL_LOGON\"=\"sa\"\n\n"));
  ASSERT_EQ(list_.ScanPreConfig(kSql), 0);
  // INST1's number comes from its file; INST2 carries over INST1's frequency;
  // INST3 has no key at all (its tool died before it registered): named after
  // its file, so that its number is read and its include line kept.
  EXPECT_EQ(Scanned(), (std::vector<std::string>{
                           "INST1|sa|VSQL1|Y|true|31|4|3|registered",
                           "INST2|||||31|2|3|registered",
                           "INST3|||||31|9|3|unregistered",
                           "INST4|sa||||31|-3|3|registered",
                       }));
}

// A list that is there but cannot be read must not pass for an empty one: the
// next regeneration of the include file would drop every instance it lists.
TEST_F(InstanceFilesTest, AnUnreadableListFailsTheScan) {
  WriteNumbered("INST1", 4);
  Write("vsqinc.ini", Add("INST1"));
  for (const char* unreadable : {"vsqinc.ini", "VSQMMA_INST1.ini"}) {
    SCOPED_TRACE(unreadable);
    static std::string failing;
    failing = unreadable;
    platform::FileSystemCalls calls = platform::SetFileSystemCallsForTesting(nullptr);
    static platform::FileSystemCalls real;
    real = calls;
    calls.open = [](const std::string& path, const char* mode, std::FILE** file) {
      return path.ends_with(failing) ? EIO : real.open(path, mode, file);
    };
    (void)platform::SetFileSystemCallsForTesting(&calls);
    EXPECT_EQ(list_.ScanPreConfig(kSql), EIO);
    (void)platform::SetFileSystemCallsForTesting(nullptr);
  }
}

TEST_F(InstanceFilesTest, ServiceNumbersComeFromTheAgentSection) {
  const struct {
    const char* name;
    std::string text;  // none: no file
    int number;
  } kCases[] = {
      {"A", "[Identity]\n;[VMAMSSQLAgent3]\n\n[VMAMSSQLAgent7]\nName=VSQAGENT7\n", 7},
      {"X", "[VMAMSSQLAgentX]\n", 0},
      {"LOWER", "[vmamssqlagent4]\n", -1},
      // A long line is one line, whatever part of it looks like a section.
      {"LONG", "Text=" + std::string(506, 'x') + "[VMAMSSQLAgent8]\n[VMAMSSQLAgent2]\n", 2},
      {"MISSING", "", -3},
  };
  for (const auto& c : kCases) {
    SCOPED_TRACE(c.name);
    if (!c.text.empty()) Write(std::string("VSQMMA_") + c.name + ".ini", c.text);
    DbConfig record;
    record.setServerName(c.name);
    EXPECT_EQ(list_.GetServiceNumber(kSql, record), c.number);
    EXPECT_EQ(list_.GetServiceNumber(ServerKind{5}, record), -2);
  }
}

TEST_F(InstanceFilesTest, TheLowestFreeServiceNumber) {
  const auto add = [&](const std::string& name, int number) {
    WriteNumbered(name, number);
    auto record = std::make_unique<DbConfig>();
    record->setServerName(name);
    record->setConfigType(kConfigScanned);
    list_.Add(std::move(record), kSql);
  };
  for (int i = 0; i < 50; ++i) {
    if (i != 2) add("I" + std::to_string(i), i);
  }
  EXPECT_EQ(list_.GetAvailServiceNumber(kSql), 2);
  add("I2", 2);
  EXPECT_EQ(list_.GetAvailServiceNumber(kSql), -10);  // all fifty taken
}

// The removal of an instance's files and registration, as the library offers
// it; the program's own remove is the end-to-end scenarios' business.
TEST_F(InstanceFilesTest, RemovalOfFilesAndRegistryKeys) {
  const char* const kFiles[] = {"VSQMMA_INST1.ini", "VSQMMA_INST2.ini", "MSMSQL_INST2.bat",
                                "VIXMMA_INST2.ini", "VSQMMA_B.ini"};
  for (const char* name : kFiles) Write(name, "x");
  ASSERT_TRUE(sqxa_test::LoadHost(kHost + kKey + "INST1\\Environment]\n\"A\"=\"1\"\n\n" + kKey +
                                  "INST1\\Deeper\\Still]\n\n" + kKey + "INST2\\Environment]\n\n" +
                                  kKey + "B\\Environment]\n\n"));
  discovery::DbServerList servers("");
  std::unique_ptr<discovery::DbServer> server = std::make_unique<discovery::DbServerSql>();
  server->setServerName("B");
  (void)servers.add(server, kSql);
  discovery::setDiscoveryVerbose(true);
  const Captured got = Capture([&] {
    RemoveInstanceFiles(kSql, Etc(), "INST1");
    RemoveInstanceFiles(kSql, Etc(), "INST2");
    RemoveInstanceFiles(ServerKind::kInformix, Etc(), "INST2");  // kind 4 removes nothing
    RemoveInstanceKey(kSql, "INST1", 3);
    RemoveDiscoveredInstanceFiles(servers, kSql, Etc());
    RemoveDiscoveredInstanceKeys(servers, kSql);
  });
  discovery::setDiscoveryVerbose(false);
  for (const char* name : kFiles)
    EXPECT_EQ(Exists(name), std::string(name) == "VIXMMA_INST2.ini") << name;
  // Services that do not exist count as deleted; without a service manager
  // the deletion fails.
  unsigned long error = 0;
  const std::string outcome =
      platform::ServiceManager::Connect(&error) != nullptr ? "Deleted" : "Fail to delete";
  const std::string stem = "Software\\Marlox\\VSQ\\610\\";
  for (const std::string& line :
       {"Finished removing " + Etc() + "\\VSQMMA_INST1.ini file\n\n",
        "[DBG] Deleting instance [" + stem + "INST1]\n\n",
        "[DBG] " + outcome + " service [VSQCOLL3]\n", "[DBG] " + outcome + " service [VSQAGENT3]\n",
        "[DBG] Deleting instance [" + stem + "B]\n", std::string("service [VSQAGENT49]\n")}) {
    EXPECT_NE(got.out.find(line), std::string::npos) << line << "\n--- output:\n" << got.out;
  }
  std::unique_ptr<platform::Registry> hive;
  ASSERT_EQ(platform::Registry::Connect("", &hive), platform::kRegSuccess);
  EXPECT_EQ(DeleteRegistryTree(hive.get(), stem + "INST2"), 1);  // left alone so far
  EXPECT_EQ(DeleteRegistryTree(hive.get(), stem + "INST1"), 0);  // gone
}

}  // namespace
}  // namespace config
