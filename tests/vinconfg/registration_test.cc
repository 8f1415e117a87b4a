// Registration against the registry of the build: a registry file natively,
// the prefix's registry under Wine. The tests use a product code of their own
// and take its keys away again.
#include "registration.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace {

using namespace platform;
using sqxa_test::ScopedEnv;

constexpr char kProduct[] = "VZT";  // no product of the agent has this code
const std::string kProductKey = std::string("Software\\Marlox\\") + kProduct;

std::string InstanceFileText(const std::string& task, const std::string& extra) {
  return "[Identity]\r\nMarProd=VZT\r\nMarVers=610\r\nMarTask=" + task +
         "\r\n\r\n[Local Settings]\r\n"
         "COLL_SERVERID=@INSTANCENAME@\r\n"
         "COLL_PORT =@PORTNUMBER@\r\n"
         "MTIRA_HIST_DIR=@LogPath@\\History\\@MarProd@\\@MarTask@\r\n"
         "KDC_FAMILIES=@Protocol@\r\n"
         "COLL_TRACE=LOW\r\n" +
         extra;
}

class RegistrationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // The file-backed registry lives in the scratch directory; the Windows
    // registry does not look at the path.
    UseRegistryFile(dir_.File("registry.reg"));
    ASSERT_EQ(Registry::Connect("", &hive_), kRegSuccess);
    Clean();
  }
  void TearDown() override { Clean(); }

  void Clean() {
    (void)vinconfg::UnregisterInstance(kProduct, "INST1");
    (void)vinconfg::UnregisterInstance(kProduct, "INST2");
    (void)vinconfg::UnregisterInstance(kProduct, "");
    (void)hive_->DeleteKey(kProductKey + "\\610", 0);
    (void)hive_->DeleteKey(kProductKey + "\\620", 0);
    (void)hive_->DeleteKey(kProductKey, 0);
  }

  std::string WriteFile(const std::string& name, const std::string& text) {
    const std::string path = dir_.File(name);
    EXPECT_EQ(ReplaceFileContents(path, text), 0);
    return path;
  }

  // The values of the key, or nullopt-like "missing" marker when it is absent.
  std::map<std::string, std::string> Values(const std::string& path, bool* exists = nullptr) {
    std::map<std::string, std::string> values;
    std::unique_ptr<RegistryKey> key;
    const bool found = hive_->OpenKey(kProductKey + "\\" + path, kKeyRead, &key) == kRegSuccess;
    if (exists != nullptr) *exists = found;
    RegValue value;
    for (uint32_t i = 0; found && key->EnumValue(i, &value) == kRegSuccess; ++i) {
      EXPECT_EQ(value.type, kRegSz) << value.name;
      values[value.name] = value.data;
    }
    return values;
  }

  sqxa_test::ScratchDir dir_;
  std::optional<ScopedEnv> home_{std::in_place, "MARLOX_HOME", dir_.File("home") + PathSeparator()};
  ScopedEnv port_{"PORTNUMBER", "1920"};
  ScopedEnv computer_{"COMPUTERNAME", "HOST1"};
  std::unique_ptr<Registry> hive_;
};

TEST_F(RegistrationTest, LocalSettingsThenOverridesBecomeTheEnvironmentKey) {
  const std::string ini = WriteFile(
      "VSQMMA_INST1.ini",
      InstanceFileText("INST1",
                       "\r\n[Services]\r\nAdd=NotASetting\r\n"
                       "[Local Settings]\r\nKDC_DEBUG=N\r\nCOLL_TRACE=ERROR\r\n"
                       "[Override Local Settings]\r\ncoll_trace=ALL\r\nEXTRA=@MarVers@\r\n"));
  ASSERT_EQ(vinconfg::RegisterInstance(ini, "INST1"), vinconfg::kDone);
  const std::string logs = dir_.File("home") + PathSeparator() + "ORVAGT6_x64\\logs";
  EXPECT_EQ(Values("610\\INST1\\Environment"),
            (std::map<std::string, std::string>{
                {"COLL_SERVERID", "INST1"},
                {"COLL_PORT", "1920"},
                {"MTIRA_HIST_DIR", logs + "\\History\\VZT\\INST1"},
                {"KDC_FAMILIES", "@Protocol@"},
                {"COLL_TRACE", "ALL"},
                {"KDC_DEBUG", "N"},
                {"EXTRA", "610"},
            }));

  // Registering again replaces what the key held; other instances stay.
  const std::string second = WriteFile("VSQMMA_INST2.ini", InstanceFileText("INST2", ""));
  ASSERT_EQ(vinconfg::RegisterInstance(second, "INST2"), vinconfg::kDone);
  ASSERT_EQ(
      vinconfg::RegisterInstance(WriteFile("VSQMMA_INST1.ini", InstanceFileText("X", "")), "INST1"),
      vinconfg::kDone);
  const auto values = Values("610\\INST1\\Environment");
  EXPECT_EQ(values.size(), 5u);
  EXPECT_EQ(values.count("KDC_DEBUG"), 0u);
  EXPECT_EQ(values.at("MTIRA_HIST_DIR"), logs + "\\History\\VZT\\X");
  EXPECT_EQ(Values("610\\INST2\\Environment").at("COLL_SERVERID"), "INST2");
}

TEST_F(RegistrationTest, RefusesFilesItCannotUse) {
  EXPECT_EQ(vinconfg::RegisterInstance(dir_.File("missing.ini"), "INST1"),
            vinconfg::kBadInstanceFile);
  const std::string anonymous =
      WriteFile("anonymous.ini", "[Identity]\nMarProd=VZT\n[Local Settings]\nA=1\n");
  EXPECT_EQ(vinconfg::RegisterInstance(anonymous, "INST1"), vinconfg::kBadInstanceFile);
  bool exists = true;
  (void)Values("", &exists);
  EXPECT_FALSE(exists);

  home_.emplace("MARLOX_HOME", std::nullopt);
  EXPECT_EQ(vinconfg::RegisterInstance(WriteFile("x.ini", InstanceFileText("INST1", "")), "INST1"),
            vinconfg::kNoHome);
}

TEST_F(RegistrationTest, UnregisteringRemovesTheInstanceUnderEveryVersion) {
  for (const char* task : {"INST1", "INST2", ""}) {
    const std::string ini =
        WriteFile("VSQMMA_" + std::string(task) + ".ini", InstanceFileText(task, ""));
    ASSERT_EQ(vinconfg::RegisterInstance(ini, task), vinconfg::kDone) << task;
  }
  // The default instance lives directly under the version.
  EXPECT_EQ(Values("610\\Environment").at("COLL_SERVERID"), "");
  ASSERT_EQ(hive_->ReplaceValues(kProductKey + "\\620\\INST1\\Environment\\Deeper", {}),
            kRegSuccess);
  ASSERT_EQ(vinconfg::UnregisterInstance(kProduct, "inst1"), vinconfg::kDone);
  ASSERT_EQ(vinconfg::UnregisterInstance(kProduct, ""), vinconfg::kDone);
  for (const char* gone : {"610\\INST1", "620\\INST1", "610\\Environment"}) {
    bool exists = true;
    (void)Values(gone, &exists);
    EXPECT_FALSE(exists) << gone;
  }
  EXPECT_EQ(Values("610\\INST2\\Environment").size(), 5u);
  // Nothing left to remove is no failure.
  EXPECT_EQ(vinconfg::UnregisterInstance(kProduct, "INST1"), vinconfg::kDone);
  EXPECT_EQ(vinconfg::UnregisterInstance("VZU", "INST1"), vinconfg::kDone);
}

}  // namespace
