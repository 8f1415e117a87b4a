// The behaviour of the registry seam, the same on both backends: the file-backed
// registry natively, the Win32 registry under Wine.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <tuple>
#include <vector>

#include "platform/registry_fixture.h"

namespace {

using namespace platform;
using namespace std::string_literals;

const std::string kInstances = std::string(sqxa_test::kRegistryTestRoot) + "\\Instances";
const std::string kAlpha = kInstances + "\\Alpha";

std::tuple<std::string, uint32_t, std::string> Tuple(const RegValue& value) {
  return {value.name, value.type, value.data};
}

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_TRUE(sqxa_test::LoadRegistryFixture("basic.reg"));
    ASSERT_EQ(Registry::Connect("", &hive_), kRegSuccess);
  }

  std::unique_ptr<RegistryKey> Open(const std::string& path, uint32_t access = kKeyRead) {
    std::unique_ptr<RegistryKey> key;
    EXPECT_EQ(hive_->OpenKey(path, access, &key), kRegSuccess) << path;
    return key;
  }

  static std::vector<std::tuple<std::string, uint32_t, std::string>> Values(RegistryKey* key) {
    std::vector<std::tuple<std::string, uint32_t, std::string>> values;
    RegValue value;
    long status;
    while ((status = key->EnumValue(static_cast<uint32_t>(values.size()), &value)) == kRegSuccess) {
      values.push_back(Tuple(value));
    }
    EXPECT_EQ(status, kRegNoMoreItems);
    return values;
  }

  static std::vector<std::string> SubKeys(RegistryKey* key) {
    std::vector<std::string> names;
    std::string name;
    long status;
    while ((status = key->EnumSubKey(static_cast<uint32_t>(names.size()), &name)) == kRegSuccess) {
      names.push_back(name);
    }
    EXPECT_EQ(status, kRegNoMoreItems);
    return names;
  }

  std::unique_ptr<Registry> hive_;
};

TEST_F(RegistryTest, EnumeratesValuesInTextForm) {
  auto key = Open(kAlpha);
  ASSERT_TRUE(key);
  const std::vector<std::tuple<std::string, uint32_t, std::string>> expected = {
      {"", kRegSz, "default text"},
      {"Binary", kRegBinary, "\x01\x02\xff"},
      {"Count", kRegDword, "42"},
      {"Expand", kRegExpandSz, "%HOME%\\bin"},
      {"Home", kRegSz, "C:\\Program Files\\Alpha"},
      {"Multi", kRegMultiSz, "one\0two\0"s},
      {"Quoted", kRegSz, "say \"hi\""},
      {"Size", kRegQword, "4294967296"},
  };
  EXPECT_EQ(Values(key.get()), expected);
  RegValue value;
  EXPECT_EQ(key->EnumValue(100, &value), kRegNoMoreItems);
}

