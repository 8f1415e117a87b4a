// Any bytes as the MSN of -i, -g, -p or -r: the instance name is derived
// without a crash or an overrun, and an accepted one is the text before the
// first colon (two colons or more) or the default instance (one colon).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "driver/instance_name.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string msn(reinterpret_cast<const char*>(data), size);
  std::string name;
  if (!driver::getInstanceName(msn.c_str(), &name)) return 0;
  const std::string text = msn.c_str();  // the argument ends at its first NUL
  const size_t first = text.find(':');
  const bool two = first != std::string::npos && text.find(':', first + 1) != std::string::npos;
  if (name != (two ? text.substr(0, first) : std::string())) std::abort();
  (void)driver::isUsableInstanceName(name);
  return 0;
}
