#include <cstdio>
#include <string>

#include "crypto/key_file_cipher.h"
#include "crypto/password.h"
#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "framework/agent_config.h"
#include "framework/config_writer.h"
#include "framework/trace.h"
#include "support/server_kind.h"

namespace driver {

namespace {

const char* Flag(const std::string& stored) { return stored == "true" ? "1" : "0"; }

// The record's settings as the put reads them back.
void WriteSettings(const config::DbConfig& record, const std::string& password,
                   VFW::ConfigSection* section) {
  section->writeEntry("db_login", record.getLoginName());
  section->writeEntry("db_password", password);
  section->writeEntry("db_ver", record.getVersion());
  section->writeEntry("db_home", record.getHomeDir());
  section->writeEntry("db_errorlog", record.getErrorLog());
  if (support::GetServerKind() == support::ServerKind::kSqlServer) {
    section->writeEntry("db_winauth", Flag(record.getWinAuthentication()));
    section->writeEntry("db_lldbconn", Flag(record.getLongLiveConnect()));
    section->writeEntry("db_extparms", record.getExtendedParams());
    section->writeEntry("db_include", record.getIncludeDbNames());
    section->writeEntry("db_tbld_daily", std::to_string(record.getTbldDailyFrequency()));
    section->writeEntry("db_tbld_weekly", std::to_string(record.getTbldWeeklyFrequency()));
    section->writeEntry("db_tbld_monthly", std::to_string(record.getTbldMonthlyFrequency()));
    section->writeEntry("db_tbld_coll_stime_hour", std::to_string(record.getTbldCtimeHrs()));
    section->writeEntry("db_tbld_coll_stime_minute", std::to_string(record.getTbldCtimeMins()));
  }
  if (support::GetServerKind() == support::ServerKind::kSybase)
    section->writeEntry("SYBASE_OCS", record.getOcsDir());
  // Every stream ends with the Oracle entries: the library sets the kind to
  // Oracle at this point, and the framework's readers expect the two lines.
  support::SetServerKind(support::ServerKind::kOracle);
  if (support::GetServerKind() != support::ServerKind::kNone) {
    section->writeEntry("db_tns", record.getTnsAdmin());
    section->writeEntry("db_extparms", record.getExtendedParams());
  }
}

// The instance's record when it is configured and registered; null, after
// the report, otherwise.
const config::DbConfig* RegisteredRecord(DbConfigList* configured, const std::string& instance) {
  const support::ServerKind kind = support::GetServerKind();
  // A list that could not be read whole finds nothing: a get never answers
  // from part of the configuration.
  const bool scanned = configured != nullptr && scanConfiguredInstances(configured);
  if (scanned) {
    RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Found %d configured servers",
                configured->GetCount(kind));
  }
  const config::DbConfig* record = scanned ? configured->FindByName(instance, kind) : nullptr;
  // An instance listed but not registered (its tool died) has no settings:
  // an empty stream would pass for a configuration with none.
  if (record != nullptr && !record->isRegistered()) {
    RAS1_Printf(RAS1_DETAIL, "doConfigGet", "'%s' is listed but not registered", instance.c_str());
    record = nullptr;
  }
  if (record == nullptr) {
    REPORT_ERROR("Could not find configuration for server: %s", instance.c_str());
  }
  return record;
}

// The stream always carries the key-file form of the password, never a clear
// one: a key file that cannot be used ends the get without a stream.
ExitStatus ProtectPassword(const config::DbConfig& record, const std::string& instance,
                           std::string* password) {
  if (password->empty() || *password == "NONE") return ExitStatus::kDone;
  int status = CRY_OK;
  if (password->find(CRY_MARKER) != std::string::npos) {
    // Already protected: a missing key file takes nothing from it, a broken
    // one or one that others may read is reported all the same.
    status = CRY_CheckKeyFile();
    if (status == CRY_E_NO_KEY_FILE) status = CRY_OK;
  } else if (!convertToVDBPassword(password, record.getLoginName().c_str(), instance.c_str())) {
    status = CRY_CheckKeyFile();
    if (status == CRY_OK) status = CRY_E_BACKEND;
  }
  if (status == CRY_OK) return ExitStatus::kDone;
  std::string key_file = "(none)";
  (void)CRY_KeyFilePath(&key_file);
  REPORT_ERROR("Unable to use the key file %s: %s", key_file.c_str(), CRY_StatusText(status));
  return ExitStatus::kNotDone;
}

ExitStatus ConfigGet(const char* msn) {
  if (msn == nullptr) return ExitStatus::kDone;
  std::string instance;
  if (const ExitStatus status = acceptInstanceName(msn, &instance); status != ExitStatus::kDone) {
    return status;
  }
  RAS1_Printf(RAS1_DETAIL, "doConfigGet", "Getting config for instance: %s", instance.c_str());
  const std::unique_ptr<DbConfigList> configured = getDbConfigList(instance);
  const config::DbConfig* record = RegisteredRecord(configured.get(), instance);
  if (record == nullptr) return ExitStatus::kNotConfigured;
  std::string password = record->getPassword();
  if (const ExitStatus status = ProtectPassword(*record, instance, &password);
      status != ExitStatus::kDone) {
    return status;
  }
  VFW::AgentConfig settings;
  WriteSettings(*record, password, settings.createInstance(instance)->addSection("DBSETTINGS"));
  std::string stream;
  if (!VFW::ConfigWriter(false).writeStream(settings, &stream)) return ExitStatus::kNotDone;
  std::printf("%s", stream.c_str());
  return ExitStatus::kDone;
}

}  // namespace

int doConfigGet(const char* msn) {
  Ras1Scope trace("doConfigGet");
  return StatusNumber(ConfigGet(msn));
}

}  // namespace driver
