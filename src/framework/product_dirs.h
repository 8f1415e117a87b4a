// The product's directories.
//
// The product home H is the environment variable MARLOX_HOME with one
// separator appended when it does not end in one; the configuration directory
// is H + "ORVAGT6_x64" + separator. Without MARLOX_HOME (unset or empty) there
// is neither.
//
// The registry file (where the registry is a file rather than the system's) is
// the environment variable MARLOX_REGISTRY, else H + "registry.reg".
#pragma once

#include <string>

namespace VFW::Util {

[[nodiscard]] bool getMarloxHomeDir(std::string* home);
// `product` names the agent product ("SQ"); every product of this build shares
// one configuration directory.
[[nodiscard]] bool getMarloxConfigDir(const std::string& product, std::string* directory);
// False when neither MARLOX_REGISTRY nor MARLOX_HOME is set.
[[nodiscard]] bool getMarloxRegistryFile(std::string* path);
// Hands the registry file (none when there is none) to the registry of the
// platform layer. BSS1_Main does it; a program without it calls this first.
void useMarloxRegistryFile();

}  // namespace VFW::Util
