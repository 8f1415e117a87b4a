// The instance-creation tool's placeholders and its registration against the
// registry of the build: a registry file natively, the prefix's under Wine.
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "common/scopes.h"
#include "common/scratch_dir.h"
#include "instance_file.h"
#include "placeholders.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "registration.h"

namespace {

using namespace platform;
using sqxa_test::ScopedEnv;
using vinconfg::Resolve;

// Known names are put in whatever their case, values are not searched again,
// other at signs stay; installation values have defaults.
TEST(PlaceholdersTest, Resolve) {
  const vinconfg::Placeholders values = {
      {"ETCPATH", "C:\\etc"}, {"MARTASK", "INST1"}, {"EMPTY", ""}, {"LOOP", "@ETCPATH@"}};
  const std::pair<const char*, const char*> kCases[] = {
      {"@EtcPath@\\env", "C:\\etc\\env"},
      {"@etcpath@@MarTask@", "C:\\etcINST1"},
      {"x@EMPTY@y", "xy"},
      {"@LOOP@", "@ETCPATH@"},
      {"K=@Protocol@", "K=@Protocol@"},
      {"user@host@MarTask@", "user@hostINST1"},
      {"@@MARTASK@", "@INST1"},
      {"unclosed @ETCPATH", "unclosed @ETCPATH"},
  };
  for (const auto& [text, expected] : kCases) EXPECT_EQ(Resolve(text, values), expected) << text;

  const ScopedEnv port("PORTNUMBER", std::nullopt), computer("COMPUTERNAME", std::nullopt);
  EXPECT_EQ(Resolve("@BINPATH@|@DLLPATH@|@PORTNUMBER@|@COMPUTERNAME@",
                    vinconfg::PlaceholdersFor("C:\\etc", vinconfg::InstanceFile(), "")),
            "C:\\etc|C:\\etc|1999|" + platform::ComputerName());
}

constexpr char kProduct[] = "VZT";
const std::string kProductKey = std::string("Software\\Marlox\\") + kProduct;

class RegistrationTest : public ::testing::Test {
 protected:
  void SetUp() override {
    // Under Wine the prefix's registry is shared: a product code of its own.
    UseRegistryFile(dir_.File("registry.reg"));
    ASSERT_EQ(Registry::Connect("", &hive_), kRegSuccess);
    Clean();
  }
  void TearDown() override { Clean(); }
  void Clean() {
    for (const char* task : {"INST1", "INST2", ""})
      (void)vinconfg::UnregisterInstance(kProduct, task);
    for (const char* key : {"\\610", "\\620", ""}) (void)hive_->DeleteKey(kProductKey + key, 0);
  }
  // An instance file for `task`, written as `name`, with `extra` at its end;
  // it begins with a byte-order mark and an entry outside any section.
  std::string Ini(const std::string& name, const std::string& task, const std::string& extra = "") {
    const std::string path = dir_.File(name);
    EXPECT_EQ(
        ReplaceFileContents(path,
                            "\xEF\xBB\xBFignored=before any "
                            "section\r\n[Identity]\r\nMarProd=VZT\r\nMarVers=610\r\nMarTask=" +
                                task +
                                "\r\n\r\n[Local Settings]\r\n"
                                "COLL_SERVERID=@INSTANCENAME@\r\nCOLL_PORT =@PORTNUMBER@\r\n"
                                "MTIRA_HIST_DIR=@LogPath@\\History\\@MarProd@\\@MarTask@\r\n"
                                "KDC_FAMILIES=@Protocol@\r\nCOLL_TRACE=LOW\r\n" +
                                extra),
        0);
    return path;
  }
  // The values of the key; {{"<missing>", ""}} when there is none.
  std::map<std::string, std::string> Values(const std::string& path) {
    std::unique_ptr<RegistryKey> key;
    if (hive_->OpenKey(kProductKey + "\\" + path, kKeyRead, &key) != kRegSuccess) {
      return {{"<missing>", ""}};
    }
    std::map<std::string, std::string> values;
    RegValue value;
    for (uint32_t i = 0; key->EnumValue(i, &value) == kRegSuccess; ++i) {
      EXPECT_EQ(value.type, kRegSz) << value.name;
      values[value.name] = value.data;
    }
    return values;
  }
  const std::map<std::string, std::string> kMissing = {{"<missing>", ""}};

