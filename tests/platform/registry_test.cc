// The behaviour of the registry seam, the same on both backends: the file-backed
// registry natively, the Win32 registry under Wine. The fixture's keys lie
// under Software\SqXaTest, apart from those of a real machine.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "common/host_registry.h"

namespace {

using namespace platform;
using namespace std::string_literals;
using Values = std::vector<std::tuple<std::string, uint32_t, std::string>>;
using Names = std::vector<std::string>;

const std::string kInstances = "Software\\SqXaTest\\Instances";
const std::string kAlpha = kInstances + "\\Alpha", kGamma = kInstances + "\\Gamma";

// Values in name order: the Win32 registry does not keep the order of writing.
Values Sorted(Values values) {
  std::sort(values.begin(), values.end());
  return values;
}

class RegistryTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::ostringstream text;
    text << std::ifstream(SQXA_FIXTURE_DIR "/registry/basic.reg", std::ios::binary).rdbuf();
    ASSERT_TRUE(sqxa_test::LoadHost(text.str()));
    ASSERT_EQ(Registry::Connect("", &hive_), kRegSuccess);
  }
  std::unique_ptr<RegistryKey> Open(const std::string& path, uint32_t access = kKeyRead) {
    std::unique_ptr<RegistryKey> key;
    EXPECT_EQ(hive_->OpenKey(path, access, &key), kRegSuccess) << path;
    return key;
  }
  // The key's values, or its subkeys' names, in enumeration order.
  Values ValuesOf(const std::string& path) {
    Values values;
    RegValue value;
    auto key = Open(path);
    while (key && key->EnumValue(values.size(), &value) == kRegSuccess)
      values.emplace_back(value.name, value.type, value.data);
    return values;
  }
  Names SubKeysOf(const std::string& path) {
    Names names;
    std::string name;
    auto key = Open(path, kKeyEnumerateSubKeys);
    while (key && key->EnumSubKey(names.size(), &name) == kRegSuccess) names.push_back(name);
    return names;
  }
  std::string Data(RegistryKey& key, const std::string& name) {
    RegValue value;
    const long status = key.QueryValue(name, &value);
    return status == kRegSuccess ? value.data : "status " + std::to_string(status);
  }
  std::unique_ptr<Registry> hive_;
};

TEST_F(RegistryTest, ReadsValuesInTextFormIgnoringCaseAndHonoursAccess) {
  const Values alpha = {{"", kRegSz, "default text"},
                        {"Binary", kRegBinary, "\x01\x02\xff"},
                        {"Count", kRegDword, "42"},
                        {"Expand", kRegExpandSz, "%HOME%\\bin"},
                        {"Home", kRegSz, "C:\\Program Files\\Alpha"},
                        {"Multi", kRegMultiSz, "one\0two\0"s},
                        {"Quoted", kRegSz, "say \"hi\""},
                        {"Size", kRegQword, "4294967296"}};
  EXPECT_EQ(ValuesOf(kAlpha), alpha);
  EXPECT_EQ(SubKeysOf(kInstances), (Names{"Alpha", "Beta", "Gamma"}));

  auto key = Open("SOFTWARE\\sqxatest\\INSTANCES\\alpha", kKeyRead | kKeyWow64_64Key);
  ASSERT_TRUE(key);
  EXPECT_EQ(Data(*key, "hOmE"), "C:\\Program Files\\Alpha");
  EXPECT_EQ(Data(*key, "Missing"), "status 2");
  RegValue value;
  EXPECT_EQ(key->EnumValue(100, &value), kRegNoMoreItems);
  EXPECT_EQ(key->SetValue("Home", kRegSz, "E:\\"), kRegAccessDenied);
  EXPECT_EQ(key->DeleteValue("Home"), kRegAccessDenied);
  EXPECT_EQ(Open(kInstances, kKeyEnumerateSubKeys)->EnumValue(0, &value), kRegAccessDenied);
  for (const std::string& missing : {kInstances + "\\Delta", kAlpha + "\\Sub"})
    EXPECT_EQ(hive_->OpenKey(missing, kKeyRead, &key), kRegFileNotFound) << missing;
  EXPECT_EQ(hive_->DeleteKey(kInstances + "\\Delta", 0), kRegFileNotFound);
}

