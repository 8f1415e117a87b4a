#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "config/db_config.h"
#include "discovery/sql_server_discovery.h"
#include "driver/directory_lock.h"
#include "driver/external_commands.h"
#include "driver/instance_name.h"
#include "driver/operations.h"
#include "driver/report.h"
#include "driver/server_lists.h"
#include "driver/std_in.h"
#include "driver/validation.h"
#include "framework/config_parser.h"
#include "framework/trace.h"
#include "generate/agent_files.h"
#include "support/server_kind.h"

namespace driver {

namespace {

constexpr const char* kFunction = "updateInstance";

// A property that may be absent: its value, or `fallback` with the trace.
std::string Optional(const VFW::ConfigSection& settings, const char* name, const char* fallback,
                     const char* absent_trace) {
  std::string value;
  if (settings.readEntry(name, &value)) return value;
  RAS1_Printf(RAS1_DETAIL, kFunction, "%s", absent_trace);
  return fallback;
}

// An integer property: decimal conversion, 0 when absent or not a number.
int Number(const VFW::ConfigSection& settings, const char* name, const char* absent_trace) {
  return std::atoi(Optional(settings, name, "0", absent_trace).c_str());
}

const char* StoredFlag(const VFW::ConfigSection& settings, const char* name) {
  std::string value;
  return settings.readEntry(name, &value) && value == "1" ? "true" : "false";
}

// The settings that only some kinds have. Answers 0 or the put's status.
int StoreKindSettings(const VFW::ConfigSection& settings, support::ServerKind kind,
                      const std::string& home, config::DbConfig* record) {
  if (kind == support::ServerKind::kOracle) {
    std::string tns;
    if (!settings.readEntry("db_tns", &tns)) {
      tns = support::DefaultTnsAdmin(home);
      RAS1_Printf(RAS1_DETAIL, kFunction,
                  "db_tns property not supplied. Setting to default location %s.", tns.c_str());
    } else if (tns.empty()) {
      tns = support::DefaultTnsAdmin(home);
      RAS1_Printf(RAS1_DETAIL, kFunction,
                  "db_tns property is blank. Setting to default location %s.", tns.c_str());
    }
    record->setTnsAdmin(tns);
  }
  if (kind == support::ServerKind::kSqlServer || kind == support::ServerKind::kOracle) {
    record->setExtendedParams(Optional(
        settings, "db_extparms", "", "db_extparms property not supplied. Setting to NULL string."));
  }
  if (kind == support::ServerKind::kSqlServer) {
    record->setIncludeDbNames(Optional(
        settings, "db_include", "", "db_include property not supplied. Setting to NULL string."));
    record->setTbldDailyFrequency(
        Number(settings, "db_tbld_daily",
               "db_tbld_daily property not supplied. Setting to 0 (Not Enable)."));
    record->setTbldWeeklyFrequency(
        Number(settings, "db_tbld_weekly",
               "db_tbld_weekly property not supplied. Setting to 0 (Not Enable)."));
    record->setTbldMonthlyFrequency(
        Number(settings, "db_tbld_monthly",
               "db_tbld_monthly property not supplied. Setting to 0 (Not Enable)."));
    record->setTbldCtimeHrs(
        Number(settings, "db_tbld_coll_stime_hour",
               "db_tbld_coll_stime_hour property not supplied. Setting to 0 (12 AM)."));
    // The minute's message names the monthly property; its readers know it so.
    record->setTbldCtimeMins(
        Number(settings, "db_tbld_coll_stime_minute",
               "db_tbld_monthly property not supplied. Setting to 0 (00 MIN)."));
  }
  if (kind == support::ServerKind::kSybase) {
    std::string ocs;
    if (!settings.readEntry("SYBASE_OCS", &ocs)) {
      REPORT_ERROR("Missing required property: %s", "COLL_SYBASE_OCS");
      return 4;
    }
    record->setOcsDir(ocs);
  }
  return 0;
}

// A carriage return inside a value would end its line in the generated .ini
// and .bat files, and what follows it would be read back as a setting of its
// own. Answers the first property whose value holds one, or null.
const std::string* PropertyWithLineBreak(const VFW::ConfigSection& settings) {
  for (const auto& [key, value] : settings.getEntries()) {
    if (value.find('\r') != std::string::npos) return &key;
  }
  return nullptr;
}

int updateInstance(const std::string& instanceName, const VFW::InstanceConfig& instance) {
  Ras1Scope trace(kFunction);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Updating instance: InstConfig name '%s', instName '%s'",
              instance.getName().c_str(), instanceName.c_str());
  const std::string own_name = instance.getName().substr(0, 127);
  const VFW::ConfigSection* settings = instance.getSection("DBSETTINGS");
  if (settings == nullptr) {
    REPORT_ERROR("Could not find config section to persist: %s", "DBSETTINGS");
    return 6;
  }
  if (!isUsableInstanceName(instanceName)) {
    REPORT_ERROR("Invalid agent instance name: %s", instanceName.c_str());
    return 2;
  }
  if (const std::string* key = PropertyWithLineBreak(*settings); key != nullptr) {
    REPORT_ERROR("Invalid value of property %s: it holds a line break", key->c_str());
    return 4;
  }
  // Held to the end of the run, the tool's run included; taken before the run
  // writes anything, its log included.
  AgentDirectoryLock lock;
  if (lock.Acquire() == AgentDirectoryLock::kUnavailable) return 101;
  std::unique_ptr<DbServerList> discovered = getDbServerList();
  if (discovered == nullptr) {
    REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
    return 100;
  }
  std::unique_ptr<DbConfigList> configured = getDbConfigList(instanceName);
  // The lists go in this order on every way out.
  const auto status = [&](int result) {
    discovered.reset();
    configured.reset();
    return result;
  };
  if (configured == nullptr) {
    REPORT_ERROR("ERROR: NULL DbConfigList returned");
    return status(101);
  }
  if (!scanConfiguredInstances(configured.get())) return status(101);
  const support::ServerKind kind = support::GetServerKind();
  // An existing record is completed where it stands in the list; a new one
  // joins the list only once its files are written.
  config::DbConfig* existing = configured->FindByName(instanceName, kind);
  const auto fresh = std::make_unique<config::DbConfig>();
  config::DbConfig& record = existing != nullptr ? *existing : *fresh;
  if (existing != nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Using existing instance '%s'", instanceName.c_str());
  } else {
    record.setServerName(instanceName);
    RAS1_Printf(RAS1_DETAIL, kFunction, "Created new instance '%s'", instanceName.c_str());
  }

