// No service control manager here: every connection fails as a call the
// system does not implement.
#include "platform/service_control.h"

namespace platform {

std::unique_ptr<ServiceManager> ServiceManager::Connect(unsigned long* error) {
  *error = kServiceNotImplemented;
  return nullptr;
}

}  // namespace platform
