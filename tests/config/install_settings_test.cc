#include <gtest/gtest.h>

#include <regex>
#include <string>

#include "common/host_registry.h"
#include "common/scopes.h"
#include "config/db_config_list.h"
#include "support/capture.h"
#include "support/message.h"

namespace config {
namespace {

// The directories built on the etc setting, in each form the files use.
TEST(InstallSettingsTest, FormsOfSetSettings) {
  const sqxa_test::ScopedEnv etc("SQXA_T_ETC", "C:\\agent");
  const sqxa_test::ScopedEnv port("SQXA_T_PORT", "1920");
  DbConfigList list;
  list.SetConsole(0);
  list.SetEtcDir("SQXA_T_ETC");
  list.SetPortNumber("SQXA_T_PORT");
  EXPECT_EQ(list.GetEtcDir(PathForm::kStored), "C:\\agent");
  EXPECT_EQ(list.GetLogDir(PathForm::kResolved), "C:\\agent\\logs");
  EXPECT_EQ(list.GetDllDir(PathForm::kResolved), "C:\\agent");
  EXPECT_EQ(list.GetBinDir(PathForm::kResolved), "C:\\agent");
  EXPECT_EQ(list.GetPortNumber(PathForm::kResolved), "1920");
  EXPECT_EQ(list.GetLogDir(PathForm::kPercent), "%LOGPATH%");
  EXPECT_EQ(list.GetPortNumber(PathForm::kAtSign), "@PORTNUMBER@");
}

TEST(InstallSettingsTest, UnsetVariablesAreReported) {
  msg_reset_for_testing();
  const sqxa_test::ScopedEnv never("SQXA_T_NEVER_SET", std::nullopt);
  DbConfigList list;
  list.SetConsole(0);
  const Captured got = Capture([&] { list.SetEtcDir("SQXA_T_NEVER_SET"); });
  EXPECT_TRUE(
      std::regex_search(got.out, std::regex("UEN0015W VDBUTIL\\(\\d+\\) [\\s\\S]*"
                                            "Environment variable \"SQXA_T_NEVER_SET\" not set\n")))
      << got.out;
}

TEST(InstallSettingsTest, NamedInstancesDifferFromTheDefaultHome) {
  DbConfigList list;
  list.SetConsole(0);
  ASSERT_TRUE(
      sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"
                          "[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\MSSQLServer\\Setup]\n"
                          "\"SQLPath\"=\"C:\\\\SQL\\\\MSSQL\"\n\n"));
  EXPECT_EQ(list.IsNamedInstance("c:\\sql\\mssql"), 0);
  EXPECT_EQ(list.IsNamedInstance("C:\\SQL\\MSSQL10.INST1"), 1);

  // Without the default home every home but an empty one is a named instance.
  ASSERT_TRUE(sqxa_test::LoadHost("Windows Registry Editor Version 5.00\n\n"));
  EXPECT_EQ(list.IsNamedInstance(""), 0);
  EXPECT_EQ(list.IsNamedInstance("C:\\SQL"), 1);
}

}  // namespace
}  // namespace config
