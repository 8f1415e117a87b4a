#include "framework/product_dirs.h"

#include <gtest/gtest.h>

#include <string>

#include "common/scopes.h"
#include "platform/files.h"

namespace {

using sqxa_test::ScopedEnv;

TEST(ProductDirsTest, HomeEndsInExactlyOneSeparatorAndHoldsTheRegistryFile) {
  ScopedEnv no_registry("MARLOX_REGISTRY", std::nullopt);
  const std::string sep(1, platform::PathSeparator());
  for (const std::string& setting : {std::string("prod"), "prod" + sep}) {
    ScopedEnv home_env("MARLOX_HOME", setting);
    std::string home, config, registry;
    ASSERT_TRUE(VFW::Util::getMarloxHomeDir(&home));
    EXPECT_EQ(home, "prod" + sep);
    ASSERT_TRUE(VFW::Util::getMarloxConfigDir("SQ", &config));
    EXPECT_EQ(config, "prod" + sep + "ORVAGT6_x64" + sep);
    ASSERT_TRUE(VFW::Util::getMarloxRegistryFile(&registry));
    EXPECT_EQ(registry, "prod" + sep + "registry.reg");
    ScopedEnv named("MARLOX_REGISTRY", "named.reg");  // comes before the home's
    ASSERT_TRUE(VFW::Util::getMarloxRegistryFile(&registry));
    EXPECT_EQ(registry, "named.reg");
  }
  ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  std::string home = "unchanged", config = "unchanged", registry = "unchanged";
  EXPECT_FALSE(VFW::Util::getMarloxHomeDir(&home));
  EXPECT_FALSE(VFW::Util::getMarloxConfigDir("SQ", &config));
  EXPECT_FALSE(VFW::Util::getMarloxRegistryFile(&registry));
}

}  // namespace
