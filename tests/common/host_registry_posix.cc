// The file-backed registry: the host's text is the registry file, handed to
// the registry of this process and, through MARLOX_REGISTRY, of its children.
#include <filesystem>
#include <fstream>

#include "common/host_registry.h"
#include "common/scratch_dir.h"
#include "platform/registry.h"
#include "platform/system.h"

namespace sqxa_test {

bool LoadHost(const std::string& regText) {
  // Removed, with every host written, when the test program ends; children
  // started by a test have ended by then.
  static ScratchDir dir;
  static int generation = 0;
  // A new file each time, so the registry layer sees a changed file. The one
  // before goes: nothing reads it once the new one is named.
  const std::string previous = dir.File(std::to_string(generation) + ".reg");
  const std::string path = dir.File(std::to_string(++generation) + ".reg");
  std::ofstream(path, std::ios::binary) << regText;
  platform::UseRegistryFile(path);
  std::error_code ignored;
  std::filesystem::remove(previous, ignored);
  return platform::SetEnvironment("MARLOX_REGISTRY", path);
}

}  // namespace sqxa_test
