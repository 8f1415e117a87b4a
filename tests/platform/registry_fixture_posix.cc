// The file-backed registry: each load points the registry at a new copy of
// the fixture, so writes never reach the source tree and no cached copy of an
// earlier test can answer.
#include <filesystem>
#include <string>
#include <system_error>

#include "common/scratch_dir.h"
#include "platform/registry.h"
#include "platform/registry_fixture.h"

namespace sqxa_test {

bool LoadRegistryFixture(const std::string& name) {
  static ScratchDir dir;  // removed when the test program ends
  static unsigned loads = 0;
  const std::string copy = dir.File(std::to_string(++loads) + "-" + name);
  std::error_code error;
  std::filesystem::copy_file(std::string(SQXA_FIXTURE_DIR) + "/registry/" + name, copy, error);
  if (!error) platform::UseRegistryFile(copy);
  return !error;
}

}  // namespace sqxa_test
