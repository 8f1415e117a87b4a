// Behaviour that only the file-backed registry has: no file, malformed files,
// reloading, and writers sharing the file.
#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "common/scratch_dir.h"
#include "platform/registry.h"

namespace {

using namespace platform;

const std::string kHeader = "Windows Registry Editor Version 5.00\r\n";
const std::string kKey = "Software\\SqXaTest", kSection = "[HKEY_LOCAL_MACHINE\\" + kKey;

class RegistryFileTest : public ::testing::Test {
 protected:
  // Points the registry at a file holding `text` (rewritten when it exists).
  void UseRegistry(const std::string& text) {
    std::ofstream(path_, std::ios::binary) << text;
    UseRegistryFile(path_);
  }
  std::string FileText() {
    std::ostringstream text;
    text << std::ifstream(path_, std::ios::binary).rdbuf();
    return text.str();
  }
  static std::unique_ptr<Registry> Connect() {
    std::unique_ptr<Registry> hive;
    EXPECT_EQ(Registry::Connect("", &hive), kRegSuccess);
    return hive;
  }
  static long Open(const std::string& path, uint32_t access = kKeyRead) {
    std::unique_ptr<RegistryKey> key;
    return Connect()->OpenKey(path, access, &key);
  }
  sqxa_test::ScratchDir dir_;
  std::string path_ = dir_.File("registry.reg");
};

TEST_F(RegistryFileTest, TheFileAsItIsNowIsTheRegistry) {
  // A malformed file is empty, reported once and never rewritten.
  const std::string bad = kHeader + kSection + "]\r\n\"v\"=hex:0g\r\n";
  UseRegistry(bad);
  testing::internal::CaptureStderr();
  EXPECT_EQ(Open(kKey), kRegFileNotFound);
  EXPECT_EQ(Open(kKey), kRegFileNotFound);
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(Connect()->CreateKey(kKey + "\\New", kKeyAllAccess, &key), kRegBadDatabase);
  EXPECT_EQ(Connect()->DeleteKey(kKey, 0), kRegBadDatabase);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "registry file '" + path_ + "' line 3: bad hex digit\n");
  EXPECT_EQ(FileText(), bad);

  // Changes to the file are seen; no file is an empty registry nobody can
  // write; one view serves both widths; there are no remote machines.
  UseRegistry(kHeader + kSection + "]\r\n");
  EXPECT_EQ(Open(kKey, kKeyRead | kKeyWow64_32Key), kRegSuccess);
  EXPECT_EQ(Open("Software\\Wow6432Node", kKeyRead | kKeyWow64_32Key), kRegFileNotFound);
  std::ofstream(path_, std::ios::binary) << kHeader + kSection + "\\Later]\r\n";
  EXPECT_EQ(Open(kKey + "\\Later"), kRegSuccess);
  std::remove(path_.c_str());
  EXPECT_EQ(Open(kKey), kRegFileNotFound);

  UseRegistryFile("");
  EXPECT_EQ(Open(kKey), kRegFileNotFound);
  EXPECT_EQ(Connect()->CreateKey(kKey, kKeyAllAccess, &key), kRegCannotWrite);
  EXPECT_EQ(Connect()->DeleteKey(kKey, 0), kRegFileNotFound);
  std::unique_ptr<Registry> remote;
  EXPECT_EQ(Registry::Connect("OTHERHOST", &remote), kRegBadNetPath);
}

TEST_F(RegistryFileTest, ConcurrentWritersKeepEveryChangeAndReadersSeeWholeFiles) {
  UseRegistry(kHeader + kSection + "\\Shared]\r\n");
  const std::string shared = kKey + "\\Shared";
  constexpr int kWriters = 4, kWrites = 8;
  std::atomic<bool> writing{true};
  std::atomic<int> failed_reads{0};
  testing::internal::CaptureStderr();
  std::thread reader([&] {
    while (writing) failed_reads += Open(shared) != kRegSuccess;
  });
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      std::unique_ptr<RegistryKey> key;
      ASSERT_EQ(Connect()->CreateKey(shared, kKeyAllAccess, &key), kRegSuccess);
      for (int i = 0; i < kWrites; ++i)
        EXPECT_EQ(key->SetValue(std::to_string(w) + "-" + std::to_string(i), kRegDword, "1"),
                  kRegSuccess);
    });
  }
  for (std::thread& writer : writers) writer.join();
  writing = false;
  reader.join();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(failed_reads, 0);

  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(Connect()->OpenKey(shared, kKeyRead, &key), kRegSuccess);
  uint32_t count = 0;
  for (RegValue value; key->EnumValue(count, &value) == kRegSuccess;) ++count;
  EXPECT_EQ(count, kWriters * kWrites);
  EXPECT_EQ(FileText().rfind(kHeader, 0), 0u);
  EXPECT_EQ(dir_.Entries().size(), 2u) << "the file and its lock, no temporary files";
}

}  // namespace
