#include <string>

#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "framework/trace.h"

namespace driver {

int doConfigGet(const char* msn) {
  Ras1Scope trace("doConfigGet");
  if (msn == nullptr) return 0;
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn);
    return 2;
  }
  RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Getting config for instance: %s", instance.c_str());
  const std::unique_ptr<DbConfigList> configured = getDbConfigList(instance);
  if (configured == nullptr) {
    REPORT_ERROR("Could not find configuration for server: %s", instance.c_str());
    return 2;
  }
  return 0;
}

}  // namespace driver
