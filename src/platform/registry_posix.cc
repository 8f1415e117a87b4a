// Placeholder backend; replaced by the real one.
#include "platform/registry.h"

namespace platform {
long Registry::Connect(const std::string&, std::unique_ptr<Registry>*) { return kRegBadNetPath; }
}  // namespace platform
