#include <gtest/gtest.h>

#include <string>

#include "framework/product_dirs.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

class ProductDirsTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", ""));
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_REGISTRY", ""));
  }
};

TEST_F(ProductDirsTest, NoHomeMeansNoDirectories) {
  ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", ""));
  std::string home = "unchanged", config = "unchanged";
  EXPECT_FALSE(VFW::Util::getMarloxHomeDir(&home));
  EXPECT_FALSE(VFW::Util::getMarloxConfigDir("SQ", &config));
}

TEST_F(ProductDirsTest, HomeEndsInExactlyOneSeparator) {
  const std::string sep(1, platform::PathSeparator());
  for (const std::string& setting : {std::string("prod"), "prod" + sep}) {
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", setting));
    std::string home, config;
    ASSERT_TRUE(VFW::Util::getMarloxHomeDir(&home));
    EXPECT_EQ(home, "prod" + sep);
    ASSERT_TRUE(VFW::Util::getMarloxConfigDir("SQ", &config));
    EXPECT_EQ(config, "prod" + sep + "ORVAGT6_x64" + sep);
  }
}

TEST_F(ProductDirsTest, RegistryFileIsTheNamedOneElseTheHomes) {
  const std::string in_home = "prod" + std::string(1, platform::PathSeparator()) + "registry.reg";
  struct Case {
    const char* registry;
    const char* home;
    std::string expected;  // "" for none
  };
  for (const Case& c :
       {Case{"named.reg", "prod", "named.reg"}, Case{"", "prod", in_home}, Case{"", "", ""}}) {
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_REGISTRY", c.registry));
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", c.home));
    std::string path;
    EXPECT_EQ(VFW::Util::getMarloxRegistryFile(&path), !c.expected.empty()) << c.registry;
    EXPECT_EQ(path, c.expected);
  }
}

}  // namespace
