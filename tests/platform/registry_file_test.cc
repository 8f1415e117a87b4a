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
const std::string kTestKey = "Software\\SqXaTest";

void WriteFile(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string ReadFile(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

class RegistryFileTest : public ::testing::Test {
 protected:
  // Points the registry at a new file holding `text`.
  void UseRegistry(const std::string& text) {
    path_ = dir_.File("registry.reg");
    WriteFile(path_, text);
    UseRegistryFile(path_);
  }

  static std::unique_ptr<Registry> Connect() {
    std::unique_ptr<Registry> hive;
    EXPECT_EQ(Registry::Connect("", &hive), kRegSuccess);
    return hive;
  }

  static long Query(const std::string& path, const std::string& name, std::string* data) {
    std::unique_ptr<RegistryKey> key;
    long status = Connect()->OpenKey(path, kKeyRead, &key);
    RegValue value;
    if (status == kRegSuccess) status = key->QueryValue(name, &value);
    *data = value.data;
    return status;
  }

  sqxa_test::ScratchDir dir_;
  std::string path_;
};

TEST_F(RegistryFileTest, MalformedFileIsEmptyReportedOnceAndNeverRewritten) {
  const std::string bad = kHeader + "[HKEY_LOCAL_MACHINE\\Software\\SqXaTest]\r\n\"v\"=hex:0g\r\n";
  UseRegistry(bad);
  testing::internal::CaptureStderr();
  auto hive = Connect();
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(hive->OpenKey(kTestKey, kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(hive->OpenKey(kTestKey, kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(hive->CreateKey(kTestKey + "\\New", kKeyAllAccess, &key), kRegBadDatabase);
  EXPECT_EQ(hive->DeleteKey(kTestKey, 0), kRegBadDatabase);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "registry file '" + path_ + "' line 3: bad hex digit\n");
  EXPECT_EQ(ReadFile(path_), bad);
}

TEST_F(RegistryFileTest, ChangesToTheFileAreSeen) {
  UseRegistry(kHeader + "[HKEY_LOCAL_MACHINE\\Software\\SqXaTest]\r\n\"v\"=\"1\"\r\n");
  std::string data;
  ASSERT_EQ(Query(kTestKey, "v", &data), kRegSuccess);
  EXPECT_EQ(data, "1");
  WriteFile(path_, kHeader + "[HKEY_LOCAL_MACHINE\\Software\\SqXaTest]\r\n\"v\"=\"22\"\r\n");
  ASSERT_EQ(Query(kTestKey, "v", &data), kRegSuccess);
  EXPECT_EQ(data, "22");
  std::remove(path_.c_str());
  EXPECT_EQ(Query(kTestKey, "v", &data), kRegFileNotFound);
}

TEST_F(RegistryFileTest, NoFileIsAnEmptyRegistryNobodyCanWriteAndThereIsOneView) {
  UseRegistryFile("");
  auto hive = Connect();
  std::unique_ptr<RegistryKey> key;
  EXPECT_EQ(hive->OpenKey(kTestKey, kKeyRead, &key), kRegFileNotFound);
  EXPECT_EQ(hive->CreateKey(kTestKey, kKeyAllAccess, &key), kRegCannotWrite);
  EXPECT_EQ(hive->DeleteKey(kTestKey, 0), kRegFileNotFound);

  // One view for both widths, and no remote machines.
  UseRegistry(kHeader + "[HKEY_LOCAL_MACHINE\\Software\\SqXaTest]\r\n");
  hive = Connect();
  EXPECT_EQ(hive->OpenKey(kTestKey, kKeyRead | kKeyWow64_32Key, &key), kRegSuccess);
  EXPECT_EQ(hive->OpenKey("Software\\Wow6432Node", kKeyRead | kKeyWow64_32Key, &key),
            kRegFileNotFound);

  std::unique_ptr<Registry> remote;
  EXPECT_EQ(Registry::Connect("OTHERHOST", &remote), kRegBadNetPath);
}

TEST_F(RegistryFileTest, ConcurrentWritersKeepEveryChangeAndReadersSeeWholeFiles) {
  UseRegistry(kHeader + "[HKEY_LOCAL_MACHINE\\Software\\SqXaTest\\Shared]\r\n");
  const std::string shared = kTestKey + "\\Shared";
  constexpr int kWriters = 4;
  constexpr int kWrites = 8;
  std::atomic<bool> writing{true};
  std::atomic<int> failed_reads{0};
  testing::internal::CaptureStderr();
  std::thread reader([&] {
    while (writing) {
      std::unique_ptr<RegistryKey> key;
      if (Connect()->OpenKey(shared, kKeyRead, &key) != kRegSuccess) ++failed_reads;
    }
  });
  std::vector<std::thread> writers;
  for (int w = 0; w < kWriters; ++w) {
    writers.emplace_back([&, w] {
      std::unique_ptr<RegistryKey> key;
      ASSERT_EQ(Connect()->CreateKey(shared, kKeyAllAccess, &key), kRegSuccess);
      for (int i = 0; i < kWrites; ++i) {
        const std::string name = std::to_string(w) + "-" + std::to_string(i);
        EXPECT_EQ(key->SetValue(name, kRegDword, std::to_string(i)), kRegSuccess);
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  writing = false;
  reader.join();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(failed_reads, 0);

  std::unique_ptr<RegistryKey> key;
  ASSERT_EQ(Connect()->OpenKey(shared, kKeyRead, &key), kRegSuccess);
  int count = 0;
  RegValue value;
  while (key->EnumValue(static_cast<uint32_t>(count), &value) == kRegSuccess) ++count;
  EXPECT_EQ(count, kWriters * kWrites);
  EXPECT_EQ(ReadFile(path_).rfind(kHeader, 0), 0u);
  EXPECT_EQ(dir_.Entries().size(), 2u) << "the file and its lock, no temporary files";
}

}  // namespace
