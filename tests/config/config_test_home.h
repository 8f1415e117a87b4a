// A product etc directory for the tests of the configuration store, with the
// environment the list reads its settings from.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

#include "platform/system.h"

namespace config {

class ConfigTestHome : public ::testing::Test {
 protected:
  void SetUp() override {
    etc_ = std::filesystem::temp_directory_path() /
           ("sqxa_etc_" + std::to_string(platform::CurrentProcessId()));
    std::filesystem::remove_all(etc_);
    std::filesystem::create_directories(etc_);
    ASSERT_TRUE(platform::SetEnvironment("ORVAGT6_DIR", etc_.string()));
  }
  void TearDown() override {
    ASSERT_TRUE(platform::SetEnvironment("ORVAGT6_DIR", ""));
    std::filesystem::remove_all(etc_);
  }
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(etc_ / name, std::ios::binary) << text;
  }
  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(etc_ / name);
  }
  // The etc directory as the list composes paths with it.
  [[nodiscard]] std::string Etc() const { return etc_.string(); }

  std::filesystem::path etc_;
};

}  // namespace config
