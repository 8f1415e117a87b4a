#include <gtest/gtest.h>

#include <string>

#include "common/host_registry.h"
#include "config/db_config_list.h"
#include "platform/system.h"
#include "support/capture.h"
#include "support/message.h"

namespace config {
namespace {

class InstallSettingsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    msg_reset_for_testing();
    for (const char* name :
         {"SQXA_T_ETC", "SQXA_T_LOG", "SQXA_T_BIN", "SQXA_T_DLL", "SQXA_T_PORT"}) {
      ASSERT_TRUE(platform::SetEnvironment(name, ""));
    }
  }
};

TEST_F(InstallSettingsTest, FormsOfUnsetSettings) {
  DbConfigList list;
  list.SetConsole(0);
  (void)Capture([&] {  // the unset variables are reported
    list.SetEtcDir("SQXA_T_ETC");
    list.SetLogDir("SQXA_T_LOG");
    list.SetBinDir("SQXA_T_BIN");
    list.SetDllDir("SQXA_T_DLL");
    list.SetPortNumber("SQXA_T_PORT");
  });
  const std::string cwd = platform::CurrentDirectory();
  EXPECT_EQ(list.GetEtcDir(PathForm::kResolved), cwd);
  EXPECT_EQ(list.GetLogDir(PathForm::kResolved),
            "\\logs");                                  // built on the stored, empty, etc setting
  EXPECT_EQ(list.GetBinDir(PathForm::kResolved), cwd);  // built on the resolved one
  EXPECT_EQ(list.GetDllDir(PathForm::kResolved), "");
  EXPECT_EQ(list.GetPortNumber(PathForm::kResolved), "1999");
  EXPECT_EQ(list.GetEtcDir(PathForm::kAtSign), "@ETCPATH@");
  EXPECT_EQ(list.GetLogDir(PathForm::kPercent), "%LOGPATH%");
  EXPECT_EQ(list.GetPortNumber(PathForm::kAtSign), "@PORTNUMBER@");
  EXPECT_EQ(list.GetBinDir(PathForm::kPercent), "%BINPATH%");
  EXPECT_EQ(list.GetDllDir(PathForm::kAtSign), "@DLLPATH@");
  EXPECT_EQ(list.GetPortNumber(PathForm{4}), "");
}

TEST_F(InstallSettingsTest, FormsOfSetSettings) {
  ASSERT_TRUE(platform::SetEnvironment("SQXA_T_ETC", "C:\\agent"));
  ASSERT_TRUE(platform::SetEnvironment("SQXA_T_PORT", "1920"));
  DbConfigList list;
  list.SetConsole(0);
  list.SetEtcDir("SQXA_T_ETC");
  list.SetPortNumber("SQXA_T_PORT");
  EXPECT_EQ(list.GetEtcDir(PathForm::kStored), "C:\\agent");
  EXPECT_EQ(list.GetEtcDir(PathForm::kResolved), "C:\\agent");
  EXPECT_EQ(list.GetEtcDir(PathForm{4}), "C:\\agent");
  EXPECT_EQ(list.GetLogDir(PathForm::kResolved), "C:\\agent\\logs");
  EXPECT_EQ(list.GetLogDir(PathForm{4}), "");
  EXPECT_EQ(list.GetDllDir(PathForm::kResolved), "C:\\agent");
  EXPECT_EQ(list.GetBinDir(PathForm::kResolved), "C:\\agent");
  EXPECT_EQ(list.GetBinDir(PathForm{4}), "");
  EXPECT_EQ(list.GetPortNumber(PathForm::kResolved), "1920");
}

TEST_F(InstallSettingsTest, UnsetVariablesAreReported) {
  DbConfigList list;
  list.SetConsole(0);
  const Captured got = Capture([&] { list.SetEtcDir("SQXA_T_NEVER_SET"); });
  EXPECT_NE(got.out.find("UEN0015W VDBUTIL(1897) "), std::string::npos) << got.out;
  EXPECT_NE(got.out.find("Environment variable \"SQXA_T_NEVER_SET\" not set\n"), std::string::npos);
}

TEST_F(InstallSettingsTest, NamedInstancesDifferFromTheDefaultHome) {
  DbConfigList list;
  list.SetConsole(0);
  ASSERT_TRUE(
      sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\Setup]\n"
                          "\"SQLPath\"=\"C:\\\\SQL\\\\MSSQL\"\n\n"));
  EXPECT_EQ(list.IsNamedInstance("c:\\sql\\mssql"), 0);
  EXPECT_EQ(list.IsNamedInstance("C:\\SQL\\MSSQL10.INST1"), 1);

  ASSERT_TRUE(sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"));
  list.SetConsole(1);
  const Captured got = Capture([&] {
    EXPECT_EQ(list.IsNamedInstance(""), 0);
    EXPECT_EQ(list.IsNamedInstance("C:\\SQL"), 1);
  });
  list.SetConsole(0);
  EXPECT_NE(got.out.find("Unable to open key : Software\\Microsoft\\MSSQLServer\\Setup\n"),
            std::string::npos);
}

}  // namespace
}  // namespace config
