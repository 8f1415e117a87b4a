#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "config/config_test_home.h"
#include "config/db_config_list.h"

namespace config {
namespace {

class ServiceNumbersTest : public ConfigTestHome {
 protected:
  void SetUp() override {
    list_.SetConsole(0);
    list_.SetEtcDir("ORVAGT6_DIR");
  }
  void Add(const std::string& name, int number) {
    Write("VSQMMA_" + name + ".ini", "[VMAMSSQLAgent" + std::to_string(number) + "]\n");
    auto record = std::make_unique<DbConfig>();
    record->setServerName(name);
    record->setConfigType(kConfigScanned);
    list_.Add(std::move(record), ServerKind::kSqlServer);
  }
  DbConfigList list_;
};

TEST_F(ServiceNumbersTest, ReadFromTheAgentSectionOfTheInstanceFile) {
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
    EXPECT_EQ(list_.GetServiceNumber(ServerKind::kSqlServer, record), c.number);
    EXPECT_EQ(list_.GetServiceNumber(ServerKind{5}, record), -2);
  }
}

TEST_F(ServiceNumbersTest, TheLowestFreeNumberFromTheFiles) {
  Add("A", 0);
  Add("B", 1);
  Add("C", 3);
  EXPECT_EQ(list_.GetAvailServiceNumber(ServerKind::kSqlServer), 2);
  EXPECT_EQ(list_.GetAvailServiceNumber(ServerKind{9}), -1);
  // A listed instance whose file is gone: its number is unknown.
  auto record = std::make_unique<DbConfig>();
  record->setServerName("NOFILE");
  record->setConfigType(kConfigScanned);
  list_.Add(std::move(record), ServerKind::kSqlServer);
  EXPECT_EQ(list_.GetAvailServiceNumber(ServerKind::kSqlServer), -3);
}

TEST_F(ServiceNumbersTest, AllFiftyTaken) {
  for (int i = 0; i < 50; ++i) Add("I" + std::to_string(i), i);
  EXPECT_EQ(list_.GetAvailServiceNumber(ServerKind::kSqlServer), -10);
}

}  // namespace
}  // namespace config
