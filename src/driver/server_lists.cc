#include "driver/server_lists.h"

namespace driver {

std::unique_ptr<DbServerList> getDbServerList() { return nullptr; }

std::unique_ptr<DbConfigList> getDbConfigList(const std::string& /*instanceName*/) {
  return nullptr;
}

}  // namespace driver
