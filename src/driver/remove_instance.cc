#include <string>

#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "framework/trace.h"

namespace driver {

int doRemoveInstance(const char* msn) {
  Ras1Scope trace("doRemoveInstance");
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn != nullptr ? msn : "(null)");
    return 2;
  }
  RAS1_Printf(RAS1_DETAIL, "doRemoveInstance", "Removing instance: %s", instance.c_str());
  const std::unique_ptr<DbServerList> discovered = getDbServerList();
  if (discovered == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
    return 3;
  }
  const std::unique_ptr<DbConfigList> configured = getDbConfigList(instance);
  if (configured == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbConfigList returned");
    return 3;
  }
  return 0;
}

}  // namespace driver
