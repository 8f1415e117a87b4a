#include <memory>
#include <string>

#include "config/instance_removal.h"
#include "driver/directory_lock.h"
#include "driver/external_commands.h"
#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "framework/trace.h"
#include "generate/agent_files.h"
#include "support/server_kind.h"

namespace driver {

int doRemoveInstance(const char* msn) {
  constexpr const char* kFunction = "doRemoveInstance";
  Ras1Scope trace(kFunction);
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn != nullptr ? msn : "(null)");
    return 2;
  }
  if (!isUsableInstanceName(instance)) {
    REPORT_ERROR("Invalid agent instance name: %s", instance.c_str());
    return 2;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing instance: %s", instance.c_str());
  std::unique_ptr<DbServerList> discovered = getDbServerList();
  if (discovered == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
    return 3;
  }
  std::unique_ptr<DbConfigList> configured = getDbConfigList(instance);
  const auto status = [&](int result) {
    discovered.reset();
    configured.reset();
    return result;
  };
  if (configured == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbConfigList returned");
    return status(3);
  }
  const std::unique_ptr<platform::FileLock> lock = lockAgentDirectory(configured->GetEtcDir(1));
  if (lock == nullptr) return status(3);

  const int kind = GetServerKind();
  configured->ScanPreConfig(kind);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Found %d configured servers", configured->GetCount(kind));
  const config::DbConfig* record = configured->FindByName(instance, kind);
  if (record == nullptr) {
    REPORT_ERROR("Could not find configuration for server: %s", instance.c_str());
    return status(2);
  }
  configured->Delete_Config(record, kind);

  // A failed unregistration does not stop the removal of the files.
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing agent instance '%s' from registry",
              instance.c_str());
  const int result = runVinConfg(kVinconfgRemove, instance);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing agent instance .ini and .bat files");
  config::RemoveInstanceFiles(kind, configured->GetEtcDir(1), instance);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Regenerating the entire agent KxxINC.INI file");
  (void)generate::Generate_IniIncFile(*configured, kind);
  return status(result);
}

}  // namespace driver
