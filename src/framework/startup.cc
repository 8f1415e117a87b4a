#include "framework/startup.h"

#include <cstring>
#include <string>

#include "framework/product_dirs.h"
#include "framework/trace.h"
#include "platform/system.h"

namespace {
std::string& Component() {
  static std::string component;
  return component;
}
}  // namespace

int BSS1_Main(int* /*argc*/, char*** /*argv*/, const char* component) {
  Component() = component != nullptr ? component : "";
  RAS1_Initialize();
  VFW::Util::useMarloxRegistryFile();
  return 0;
}

int BSS1_PutEnv(const char* assignment) {
  const char* equals = assignment != nullptr ? std::strchr(assignment, '=') : nullptr;
  if (equals == nullptr || equals == assignment) return -1;
  const std::string name(assignment, equals);
  return platform::SetEnvironment(name, equals + 1) ? 0 : -1;
}

const char* BSS1_Component() { return Component().c_str(); }