TEST_F(RegistryTest, PathsAndValueNamesIgnoreCaseMissingOnesAreFileNotFound) {
  auto key = Open("SOFTWARE\\sqxatest\\INSTANCES\\alpha");
  ASSERT_TRUE(key);
  RegValue value;
  ASSERT_EQ(key->QueryValue("hOmE", &value), kRegSuccess);
  EXPECT_EQ(value.data, "C:\\Program Files\\Alpha");
  EXPECT_EQ(key->QueryValue("", &value), kRegSuccess);
  EXPECT_EQ(value.data, "default text");
  EXPECT_EQ(key->QueryValue("Missing", &value), kRegFileNotFound);
  EXPECT_EQ(hive_->OpenKey(kInstances + "\\Delta", kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(hive_->OpenKey(kAlpha + "\\Sub", kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(hive_->DeleteKey(kInstances + "\\Delta", 0), kRegFileNotFound);
}

TEST_F(RegistryTest, AccessOptionsAreHonoured) {
  auto key = Open(kAlpha, kKeyRead | kKeyWow64_64Key);
  ASSERT_TRUE(key);
  EXPECT_EQ(key->SetValue("Home", kRegSz, "E:\\"), kRegAccessDenied);
  EXPECT_EQ(key->DeleteValue("Home"), kRegAccessDenied);

  auto enumerate_only = Open(kInstances, kKeyEnumerateSubKeys);
  ASSERT_TRUE(enumerate_only);
  RegValue value;
  EXPECT_EQ(enumerate_only->EnumValue(0, &value), kRegAccessDenied);
  EXPECT_EQ(SubKeys(enumerate_only.get()).size(), 3u);
}

TEST_F(RegistryTest, CreateKeyMakesParentsAndOpensExistingKeys) {
  std::unique_ptr<RegistryKey> created;
  ASSERT_EQ(hive_->CreateKey(kInstances + "\\Delta\\Deep", kKeyAllAccess, &created), kRegSuccess);
  EXPECT_TRUE(Values(created.get()).empty());
  auto delta = Open(kInstances + "\\Delta");
  ASSERT_TRUE(delta);
  EXPECT_EQ(SubKeys(delta.get()), std::vector<std::string>{"Deep"});

  std::unique_ptr<RegistryKey> existing;
  ASSERT_EQ(hive_->CreateKey(kInstances + "\\beta", kKeyAllAccess, &existing), kRegSuccess);
  RegValue value;
  ASSERT_EQ(existing->QueryValue("Home", &value), kRegSuccess);
  EXPECT_EQ(value.data, "D:\\Beta");
}

TEST_F(RegistryTest, SetValuesReadBackInTextForm) {
  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(hive_->CreateKey(kInstances + "\\Delta", kKeyAllAccess, &key), kRegSuccess);
  const std::vector<RegValue> written = {
      {"Text", kRegSz, "a \"quoted\" C:\\path"}, {"Expand", kRegExpandSz, "%SystemRoot%\\x"},
      {"DwordMax", kRegDword, "4294967295"},     {"QwordMax", kRegQword, "18446744073709551615"},
      {"Multi", kRegMultiSz, "x\0yz\0"s},        {"Raw", kRegBinary, "\0\x01\xfe"s},
  };
  for (const RegValue& value : written) {
    ASSERT_EQ(key->SetValue(value.name, value.type, value.data), kRegSuccess) << value.name;
  }
  ASSERT_EQ(key->SetValue("Text", kRegSz, "replaced"), kRegSuccess);
  key.reset();

  auto reopened = Open(kInstances + "\\Delta");
  ASSERT_TRUE(reopened);
  EXPECT_EQ(Values(reopened.get()).size(), written.size());
  for (RegValue expected : written) {
    if (expected.name == "Text") expected.data = "replaced";
    RegValue value;
    ASSERT_EQ(reopened->QueryValue(expected.name, &value), kRegSuccess) << expected.name;
    EXPECT_EQ(Tuple(value), Tuple(expected));
  }
}

TEST_F(RegistryTest, NumbersMustBeDecimalInRangeAndValuesDelete) {
  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(hive_->CreateKey(kAlpha, kKeyAllAccess, &key), kRegSuccess);
  EXPECT_EQ(key->SetValue("Count", kRegDword, "0x10"), kRegInvalidParameter);
  EXPECT_EQ(key->SetValue("Count", kRegDword, "4294967296"), kRegInvalidParameter);
  EXPECT_EQ(key->SetValue("Size", kRegQword, "-1"), kRegInvalidParameter);
  EXPECT_EQ(key->SetValue("Count", kRegDword, "007"), kRegSuccess);
  RegValue value;
  ASSERT_EQ(Open(kAlpha)->QueryValue("Count", &value), kRegSuccess);
  EXPECT_EQ(value.data, "7");

  EXPECT_EQ(key->DeleteValue("HOME"), kRegSuccess);
  EXPECT_EQ(key->DeleteValue("Home"), kRegFileNotFound);
  EXPECT_EQ(key->QueryValue("Home", &value), kRegFileNotFound);
  EXPECT_EQ(Open(kAlpha)->QueryValue("Home", &value), kRegFileNotFound);
  EXPECT_EQ(Values(Open(kAlpha).get()).size(), 7u);
}

TEST_F(RegistryTest, DeleteKeyRefusesKeysWithSubkeys) {
  const std::string gamma = kInstances + "\\Gamma";
  EXPECT_EQ(hive_->DeleteKey(gamma, kKeyWow64_64Key), kRegAccessDenied);
  EXPECT_EQ(hive_->DeleteKey(gamma + "\\SUB", kKeyWow64_64Key), kRegSuccess);
  EXPECT_EQ(hive_->DeleteKey(gamma, kKeyWow64_64Key), kRegSuccess);
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(hive_->OpenKey(gamma, kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(SubKeys(Open(kInstances).get()), (std::vector<std::string>{"Alpha", "Beta"}));
}

}  // namespace

TEST_F(RegistryTest, ReplaceValuesSetsTheWholeKeyAndKeepsSubkeys) {
  const std::string gamma = kInstances + "\\Gamma";
  ASSERT_EQ(hive_->ReplaceValues(gamma, {{"A", kRegSz, "1"}, {"B", kRegSz, "2"}}), kRegSuccess);
  // A later value of a name wins; values not listed go; the subkey stays.
  ASSERT_EQ(hive_->ReplaceValues(
                gamma, {{"B", kRegSz, "old"}, {"C", kRegDword, "3"}, {"b", kRegSz, "new"}}),
            kRegSuccess);
  auto key = Open(gamma);
  ASSERT_TRUE(key);
  const auto values = Values(key.get());
  ASSERT_EQ(values.size(), 2u);
  RegValue value;
  ASSERT_EQ(key->QueryValue("B", &value), kRegSuccess);
  EXPECT_EQ(value.data, "new");
  ASSERT_EQ(key->QueryValue("C", &value), kRegSuccess);
  EXPECT_EQ(Tuple(value), Tuple({"C", kRegDword, "3"}));
  EXPECT_EQ(key->QueryValue("A", &value), kRegFileNotFound);
  EXPECT_EQ(SubKeys(key.get()), (std::vector<std::string>{"Sub"}));

  // A new key with its parents; a value that does not fit its type changes nothing.
  ASSERT_EQ(hive_->ReplaceValues(kInstances + "\\New\\Environment", {{"X", kRegSz, ""}}),
            kRegSuccess);
  EXPECT_EQ(Values(Open(kInstances + "\\New\\Environment").get()).size(), 1u);
  EXPECT_EQ(hive_->ReplaceValues(kAlpha, {{"Home", kRegSz, "x"}, {"Count", kRegDword, "-1"}}),
            kRegInvalidParameter);
  EXPECT_EQ(Values(Open(kAlpha).get()).size(), 8u);
}
