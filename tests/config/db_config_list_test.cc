// The list of configured instances, the include file its scan reads and the
// service numbers in the instance files.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <string>
#include <tuple>
#include <vector>

#include "common/host_registry.h"
#include "config/config_test_home.h"
#include "config/db_config_list.h"
#include "platform/files.h"
#include "support/capture.h"

namespace config {
namespace {

constexpr ServerKind kSql = ServerKind::kSqlServer;
const std::string kHost = "Windows Registry Editor Version 5.00\n\n";
const std::string kKey = "[HKEY_LOCAL_MACHINE\\Software\\Marlox\\VSQ\\610\\";

std::unique_ptr<DbConfig> Record(const std::string& name) {
  auto record = std::make_unique<DbConfig>();
  record->setServerName(name);
  return record;
}

// Names are trimmed; deletion keeps the order; the traces of deletion and
// destruction are exact, and the listing a put traces shows no password.
TEST(DbConfigListTest, NamesDeletionAndTraces) {
  std::string out = Capture([] {
                      DbConfigList list;
                      for (const char* name : {"A", "  INST1 \t", "C"})
                        list.Add(Record(name), kSql);
                      const DbConfig* listed = list.GetAt(1, kSql);
                      EXPECT_EQ(listed->getServerName(), "INST1");
                      list.Delete_Config(listed, kSql);
                      const DbConfig stranger;
                      list.Delete_Config(&stranger, kSql);
                      EXPECT_EQ(list.GetAt(2, kSql), nullptr);
                    }).out;
  EXPECT_EQ(std::regex_replace(out, std::regex("0x[0-9a-f]+"), "0x.."),
            "Delete_Config: enter, num dbconfigs 3\nDelete_Config: deleting 'INST1'\n"
            "Delete_Config: exit, num dbconfigs 2\n"
            "Delete_Config: enter, num dbconfigs 2\nDelete_Config: exit, num dbconfigs 2\n"
            "~DbConfigList: Enter\n"
            "~DbConfigList: deleting DbConfig 'C'\n~DbConfigList: deleting DbConfig addr 0x..\n"
            "~DbConfigList: deleting DbConfig 'A'\n~DbConfigList: deleting DbConfig addr 0x..\n"
            "~DbConfigList: Exit\n");
  DbConfigList list;
  auto record = Record("INST1");
  record->setPassword("{AES256:keyfile:a}xyz");
  list.Add(std::move(record), kSql);
  out = Capture([&] { list.PrintConfigs(kSql); }).out;
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
  // An indented line does not begin with "A"; a missing file, or one without
  // the stem (traced), adds nothing; the last line has no line end.
  Write("vsqinc.ini", "[Include]\n" + Add("INST1") + Add("GONE") + "  " + Add("INST3") +
                          Add("INST1") + "Add=\n; comment\n" + std::string(400, 'A') + "\n" +
                          "Add=" + Etc() + "\\OTHER.ini\n" + last.substr(0, last.size() - 1));
  list_.SetConsole(1);
  const Captured got = Capture([&] { EXPECT_EQ(list_.GetPreConfigList(kSql, &names), 2); });
  list_.SetConsole(0);
  EXPECT_EQ(names, (std::vector<std::string>{"INST1", "INST2"}));
  EXPECT_THAT(got.out, testing::HasSubstr("csTempName2: " + Etc() +
                                          "\\OTHER.ini\nGetPreConfigList: csServerName: \n"));
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
  // INST2 carries over INST1's frequency; INST3 has no key (its tool died before
  // it registered): named after its file, its number read, its line kept.
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

TEST_F(InstanceFilesTest, ServiceNumbersAndTheLowestFreeOne) {
  const std::tuple<const char*, std::string, int> kCases[] = {
      // text "": no file
      {"A", "[Identity]\n;[VMAMSSQLAgent3]\n\n[VMAMSSQLAgent7]\nName=VSQAGENT7\n", 7},
      {"X", "[VMAMSSQLAgentX]\n", 0},
      {"LOWER", "[vmamssqlagent4]\n", -1},
      // A long line is one line, whatever part of it looks like a section.
      {"LONG", "Text=" + std::string(506, 'x') + "[VMAMSSQLAgent8]\n[VMAMSSQLAgent2]\n", 2},
      {"MISSING", "", -3},
  };
  for (const auto& [name, text, number] : kCases) {
    if (!text.empty()) Write(std::string("VSQMMA_") + name + ".ini", text);
    DbConfig record;
    record.setServerName(name);
    EXPECT_EQ(list_.GetServiceNumber(kSql, record), number) << name;
    EXPECT_EQ(list_.GetServiceNumber(ServerKind{5}, record), -2);
  }
  // The lowest number no listed instance's file holds, up to fifty.
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

}  // namespace
}  // namespace config
