// The include file lists the .ini files of the configured instances of a kind.
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <string>

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

TEST_F(IncludeFile, NamesByKind) {
  list_.Add(std::make_unique<config::DbConfig>(OracleRecord("O", "11.2", "")), ServerKind::kOracle);
  list_.Add(std::make_unique<config::DbConfig>(SybaseRecord("S", "15.0")), ServerKind::kSybase);
  list_.Add(std::make_unique<config::DbConfig>(InformixRecord("I", 0)), ServerKind::kInformix);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kOracle), 0);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kSybase), 0);
  ASSERT_EQ(Generate_IniIncFile(list_, ServerKind::kInformix), 0);
  EXPECT_EQ(Read("vorinc.ini"), "\n[Include]\nAdd={ETC}\\VORMMA_O.ini\n");
  EXPECT_EQ(Read("vsyinc.ini"), "\n[Include]\nAdd={ETC}\\VSYMMA_S.ini\n");
  EXPECT_EQ(Read("vixinc.ini"), "\n[Include]\nAdd={ETC}\\VIXMMA_I.ini\n");
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
