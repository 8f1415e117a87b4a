#include "framework/product_dirs.h"

#include <cstdlib>

#include "platform/files.h"
#include "platform/registry.h"

namespace VFW::Util {

bool getMarloxHomeDir(std::string* home) {
  const char* value = std::getenv("MARLOX_HOME");
  if (value == nullptr || *value == '\0') return false;
  *home = value;
  const char separator = platform::PathSeparator();
  if (home->back() != separator) home->push_back(separator);
  return true;
}

bool getMarloxConfigDir(const std::string& /*product*/, std::string* directory) {
  std::string home;
  if (!getMarloxHomeDir(&home)) return false;
  *directory = home + "ORVAGT6_x64" + platform::PathSeparator();
  return true;
}

bool getMarloxRegistryFile(std::string* path) {
  const char* file = std::getenv("MARLOX_REGISTRY");
  if (file != nullptr && *file != '\0') {
    *path = file;
    return true;
  }
  std::string home;
  if (!getMarloxHomeDir(&home)) return false;
  *path = home + "registry.reg";
  return true;
}

void useMarloxRegistryFile() {
  std::string path;
  platform::UseRegistryFile(getMarloxRegistryFile(&path) ? path : std::string());
}

}  // namespace VFW::Util
