#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "config/config_test_home.h"
#include "config/db_config_list.h"
#include "support/capture.h"

namespace config {
namespace {

class ServiceNumbersTest : public ConfigTestHome {
 protected:
  void SetUp() override {
    ConfigTestHome::SetUp();
    list_ = std::make_unique<DbConfigList>();
    list_->SetConsole(0);
    list_->SetEtcDir("ORVAGT6_DIR");
  }
  void TearDown() override {
    list_.reset();
    ConfigTestHome::TearDown();
  }
  DbConfig* Add(const std::string& name, int number, int type) {
    auto record = std::make_unique<DbConfig>();
    record->setServerName(name);
    record->setServiceNumber(number);
    record->setConfigType(type);
    DbConfig* added = record.get();
    list_->Add(std::move(record), ServerKind::kSqlServer);
    return added;
  }
  void Instance(const std::string& name, const std::string& text) {
    Write("VSQMMA_" + name + ".ini", text);
  }
  std::unique_ptr<DbConfigList> list_;
};

TEST_F(ServiceNumbersTest, ReadFromTheAgentSectionOfTheInstanceFile) {
  Instance("A", "[Identity]\n;[VMAMSSQLAgent3]\n\n[VMAMSSQLAgent7]\nName=VSQAGENT7\n");
  Instance("X", "[VMAMSSQLAgentX]\n");
  Instance("LOWER", "[vmamssqlagent4]\n");
  // A long line is one line, whatever part of it looks like a section.
  Instance("LONG", "Text=" + std::string(506, 'x') + "[VMAMSSQLAgent8]\n[VMAMSSQLAgent2]\n");
  DbConfig a;
  a.setServerName("A");
  EXPECT_EQ(list_->GetServiceNumber(ServerKind::kSqlServer, a), 7);
  a.setServerName("X");
  EXPECT_EQ(list_->GetServiceNumber(ServerKind::kSqlServer, a), 0);
  a.setServerName("LOWER");
  EXPECT_EQ(list_->GetServiceNumber(ServerKind::kSqlServer, a), -1);
  a.setServerName("LONG");
  EXPECT_EQ(list_->GetServiceNumber(ServerKind::kSqlServer, a), 2);
  a.setServerName("MISSING");
  EXPECT_EQ(list_->GetServiceNumber(ServerKind::kSqlServer, a), -3);
  EXPECT_EQ(list_->GetServiceNumber(ServerKind{5}, a), -2);
}

TEST_F(ServiceNumbersTest, TheLowestFreeNumberFromTheFiles) {
  for (const auto& [name, number] : {std::pair{"A", 0}, {"B", 1}, {"C", 3}}) {
    Instance(name, "[VMAMSSQLAgent" + std::to_string(number) + "]\n");
    Add(name, -1, kConfigScanned);
  }
  list_->SetConsole(1);
  const Captured got =
      Capture([&] { EXPECT_EQ(list_->GetAvailServiceNumber(ServerKind::kSqlServer), 2); });
  EXPECT_NE(got.out.find("GetAvailServiceNumber: Setting service number 3 as unavailable\n"),
            std::string::npos);
  EXPECT_NE(got.out.find("GetAvailServiceNumber: Service number 2 is available\n"
                         "GetAvailServiceNumber: exit, availnum=2\n"),
            std::string::npos);
  list_->SetConsole(0);

  Add("NOFILE", -1, kConfigScanned);
  EXPECT_EQ(list_->GetAvailServiceNumber(ServerKind::kSqlServer), -3);
  EXPECT_EQ(list_->GetAvailServiceNumber(ServerKind{9}), -1);
}

TEST_F(ServiceNumbersTest, AllFiftyTaken) {
  for (int i = 0; i < 50; ++i) {
    const std::string name = "I" + std::to_string(i);
    Instance(name, "[VMAMSSQLAgent" + std::to_string(i) + "]\n");
    Add(name, i, kConfigScanned);
  }
  list_->SetConsole(1);
  const Captured got =
      Capture([&] { EXPECT_EQ(list_->GetAvailServiceNumber(ServerKind::kSqlServer), -10); });
  EXPECT_NE(got.out.find("GetAvailServiceNumber: Maximum instances (50) are already configured\n"
                         "GetAvailServiceNumber: exit, availnum=-10\n"),
            std::string::npos);
  list_->SetConsole(0);
}

TEST_F(ServiceNumbersTest, ByConfigTypeTrustsTheRecords) {
  DbConfig* first_new = Add("NEW1", -1, kConfigNew);
  DbConfig* scanned = Add("OLD", 0, kConfigScanned);
  DbConfig* lost = Add("LOST", -1, kConfigScanned);
  DbConfig* second_new = Add("NEW2", 5, kConfigNew);
  list_->SetConsole(1);
  const Captured got = Capture(
      [&] { EXPECT_EQ(list_->GetAvailServiceNumberbyConfigType(ServerKind::kSqlServer, 0), 0); });
  list_->SetConsole(0);
  EXPECT_EQ(scanned->getServiceNumber(), 0);
  EXPECT_EQ(first_new->getServiceNumber(), 1);
  EXPECT_EQ(lost->getConfigType(), kConfigNew);
  EXPECT_EQ(lost->getServiceNumber(), 2);
  EXPECT_EQ(second_new->getServiceNumber(), 3);  // a stored number is not looked at
  EXPECT_NE(got.out.find("MODIFY: change CONFIG TYPE [LOST] to 'CONFIG_NEW'\n"), std::string::npos);
  EXPECT_NE(got.out.find("Assigned ServiceNumber[1] : Server [NEW1] \n"), std::string::npos);
  EXPECT_EQ(list_->GetAvailServiceNumberbyConfigType(ServerKind::kInformix, 0), 0);
  EXPECT_EQ(list_->GetAvailServiceNumberbyConfigType(ServerKind::kNone, 0), -1);
}

}  // namespace
}  // namespace config
