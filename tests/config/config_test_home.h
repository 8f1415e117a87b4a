// A product etc directory for the tests of the configuration store, with the
// environment the list reads its settings from.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "common/scopes.h"
#include "common/scratch_dir.h"

namespace config {

class ConfigTestHome : public ::testing::Test {
 protected:
  void Write(const std::string& name, const std::string& text) const {
    std::ofstream(etc_ / name, std::ios::binary) << text;
  }
  [[nodiscard]] bool Exists(const std::string& name) const {
    return std::filesystem::exists(etc_ / name);
  }
  // The etc directory as the list composes paths with it.
  [[nodiscard]] std::string Etc() const { return etc_.string(); }

  sqxa_test::ScratchDir scratch_;
  const std::filesystem::path etc_ = scratch_.path();
  sqxa_test::ScopedEnv etc_env_{"ORVAGT6_DIR", etc_.string()};
};

}  // namespace config
