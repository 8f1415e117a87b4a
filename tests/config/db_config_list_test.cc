#include <gtest/gtest.h>

#include <memory>
#include <regex>
#include <string>

#include "config/db_config_list.h"
#include "support/capture.h"

namespace config {
namespace {

std::unique_ptr<DbConfig> Record(const std::string& name, int number = -1) {
  auto record = std::make_unique<DbConfig>();
  record->setServerName(name);
  record->setServerType(3);
  record->setServiceNumber(number);
  return record;
}

TEST(DbConfigTest, NamesAreTrimmedAndCopiesCompareByEveryField) {
  DbConfig named;
  named.setServerName("  INST1 \t");
  EXPECT_EQ(named.getServerName(), "INST1");
  DbConfig copy = named;
  EXPECT_EQ(copy.isEqual(named), 1);
  EXPECT_EQ(copy.compare(named), 0);
  copy.setServiceNumber(4);
  EXPECT_EQ(copy.isEqual(named), 0);
  EXPECT_EQ(copy.compare(named), -1);
}

TEST(DbConfigListTest, LookupsDifferInTheirCaseRules) {
  DbConfigList list;
  list.SetConsole(0);
  list.Add(Record("INST1", 2), ServerKind::kSqlServer);
  EXPECT_EQ(list.HasServer("inst1", ServerKind::kSqlServer), 1);
  EXPECT_EQ(list.HasServer("inst1", ServerKind::kOracle), 0);
  DbConfig wanted;
  wanted.setServerName("inst1");
  wanted.setServerType(3);
  wanted.setServiceNumber(2);
  EXPECT_EQ(list.FindConfig(wanted, ServerKind::kSqlServer), nullptr);
  wanted.setServerName("INST1");
  EXPECT_EQ(list.FindConfig(wanted, ServerKind::kSqlServer), list.GetAt(0, ServerKind::kSqlServer));
  EXPECT_EQ(list.FindByName("INST1", ServerKind::kSqlServer),
            list.GetAt(0, ServerKind::kSqlServer));
  EXPECT_EQ(list.FindByName("inst1", ServerKind::kSqlServer), nullptr);
  EXPECT_EQ(list.GetAt(-1, ServerKind::kSqlServer), nullptr);
  EXPECT_EQ(list.GetAt(1, ServerKind::kSqlServer), nullptr);
}

TEST(DbConfigListTest, DeletionKeepsTheOrderAndTraces) {
  DbConfigList list;
  list.Add(Record("A"), ServerKind::kSqlServer);
  list.Add(Record("B"), ServerKind::kSqlServer);
  list.Add(Record("C"), ServerKind::kSqlServer);
  const Captured got = Capture(
      [&] { list.Delete_Config(list.GetAt(1, ServerKind::kSqlServer), ServerKind::kSqlServer); });
  EXPECT_EQ(got.out,
            "Delete_Config: enter, num dbconfigs 3\nDelete_Config: deleting 'B'\n"
            "Delete_Config: exit, num dbconfigs 2\n");
  ASSERT_EQ(list.GetCount(ServerKind::kSqlServer), 2);
  EXPECT_EQ(list.GetAt(0, ServerKind::kSqlServer)->getServerName(), "A");
  EXPECT_EQ(list.GetAt(1, ServerKind::kSqlServer)->getServerName(), "C");

  const DbConfig stranger;
  EXPECT_EQ(Capture([&] { list.Delete_Config(&stranger, ServerKind::kSqlServer); }).out,
            "Delete_Config: enter, num dbconfigs 2\nDelete_Config: exit, num dbconfigs 2\n");
}

TEST(DbConfigListTest, DestructionTracesLastRecordFirstAndEndsOnTheConsole) {
  const Captured got = Capture([] {
    DbConfigList list;
    list.Add(Record("FIRST"), ServerKind::kSqlServer);
    list.Add(Record("SECOND"), ServerKind::kSqlServer);
  });
  EXPECT_TRUE(
      std::regex_match(got.out, std::regex("~DbConfigList: Enter\n"
                                           "~DbConfigList: deleting DbConfig 'SECOND'\n"
                                           "~DbConfigList: deleting DbConfig addr 0x[0-9a-f]+\n"
                                           "~DbConfigList: deleting DbConfig 'FIRST'\n"
                                           "~DbConfigList: deleting DbConfig addr 0x[0-9a-f]+\n"
                                           "~DbConfigList: Exit\n")))
      << got.out;
}

// The listing a put traces shows no password.
TEST(DbConfigListTest, PrintedConfigsHideThePassword) {
  DbConfigList list;
  auto record = Record("INST1", 2);
  record->setPassword("{AES256:keyfile:a}xyz");
  list.Add(std::move(record), ServerKind::kSqlServer);
  const std::string out = Capture([&] { list.PrintConfigs(ServerKind::kSqlServer); }).out;
  EXPECT_NE(out.find("\tPassword '********'\n"), std::string::npos) << out;
  EXPECT_EQ(out.find("xyz"), std::string::npos);
  list.SetConsole(0);
}

}  // namespace
}  // namespace config
