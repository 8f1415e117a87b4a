#include <cerrno>
#include <cstring>
#include <memory>
#include <string>

#include "driver/directory_lock.h"
#include "driver/external_commands.h"
#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "framework/trace.h"
#include "generate/agent_files.h"
#include "platform/files.h"
#include "support/server_kind.h"

namespace driver {

namespace {

constexpr const char* kFunction = "doRemoveInstance";

// Takes the instance out of the include file, then deletes its .ini and .bat
// files, all or nothing: when a step fails, those before it are undone, so
// that the instance stays listed, with its files, and can be got, put and
// removed again. `configured` no longer holds the instance. Done, or kNotDone
// after the report of what failed.
ExitStatus RemoveInstanceFiles(DbConfigList& configured, support::ServerKind kind,
                               const std::string& instance) {
  const support::KindNames* names = support::NamesOf(kind);
  if (names == nullptr || !names->scanned) {
    REPORT_ERROR("Unable to remove the files of an instance of server kind %d",
                 support::KindNumber(kind));
    return ExitStatus::kNotDone;
  }
  const std::string etc = configured.GetEtcDir(config::PathForm::kResolved) + "\\";
  const std::string include = etc + names->include_file;
  const std::string files[] = {etc + names->IniFile(instance), etc + names->BatFile(instance)};
  platform::FileSnapshot before[3];
  for (int i = 0; i < 3; ++i) {
    const std::string& path = i == 0 ? include : files[i - 1];
    if (const int status = before[i].Take(path); status != 0) {
      REPORT_ERROR("Unable to read '%s': %s", path.c_str(), std::strerror(status));
      return ExitStatus::kNotDone;
    }
  }
  const auto undo = [&](int done) {
    for (int i = done - 1; i >= 0; --i) {
      if (before[i].Restore() != 0) {
        RAS1_Printf(RAS1_ERROR, kFunction, "A file could not be put back as it was");
      }
    }
    return ExitStatus::kNotDone;
  };

  RAS1_Printf(RAS1_DETAIL, kFunction, "Regenerating the entire agent KxxINC.INI file");
  if (generate::Generate_IniIncFile(configured, kind) != 0) {
    REPORT_ERROR("Unable to generate KxxINC.INI file");
    return ExitStatus::kNotDone;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing agent instance .ini and .bat files");
  for (int i = 0; i < 2; ++i) {
    if (const int status = platform::RemoveFile(files[i]); status != 0 && status != ENOENT) {
      REPORT_ERROR("Unable to remove '%s': %s", files[i].c_str(), std::strerror(status));
      return undo(i + 1);
    }
  }
  return ExitStatus::kDone;
}

ExitStatus RemoveInstance(const char* msn) {
  std::string instance;
  if (const ExitStatus status = acceptInstanceName(msn, &instance); status != ExitStatus::kDone) {
    return status;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing instance: %s", instance.c_str());
  // Held to the end of the run, the tool's run included; taken before the run
  // writes anything, its log included.
  AgentDirectoryLock lock;
  if (lock.Acquire() == AgentDirectoryLock::kUnavailable) return ExitStatus::kRemoveNotStarted;
  std::unique_ptr<DbServerList> discovered = getDbServerList();
  if (discovered == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
    return ExitStatus::kRemoveNotStarted;
  }
  std::unique_ptr<DbConfigList> configured = getDbConfigList(instance);
  // The lists go in this order on every way out.
  const auto status = [&](ExitStatus result) {
    discovered.reset();
    configured.reset();
    return result;
  };
  if (configured == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbConfigList returned");
    return status(ExitStatus::kRemoveNotStarted);
  }
  if (!scanConfiguredInstances(configured.get())) return status(ExitStatus::kRemoveNotStarted);
  const support::ServerKind kind = support::GetServerKind();
  RAS1_Printf(RAS1_DETAIL, kFunction, "Found %d configured servers", configured->GetCount(kind));
  const config::DbConfig* record = configured->FindByName(instance, kind);
  if (record == nullptr) {
    REPORT_ERROR("Could not find configuration for server: %s", instance.c_str());
    return status(ExitStatus::kNotConfigured);
  }
  configured->Delete_Config(record, kind);

  // The files go first: they can be put back when a step fails, the
  // registration cannot. A failed unregistration leaves the files gone.
  if (const ExitStatus result = RemoveInstanceFiles(*configured, kind, instance);
      result != ExitStatus::kDone) {
    return status(result);
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Removing agent instance '%s' from registry",
              instance.c_str());
  return status(runVinConfg(ToolCommand::kRemove, instance));
}

}  // namespace

int doRemoveInstance(const char* msn) {
  Ras1Scope trace(kFunction);
  return StatusNumber(RemoveInstance(msn));
}

}  // namespace driver
