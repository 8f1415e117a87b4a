// A fresh directory under the system's temporary directory for one test,
// removed with everything in it when the test ends.
#pragma once

#include <atomic>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "platform/system.h"

namespace sqxa_test {

class ScratchDir {
 public:
  ScratchDir() {
    static std::atomic<unsigned> counter{0};
    path_ = std::filesystem::temp_directory_path() /
            ("sqxa-test-" + std::to_string(platform::CurrentProcessId()) + "-" +
             std::to_string(counter.fetch_add(1)));
    std::filesystem::remove_all(path_);
    std::filesystem::create_directories(path_);
  }
  ~ScratchDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;

  const std::filesystem::path& path() const { return path_; }
  // `name` inside the directory, as the system's paths are written.
  std::string File(const std::string& name) const { return (path_ / name).string(); }
  // Names of what the directory holds.
  std::vector<std::string> Entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_))
      names.push_back(entry.path().filename().string());
    return names;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace sqxa_test
