// The test-settings file: made once from the management-agent file, copied to
// the end of every instance file.
#include <gtest/gtest.h>

#include <string>

#include "generate/agent_files.h"
#include "generate/generate_test_home.h"
#include "support/capture.h"

namespace generate {
namespace {

using TestSettings = GenerateTest;

TEST_F(TestSettings, CopiesEveryLocalSettingsSectionUpToItsFirstEmptyLine) {
  const std::string long_value(5000, 'x');
  Write("vsqmma.ini",
        "[Local Settings]x\nNOT_A_HEADER=1\n"
        "[Local Settings]\r\nMTIRA_HIST_DIR=@LogPath@\r\nA=1\r\nX_MTIRA_HIST_DIR_Y=2\r\n\r\nB=2\n"
        "[Other]\nC=3\n"
        "[Local Settings]\nD=" +
            long_value + "\n[Local Settings]\nE=5\n[Next]\nF=6\n[Local Settings]\nG=7");
  ASSERT_EQ(CopyLocalSettings(list_, Etc() + "\\vsqmma.ini", Etc() + "\\copy.ini"), 0);
  EXPECT_EQ(Read("copy.ini"), "[Local Settings]\nA=1\n[Local Settings]\nD=" + long_value +
                                  "\n[Local Settings]\nE=5\n[Local Settings]\nG=7\n");

  EXPECT_EQ(CopyLocalSettings(list_, Etc() + "\\missing.ini", Etc() + "\\copy.ini"), -1);
  EXPECT_EQ(CopyLocalSettings(list_, Etc() + "\\vsqmma.ini", Etc() + "\\no\\such\\copy.ini"), -2);
  EXPECT_FALSE(Exists("no"));
}

TEST_F(TestSettings, MadeOnceAndReusedByEveryInstanceAndKind) {
  Write("vsqmma.ini", kManagementAgentText);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, SqlServerRecord("A", "D:\\A"), 0),
            0);
  EXPECT_EQ(Read("vdbtset.ini"), "[Local Settings]\nKBB_RAS1=ERROR\nCOLL_DEBUG=0\n");
  const std::string ini = Read("VSQMMA_A.ini");
  EXPECT_TRUE(ini.ends_with("Action=NOStart\n\n[Local Settings]\nKBB_RAS1=ERROR\nCOLL_DEBUG=0\n"))
      << ini;

  // Another instance, even of another kind whose management-agent file is
  // missing, takes the file as it is.
  Write("vsqmma.ini", "[Local Settings]\nCHANGED=1\n");
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kOracle, OracleRecord("B", "11.2", ""), 1), 0);
  EXPECT_EQ(Read("vdbtset.ini"), "[Local Settings]\nKBB_RAS1=ERROR\nCOLL_DEBUG=0\n");
  const std::string oracle = Read("VORMMA_B.ini");
  EXPECT_TRUE(oracle.ends_with("Action=NOStart\n[Local Settings]\nKBB_RAS1=ERROR\nCOLL_DEBUG=0\n"))
      << oracle;
}

TEST_F(TestSettings, MissingSourceStopsTheInstanceFiles) {
  list_.SetConsole(1);
  const Captured got = Capture([&] {
    EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kSybase, SybaseRecord("S", "15.0"), 0), -1);
  });
  list_.SetConsole(0);
  EXPECT_NE(got.out.find("CopyLocalSettings: Unable to open file '" + Etc() + "\\vsymma.ini'\n"),
            std::string::npos);
  EXPECT_NE(got.out.find("Failure generating temporary vdbtset file\n"), std::string::npos);
  EXPECT_FALSE(Exists("VSYMMA_S.ini"));
  EXPECT_FALSE(Exists("vdbtset.ini"));

  // Kind 4 has no management-agent file; with a test-settings file in place
  // it is refused by the driver instead.
  EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kInformix, InformixRecord("I", 0), 0), -1);
  Write("vdbtset.ini", "");
  EXPECT_EQ(Generate_IniBatFiles(list_, ServerKind::kInformix, InformixRecord("I", 0), 0), 10);
  EXPECT_FALSE(Exists("VIXMMA_I.ini"));
}

}  // namespace
}  // namespace generate
