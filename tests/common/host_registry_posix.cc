#include <filesystem>
#include <fstream>

#include "common/host_registry.h"
#include "common/scratch_dir.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace sqxa_test {

bool LoadHost(const std::string& regText) {
  static ScratchDir dir;  // children started by a test have ended when it goes
  static int generation = 0;
  // A new file each time, so the registry layer sees a changed file.
  std::error_code ignored;
  std::filesystem::remove(dir.File(std::to_string(generation) + ".reg"), ignored);
  const std::string path = dir.File(std::to_string(++generation) + ".reg");
  std::ofstream(path, std::ios::binary) << regText;
  platform::UseRegistryFile(path);
  return platform::SetEnvironment("MARLOX_REGISTRY", path);
}

}  // namespace sqxa_test
