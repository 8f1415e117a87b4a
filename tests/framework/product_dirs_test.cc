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
  std::string home, config, registry;
  for (const std::string& setting : {std::string("prod"), "prod" + sep}) {
    ScopedEnv home_env("MARLOX_HOME", setting);
    ASSERT_TRUE(VFW::Util::getMarloxHomeDir(&home) &&
                VFW::Util::getMarloxConfigDir("SQ", &config) &&
                VFW::Util::getMarloxRegistryFile(&registry));
    EXPECT_EQ(home + "|" + config + "|" + registry,
              "prod" + sep + "|prod" + sep + "ORVAGT6_x64" + sep + "|prod" + sep + "registry.reg");
    ScopedEnv named("MARLOX_REGISTRY", "named.reg");  // comes before the home's
    ASSERT_TRUE(VFW::Util::getMarloxRegistryFile(&registry));
    EXPECT_EQ(registry, "named.reg");
  }
  ScopedEnv no_home("MARLOX_HOME", std::nullopt);
  EXPECT_FALSE(VFW::Util::getMarloxHomeDir(&home) || VFW::Util::getMarloxConfigDir("SQ", &config) ||
               VFW::Util::getMarloxRegistryFile(&registry));
}

}  // namespace
