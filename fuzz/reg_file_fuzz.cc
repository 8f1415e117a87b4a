// Arbitrary bytes as a registry file. Indexing them, finding and enumerating
// every key, and writing the hive back must never crash, hang or overrun; and
// what is written must read back and write again to the same bytes, also when
// the writer keeps the lines of the keys as they were.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/reg_file.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using platform::RegFile;
  RegFile file;
  platform::RegFileError error;
  if (!file.Load(std::string(reinterpret_cast<const char*>(data), size), &error)) return 0;

  std::vector<std::pair<RegFile::KeyId, std::string>> pending{{RegFile::kRoot, ""}};
  while (!pending.empty()) {
    const auto [key, path] = std::move(pending.back());
    pending.pop_back();
    RegFile::KeyId found = RegFile::kRoot;
    if (!file.FindKey(path, &found) || found != key) __builtin_trap();
    (void)file.Values(key);
    for (RegFile::KeyId child : file.SubKeys(key)) {
      pending.emplace_back(child, path + "\\" + std::string(file.KeyName(child)));
    }
  }

  const std::string written = platform::RegTree(file).Serialize();
  RegFile again;
  if (!again.Load(written, &error)) __builtin_trap();
  if (platform::RegTree(again).Serialize() != written) __builtin_trap();

  // A writer keeping the lines of the keys it leaves alone writes a file that
  // holds the same hive.
  auto kept = std::make_shared<RegFile>();
  if (!kept->Load(std::string(reinterpret_cast<const char*>(data), size), &error)) __builtin_trap();
  RegFile copied;
  if (!copied.Load(platform::RegTree(std::shared_ptr<const RegFile>(kept)).Serialize(), &error) ||
      platform::RegTree(copied).Serialize() != written) {
    __builtin_trap();
  }
  return 0;
}