  bool default_errorlog = false;
  if (const int result = validateCfgParms(instance); result == VDB_RC_BAD_ERRLOG) {
    REPORT_ERROR_INDENTED("validateCfgParms() returned VDB_RC_BAD_ERRLOG");
    default_errorlog = true;
  } else if (result != VDB_RC_OK) {
    REPORT_ERROR("Invalid parameter(s), error code = %d", result);
    return status(result);
  }

  std::string winauth = "0";
  (void)settings->readEntry("db_winauth", &winauth);
  const bool windows_authentication = winauth == "1";
  std::string login;
  if (!settings->readEntry("db_login", &login)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_login");
      return status(4);
    }
    REPORT_ERROR("Bypassing requirement for db login with win auth");
    login = "marlox";
  }
  std::string password;
  if (!settings->readEntry("db_password", &password)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_password");
      return status(4);
    }
    REPORT_ERROR("Bypassing requirement for db password with win auth");
    password = "password";
  }
  std::string version = record.getVersion();
  if (version.empty()) {
    char detected[256] = "";
    (void)discovery::getMSSQLVersion(own_name.c_str(), detected);
    version = detected;
  }
  std::string home;
  if (!settings->readEntry("db_home", &home)) {
    REPORT_ERROR("Missing required property: %s", "db_home");
    return status(4);
  }

  std::string errorlog;
  const bool supplied = !default_errorlog && settings->readEntry("db_errorlog", &errorlog);
  if (!supplied) {
    if (!default_errorlog) {
      RAS1_Printf(RAS1_DETAIL, kFunction,
                  "db_errorlog property not supplied. Setting to default location.");
    }
    if (default_errorlog || kind == support::ServerKind::kSqlServer) {
      errorlog = home + "\\log\\errorlog";
      REPORT_ERROR("Using default error log file location: %s", errorlog.c_str());
      (void)checkFileExists(errorlog);
    } else if (kind == support::ServerKind::kOracle) {
      errorlog = "alert_" + instanceName + ".log";
      RAS1_Printf(RAS1_DETAIL, kFunction,
                  "db_errorlog property is missing. Using default error log file: %s",
                  errorlog.c_str());
    } else {
      REPORT_ERROR("Missing required property: %s", "db_errorlog");
      return status(4);
    }
  } else if (errorlog.empty() && kind == support::ServerKind::kOracle) {
    errorlog = "alert_" + instanceName + ".log";
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_errorlog property is blank. Using default error log file: '%s'",
                errorlog.c_str());
  }

  record.setLoginName(login);
  record.setPassword(password);
  record.setVersion(version);
  record.setHomeDir(home);
  record.setErrorLog(errorlog);
  record.setServerType(support::KindNumber(kind));
  if (kind == support::ServerKind::kSqlServer) {
    record.setWinAuthentication(StoredFlag(*settings, "db_winauth"));
    record.setLongLiveConnect(StoredFlag(*settings, "db_lldbconn"));
    const discovery::DbServer* server =
        discovered->find(record.getServerName(), support::ServerKind::kSqlServer);
    const char* computer = std::getenv("COMPUTERNAME");
    const std::string cluster =
        server != nullptr ? server->getClusterName() : (computer != nullptr ? computer : "");
    RAS1_Printf(RAS1_DETAIL, kFunction, "Cluster server = '%s' for server '%s'", cluster.c_str(),
                record.getServerName().c_str());
    record.setClusterServer(cluster);
  }
  if (const int result = StoreKindSettings(*settings, kind, home, &record); result != 0) {
    return status(result);
  }

  int number;
  if (existing == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Allocating new service number for server '%s'",
                record.getServerName().c_str());
    number = configured->GetAvailServiceNumber(kind);
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Obtaining existing service number for server '%s'",
                record.getServerName().c_str());
    number = configured->GetServiceNumber(kind, record);
  }
  if (number < 0) {
    REPORT_ERROR("Unable to obtain an avail service number: rc=%d", number);
    return status(102);
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent service number = '%d'", number);
  record.setServiceNumber(number);

  // Every non-zero result is a file that did not reach its place: the writers
  // answer positive codes for an .ini or .bat file that could not be written.
  if (generate::Generate_IniBatFiles(*configured, kind, record, number) != 0) {
    REPORT_ERROR_INDENTED("Unable to generate .ini and/or .bat file");
    return status(103);
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent .ini and .bat files generated");

  configured->PrintConfigs(kind);
  auto copy = std::make_unique<config::DbConfig>(record);
  if (existing == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Adding new db configuration to list for server '%s'",
                record.getServerName().c_str());
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "Replacing existing db configuration in list for server '%s'",
                record.getServerName().c_str());
    configured->Delete_Config(existing, kind);
  }
  configured->Add(std::move(copy), kind);
  configured->PrintConfigs(kind);

  if (generate::Generate_IniIncFile(*configured, kind) != 0) {
    REPORT_ERROR("Unable to generate KxxINC.INI file");
    return status(104);
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent KxxINC.INI file generated");

  const int result = runVinConfg(kVinconfgCreate, instanceName);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent instance created via vinconfg, rc = %d", result);
  return status(result);
}

}  // namespace

int doConfigPut(const char* msn) {
  Ras1Scope trace("doConfigPut");
  std::string stream;
  if (!readStdIn(&stream)) {
    REPORT_ERROR("Configuration stream too large: more than %zu bytes", kMaxStreamBytes);
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return 4;
  }
  VFW::AgentConfig config;
  if (!VFW::ConfigParser::parseConfigFromStream(stream, &config) ||
      config.getInstanceNames().empty()) {
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return 4;
  }
  const VFW::InstanceConfig& first = *config.getInstance(config.getInstanceNames().front());
  if (msn == nullptr) return updateInstance(first.getName(), first);
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn);
    return 2;
  }
  return updateInstance(instance, first);
}

}  // namespace driver