  sqxa_test::ScratchDir dir_;
  std::optional<ScopedEnv> home_{std::in_place, "MARLOX_HOME", dir_.File("home") + PathSeparator()};
  ScopedEnv port_{"PORTNUMBER", "1920"};
  ScopedEnv computer_{"COMPUTERNAME", "HOST1"};
  std::unique_ptr<Registry> hive_;
};

// Local settings, then their overrides, become the Environment key: every
// section of a name counts, in file order, whatever its case, blanks and line
// ends, but a single value comes from the first section of its name.
// Registering again replaces the key; unregistering removes the instance under
// every version and leaves the others.
TEST_F(RegistrationTest, RegisterAgainAndUnregister) {
  const std::string logs =
      dir_.File("home") + PathSeparator() + "ORVAGT6_x64\\logs\\History\\VZT\\";
  std::map<std::string, std::string> expected = {{"COLL_SERVERID", "INST1"},
                                                 {"COLL_PORT", "1920"},
                                                 {"MTIRA_HIST_DIR", logs + "INST1"},
                                                 {"KDC_FAMILIES", "@Protocol@"},
                                                 {"COLL_TRACE", "ALL"},
                                                 {"KDC_DEBUG", "N"},
                                                 {"EXTRA", "610"}};
  ASSERT_EQ(vinconfg::RegisterInstance(
                Ini("VSQMMA_INST1.ini", "INST1",
                    "; a comment=not an entry\r\nno equals sign\r\n[Services]\nAdd=NotASetting\n"
                    "[ local settings ]\rKDC_DEBUG = N \rCOLL_TRACE=ERROR\r"
                    "[Override Local Settings]\ncoll_trace=ALL\nEXTRA=@MarVers@\n"
                    "[Identity]\nMarTask=second\n"),
                "INST1"),
            vinconfg::kDone);
  EXPECT_EQ(Values("610\\INST1\\Environment"), expected);
  for (const char* task : {"X", "INST2", ""}) {
    ASSERT_EQ(vinconfg::RegisterInstance(Ini(std::string(task) + ".ini", task),
                                         *task == 'X' ? "INST1" : task),
              vinconfg::kDone);
  }
  expected.erase("KDC_DEBUG");
  expected.erase("EXTRA");
  expected["COLL_TRACE"] = "LOW";
  expected["MTIRA_HIST_DIR"] = logs + "X";
  EXPECT_EQ(Values("610\\INST1\\Environment"), expected);
  // The default instance lives directly under the version.
  EXPECT_EQ(Values("610\\Environment").at("COLL_SERVERID"), "");
  ASSERT_EQ(hive_->ReplaceValues(kProductKey + "\\620\\INST1\\Environment\\Deeper", {}),
            kRegSuccess);
  ASSERT_EQ(vinconfg::UnregisterInstance(kProduct, "inst1"), vinconfg::kDone);
  ASSERT_EQ(vinconfg::UnregisterInstance(kProduct, ""), vinconfg::kDone);
  for (const char* gone : {"610\\INST1", "620\\INST1", "610\\Environment"}) {
    EXPECT_EQ(Values(gone), kMissing) << gone;
  }
  EXPECT_EQ(Values("610\\INST2\\Environment").at("COLL_SERVERID"), "INST2");
  // Nothing left to remove is no failure.
  EXPECT_EQ(vinconfg::UnregisterInstance(kProduct, "INST1"), vinconfg::kDone);
  EXPECT_EQ(vinconfg::UnregisterInstance("VZU", "INST1"), vinconfg::kDone);
}

TEST_F(RegistrationTest, RefusesFilesItCannotUse) {
  EXPECT_EQ(vinconfg::RegisterInstance(dir_.File("missing.ini"), "INST1"),
            vinconfg::kBadInstanceFile);
  const std::string anonymous = dir_.File("anonymous.ini");
  ASSERT_EQ(ReplaceFileContents(anonymous, "[Identity]\nMarProd=VZT\n[Local Settings]\nA=1\n"), 0);
  EXPECT_EQ(vinconfg::RegisterInstance(anonymous, "INST1"), vinconfg::kBadInstanceFile);
  EXPECT_EQ(Values(""), kMissing);
  home_.emplace("MARLOX_HOME", std::nullopt);
  EXPECT_EQ(vinconfg::RegisterInstance(Ini("x.ini", "INST1"), "INST1"), vinconfg::kNoHome);
}

}  // namespace
