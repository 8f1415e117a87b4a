// The include file lists the .ini files of the configured instances of a kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "common/host_registry.h"
#include "generate/agent_files.h"
#include "generate/generate_test_home.h"

namespace generate {
namespace {

using IncludeFile = GenerateTest;

TEST_F(IncludeFile, RewrittenWholeFromTheList) {
  Write("vsqinc.ini", "\n[Include]\nAdd=stale\n");
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
  EXPECT_EQ(Read("vsqinc.ini"), "\n[Include]\n");

  list_.Add(std::make_unique<config::DbConfig>(SqlServerRecord("A", "D:\\A")),
            ServerKind::kSqlServer);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
  EXPECT_EQ(Read("vsqinc.ini"), "\n[Include]\nAdd={ETC}\\VSQMMA_A.ini\n");

  list_.Add(std::make_unique<config::DbConfig>(SqlServerRecord("B", "D:\\B")),
            ServerKind::kSqlServer);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
  EXPECT_EQ(Read("vsqinc.ini"), "\n[Include]\nAdd={ETC}\\VSQMMA_A.ini\nAdd={ETC}\\VSQMMA_B.ini\n");
}

// Each kind's include file, as the writer makes it and the scan reads it back:
// the two sides take the names from one table, and a kind the scan skips
// (Informix) still has its file written.
struct KindFiles {
  ServerKind kind;
  const char* include_file;
  const char* ini_stem;
  bool scanned;
};

class IncludeFileOfKind : public GenerateTest, public ::testing::WithParamInterface<KindFiles> {};

TEST_P(IncludeFileOfKind, WrittenAndReadBack) {
  const KindFiles& kind = GetParam();
  const config::DbConfig records[] = {OracleRecord("I1", "11.2", ""), SybaseRecord("I1", "15.0"),
                                      SqlServerRecord("I1", "D:\\I1"), InformixRecord("I1", 0)};
  const size_t row = static_cast<size_t>(support::KindNumber(kind.kind)) - 1;
  list_.Add(std::make_unique<config::DbConfig>(records[row]), kind.kind);
  ASSERT_EQ(Generate_IniIncFile(list_, kind.kind), 0);
  EXPECT_EQ(Read(kind.include_file),
            std::string("\n[Include]\nAdd={ETC}\\") + kind.ini_stem + "I1.ini\n");

  Write(std::string(kind.ini_stem) + "I1.ini", "");  // listed files must be there
  config::DbConfigList scan;
  scan.SetConsole(0);
  scan.SetEtcDir("ORVAGT6_DIR");
  std::vector<std::string> names;
  EXPECT_EQ(scan.GetPreConfigList(kind.kind, &names), kind.scanned ? 1 : 0);
  if (kind.scanned) {
    EXPECT_EQ(names, std::vector<std::string>{"I1"});
  }
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, IncludeFileOfKind,
    ::testing::Values(KindFiles{ServerKind::kOracle, "vorinc.ini", "VORMMA_", true},
                      KindFiles{ServerKind::kSybase, "vsyinc.ini", "VSYMMA_", true},
                      KindFiles{ServerKind::kSqlServer, "vsqinc.ini", "VSQMMA_", true},
                      KindFiles{ServerKind::kInformix, "vixinc.ini", "VIXMMA_", false}));

TEST_F(IncludeFile, UnknownKindsHaveNone) {
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind{5}), 1);
  EXPECT_EQ(Generate_IniIncFile(list_, ServerKind::kNone), 1);
}

// One instance's .ini and .bat files and the include file of a full machine:
// what a put writes.
TEST_F(IncludeFile, PutSizedGenerationTime) {
  ASSERT_TRUE(sqxa_test::LoadHost(DefaultHomeRegistry()));
  Write("vsqmma.ini", kManagementAgentText);
  for (int i = 0; i < 50; ++i) {
    list_.Add(std::make_unique<config::DbConfig>(
                  SqlServerRecord("INST" + std::to_string(i), "D:\\SQL" + std::to_string(i))),
              ServerKind::kSqlServer);
  }
  const config::DbConfig& record = *list_.GetAt(7, ServerKind::kSqlServer);
  ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, record, 7),
            0);  // the test settings, once

  double best = 1e9;
  for (int round = 0; round < 5; ++round) {
    const auto start = std::chrono::steady_clock::now();
    ASSERT_EQ(Generate_IniBatFiles(list_, ServerKind::kSqlServer, record, 7), 0);
    ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSqlServer), 0);
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    best = std::min(best, took.count());
  }
  std::printf("put-sized generation: %.2f ms\n", best);
  EXPECT_LT(best, 20.0);
}

}  // namespace
}  // namespace generate
