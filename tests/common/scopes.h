// What a test changes in its process, given back when the test ends: an
// environment variable, the current directory.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/system.h"

namespace sqxa_test {

// Sets (or, with no value, removes) a variable for the life of the object.
class ScopedEnv {
 public:
  ScopedEnv(std::string name, const std::optional<std::string>& value) : name_(std::move(name)) {
    if (const char* old = std::getenv(name_.c_str()); old != nullptr) old_ = old;
    Put(value);
  }
  ~ScopedEnv() { Put(old_); }
  ScopedEnv(const ScopedEnv&) = delete;
  ScopedEnv& operator=(const ScopedEnv&) = delete;

 private:
  void Put(const std::optional<std::string>& value) const {
    if (!value) return platform::UnsetEnvironment(name_);
    (void)platform::SetEnvironment(name_, *value);
  }
  std::string name_;
  std::optional<std::string> old_;
};

// Makes `directory` current for the life of the object.
class ScopedCwd {
 public:
  explicit ScopedCwd(const std::filesystem::path& directory) {
    std::filesystem::current_path(directory);
  }
  ~ScopedCwd() {
    std::error_code ignored;
    std::filesystem::current_path(old_, ignored);
  }
  ScopedCwd(const ScopedCwd&) = delete;
  ScopedCwd& operator=(const ScopedCwd&) = delete;

 private:
  std::filesystem::path old_ = std::filesystem::current_path();
};

}  // namespace sqxa_test
