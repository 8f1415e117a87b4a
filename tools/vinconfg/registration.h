// Registration of agent instances in the registry of this machine, under
// "Software\Marlox\<product>\<version>\<instance>\Environment".
#pragma once

#include <string>

namespace vinconfg {

// Exit statuses of the tool.
inline constexpr int kDone = 0;
inline constexpr int kUsage = 1;            // the command line is not understood
inline constexpr int kBadInstanceFile = 2;  // missing, unreadable or without identity
inline constexpr int kRegistryFailed = 3;   // the registry could not be read or written
inline constexpr int kNoHome = 4;           // MARLOX_HOME is not set

// Registers the instance described by the .ini file `iniPath` as `instance`:
// the entries of its "[Local Settings]" sections, then of its "[Override Local
// Settings]" section (a later entry of a name wins), with their placeholders
// resolved, become the text values of the instance's "Environment" key, in
// place of what it held. Reports a failure on standard error.
[[nodiscard]] int RegisterInstance(const std::string& iniPath, const std::string& instance);

// Deletes the key of `instance` (with everything below it) under every version
// of `product`. The default instance (an empty name) is registered directly
// under the version, so its "Environment" key is what goes. Nothing to delete
// is not a failure.
[[nodiscard]] int UnregisterInstance(const std::string& product, const std::string& instance);

}  // namespace vinconfg
