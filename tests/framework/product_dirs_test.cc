#include <gtest/gtest.h>

#include <string>

#include "framework/product_dirs.h"
#include "platform/files.h"
#include "platform/system.h"

namespace {

class ProductDirsTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_TRUE(platform::SetEnvironment("MARLOX_REGISTRY", "")); }
  void TearDown() override { ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", "")); }
};

TEST_F(ProductDirsTest, NoHomeMeansNoDirectories) {
  ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", ""));
  std::string home = "unchanged", config = "unchanged", registry = "unchanged";
  EXPECT_FALSE(VFW::Util::getMarloxHomeDir(&home));
  EXPECT_FALSE(VFW::Util::getMarloxConfigDir("SQ", &config));
  EXPECT_FALSE(VFW::Util::getMarloxRegistryFile(&registry));
}

TEST_F(ProductDirsTest, HomeEndsInExactlyOneSeparatorAndHoldsTheRegistryFile) {
  const std::string sep(1, platform::PathSeparator());
  for (const std::string& setting : {std::string("prod"), "prod" + sep}) {
    ASSERT_TRUE(platform::SetEnvironment("MARLOX_HOME", setting));
    std::string home, config, registry;
    ASSERT_TRUE(VFW::Util::getMarloxHomeDir(&home));
    EXPECT_EQ(home, "prod" + sep);
    ASSERT_TRUE(VFW::Util::getMarloxConfigDir("SQ", &config));
    EXPECT_EQ(config, "prod" + sep + "ORVAGT6_x64" + sep);
    ASSERT_TRUE(VFW::Util::getMarloxRegistryFile(&registry));
    EXPECT_EQ(registry, "prod" + sep + "registry.reg");
  }
  ASSERT_TRUE(platform::SetEnvironment("MARLOX_REGISTRY", "named.reg"));  // before the home's
  std::string registry;
  ASSERT_TRUE(VFW::Util::getMarloxRegistryFile(&registry));
  EXPECT_EQ(registry, "named.reg");
  ASSERT_TRUE(platform::SetEnvironment("MARLOX_REGISTRY", ""));
}

}  // namespace