TEST_F(RegistryTest, WrittenValuesReadBackInTextForm) {
  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(hive_->CreateKey(kInstances + "\\Delta\\Deep", kKeyAllAccess, &key), kRegSuccess);
  EXPECT_EQ(SubKeysOf(kInstances + "\\Delta"), Names{"Deep"});
  ASSERT_EQ(hive_->CreateKey(kInstances + "\\beta", kKeyAllAccess, &key), kRegSuccess);
  EXPECT_EQ(Data(*key, "Home"), "D:\\Beta");  // an existing key opens

  const Values written = {
      {"Home", kRegSz, "a \"quoted\" C:\\path"}, {"Expand", kRegExpandSz, "%SystemRoot%\\x"},
      {"DwordMax", kRegDword, "4294967295"},     {"QwordMax", kRegQword, "18446744073709551615"},
      {"Multi", kRegMultiSz, "x\0yz\0"s},        {"Raw", kRegBinary, "\0\x01\xfe"s}};
  ASSERT_EQ(key->SetValue("Home", kRegSz, "replaced below"), kRegSuccess);
  for (const auto& [name, type, data] : written)
    ASSERT_EQ(key->SetValue(name, type, data), kRegSuccess) << name;
  // Numbers are decimal and in range; leading zeros go.
  const std::pair<uint32_t, const char*> bad_numbers[] = {
      {kRegDword, "0x10"}, {kRegDword, "4294967296"}, {kRegQword, "-1"}};
  for (const auto& [type, bad] : bad_numbers)
    EXPECT_EQ(key->SetValue("Count", type, bad), kRegInvalidParameter) << bad;
  ASSERT_EQ(key->SetValue("Count", kRegDword, "007"), kRegSuccess);
  Values expected = written;
  expected.emplace_back("Count", kRegDword, "7");
  EXPECT_EQ(Sorted(ValuesOf(kInstances + "\\Beta")), Sorted(expected));

  EXPECT_EQ(key->DeleteValue("HOME"), kRegSuccess);
  EXPECT_EQ(key->DeleteValue("Home"), kRegFileNotFound);
  EXPECT_EQ(Data(*Open(kInstances + "\\Beta"), "Home"), "status 2");
}

// A later value of a name wins; values not listed go; subkeys stay; a new key
// comes with its parents; a value that does not fit its type changes nothing.
// A key with subkeys cannot be deleted.
TEST_F(RegistryTest, ReplaceValuesSetsTheWholeKeyDeleteKeyOnlyALeaf) {
  ASSERT_EQ(hive_->ReplaceValues(kGamma, {{"A", kRegSz, "1"}, {"B", kRegSz, "2"}}), kRegSuccess);
  ASSERT_EQ(hive_->ReplaceValues(
                kGamma, {{"B", kRegSz, "old"}, {"C", kRegDword, "3"}, {"b", kRegSz, "new"}}),
            kRegSuccess);
  EXPECT_EQ(Sorted(ValuesOf(kGamma)), (Values{{"B", kRegSz, "new"}, {"C", kRegDword, "3"}}));
  EXPECT_EQ(SubKeysOf(kGamma), Names{"Sub"});

  const std::string fresh = kInstances + "\\New\\Environment";
  ASSERT_EQ(hive_->ReplaceValues(fresh, {{"X", kRegSz, ""}}), kRegSuccess);
  EXPECT_EQ(ValuesOf(fresh), (Values{{"X", kRegSz, ""}}));
  EXPECT_EQ(hive_->ReplaceValues(kAlpha, {{"Home", kRegSz, "x"}, {"Count", kRegDword, "-1"}}),
            kRegInvalidParameter);
  EXPECT_EQ(ValuesOf(kAlpha).size(), 8u);

  EXPECT_EQ(hive_->DeleteKey(kGamma, kKeyWow64_64Key), kRegAccessDenied);
  EXPECT_EQ(hive_->DeleteKey(kGamma + "\\SUB", kKeyWow64_64Key), kRegSuccess);
  EXPECT_EQ(hive_->DeleteKey(kGamma, kKeyWow64_64Key), kRegSuccess);
  EXPECT_EQ(SubKeysOf(kInstances), (Names{"Alpha", "Beta", "New"}));
}

}  // namespace
