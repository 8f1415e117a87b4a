// The file-backed registry: the host's text is the registry file, handed to
// the registry of this process and, through MARLOX_REGISTRY, of its children.
#include <filesystem>
#include <fstream>

#include "common/host_registry.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace sqxa_test {

bool LoadHost(const std::string& regText) {
  static int generation = 0;
  // A new file each time, so the registry layer sees a changed file.
  const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("sqxa-host-" + std::to_string(platform::CurrentProcessId()) +
                                      "-" + std::to_string(++generation) + ".reg");
  std::ofstream(path, std::ios::binary) << regText;
  platform::UseRegistryFile(path.string());
  return platform::SetEnvironment("MARLOX_REGISTRY", path.string());
}

}  // namespace sqxa_test
