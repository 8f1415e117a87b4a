// The product's directories.
//
// The product home H is the environment variable MARLOX_HOME with one
// separator appended when it does not end in one; the configuration directory
// is H + "ORVAGT6_x64" + separator. Without MARLOX_HOME (unset or empty) there
// is neither.
#pragma once

#include <string>

namespace VFW::Util {

[[nodiscard]] bool getMarloxHomeDir(std::string* home);
// `product` names the agent product ("SQ"); every product of this build shares
// one configuration directory.
[[nodiscard]] bool getMarloxConfigDir(const std::string& product, std::string* directory);

}  // namespace VFW::Util
