// The site's "Override Local Settings" of a SQL Server instance file survive
// its regeneration; the other kinds' files never carry the section.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "common/host_registry.h"
#include "generate/agent_files.h"
#include "generate/generate_test_home.h"
#include "platform/profile.h"

namespace generate {
namespace {

class OverrideSection : public GenerateTest {
 protected:
  void SetUp() override {
    GenerateTest::SetUp();
    ASSERT_TRUE(sqxa_test::LoadHost(DefaultHomeRegistry()));
    Write("vdbtset.ini", "[Local Settings]\nCOLL_DEBUG=0\n");
  }

  [[nodiscard]] std::string IniPath(const std::string& name) const { return Etc() + "\\" + name; }

  // The section's entries, one string each.
  [[nodiscard]] std::vector<std::string> Entries(const std::string& section,
                                                 const std::string& name) const {
    std::vector<char> buffer(65536);
    const uint32_t size = platform::ReadIniSection(
        section, buffer.data(), static_cast<uint32_t>(buffer.size()), IniPath(name));
    std::vector<std::string> entries;
    for (uint32_t at = 0; at < size;) {
      entries.emplace_back(buffer.data() + at);
      at += static_cast<uint32_t>(entries.back().size()) + 1;
    }
    return entries;
  }
};

TEST_F(OverrideSection, KeptAtTheEndOfTheRegeneratedFile) {
  config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL\\INST1");
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  ASSERT_TRUE(platform::WriteIniSection("Override Local Settings",
                                        std::string("COLL_DEBUG=9\0KDC_DEBUG=Y\0\0", 25).c_str(),
                                        IniPath("VSQMMA_INST1.ini")));

  record.setLoginName("changed");
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  EXPECT_EQ(Entries("Override Local Settings", "VSQMMA_INST1.ini"),
            (std::vector<std::string>{"COLL_DEBUG=9", "KDC_DEBUG=Y"}));
  const std::string text = Read("VSQMMA_INST1.ini");
  EXPECT_NE(text.find("COLL_LOGON=changed\n"), std::string::npos);
  EXPECT_GT(text.find("[Override Local Settings]"), text.rfind("COLL_DEBUG=0"));
  EXPECT_EQ(text.find("[Override Local Settings]"), text.rfind("[Override Local Settings]"));
}

TEST_F(OverrideSection, LongerThanOneReadStep) {
  // 60 entries of 20 characters: read with 520, 1040 and 1560 bytes.
  std::string entries;
  std::vector<std::string> expected;
  for (int i = 0; i < 60; ++i) {
    char entry[32];
    std::snprintf(entry, sizeof entry, "OVERRIDE_KEY_%02d=%04d", i, i * 7);
    expected.emplace_back(entry);
    entries.append(entry).push_back('\0');
  }
  entries.push_back('\0');
  const config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL\\INST1");
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  ASSERT_TRUE(platform::WriteIniSection("Override Local Settings", entries.c_str(),
                                        IniPath("VSQMMA_INST1.ini")));
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  EXPECT_EQ(Entries("Override Local Settings", "VSQMMA_INST1.ini"), expected);

  // Entries of exactly 518 characters: the reader's answer for 520 bytes is
  // then size - 2, which must be taken as "did not fit".
  entries.assign(517, 'v');
  entries.replace(0, 2, "K=");
  entries.append(1, '\0').append(1, '\0');
  ASSERT_TRUE(platform::WriteIniSection("Override Local Settings", entries.c_str(),
                                        IniPath("VSQMMA_INST1.ini")));
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  EXPECT_EQ(Entries("Override Local Settings", "VSQMMA_INST1.ini"),
            std::vector<std::string>{entries.c_str()});
}

TEST_F(OverrideSection, NoneWithoutOneAndNoneForOtherKinds) {
  const config::DbConfig record = SqlServerRecord("INST1", "D:\\SQL\\INST1");
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  ASSERT_EQ(write_single_mssql_ini(list_, record, 3), 0);
  EXPECT_EQ(Read("VSQMMA_INST1.ini").find("Override"), std::string::npos);

  const config::DbConfig oracle = OracleRecord("ORA1", "11.2.0", "");
  const config::DbConfig sybase = SybaseRecord("SYB1", "15.0.3");
  ASSERT_EQ(write_single_oracle_ini(list_, oracle, 1), 0);
  ASSERT_EQ(write_single_sybase_ini(list_, sybase, 1), 0);
  for (const char* name : {"VORMMA_ORA1.ini", "VSYMMA_SYB1.ini"}) {
    ASSERT_TRUE(platform::WriteIniSection("Override Local Settings", "A=1\0\0", IniPath(name)));
  }
  ASSERT_EQ(write_single_oracle_ini(list_, oracle, 1), 0);
  ASSERT_EQ(write_single_sybase_ini(list_, sybase, 1), 0);
  EXPECT_EQ(Read("VORMMA_ORA1.ini").find("Override"), std::string::npos);
  EXPECT_EQ(Read("VSYMMA_SYB1.ini").find("Override"), std::string::npos);
}

}  // namespace
}  // namespace generate
