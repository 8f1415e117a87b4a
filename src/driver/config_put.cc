#include <charconv>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>

#include "config/db_config.h"
#include "discovery/sql_server_discovery.h"
#include "driver/directory_lock.h"
#include "driver/exit_status.h"
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

// An integer property: a decimal number in the range of int, 0 when absent or
// anything else (a trailing letter or an overflow included).
int Number(const VFW::ConfigSection& settings, const char* name, const char* absent_trace) {
  const std::string text = Optional(settings, name, "0", absent_trace);
  const char* first = text.c_str();
  const char* last = first + text.size();
  if (first != last && *first == '+') ++first;
  int value = 0;
  const auto [end, error] = std::from_chars(first, last, value);
  return error == std::errc() && end == last ? value : 0;
}

const char* StoredFlag(const VFW::ConfigSection& settings, const char* name) {
  std::string value;
  return settings.readEntry(name, &value) && value == "1" ? "true" : "false";
}

void StoreOracleTnsAdmin(const VFW::ConfigSection& settings, const std::string& home,
                         config::DbConfig* record) {
  std::string tns;
  if (!settings.readEntry("db_tns", &tns)) {
    tns = support::DefaultTnsAdmin(home);
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_tns property not supplied. Setting to default location %s.", tns.c_str());
  } else if (tns.empty()) {
    tns = support::DefaultTnsAdmin(home);
    RAS1_Printf(RAS1_DETAIL, kFunction, "db_tns property is blank. Setting to default location %s.",
                tns.c_str());
  }
  record->setTnsAdmin(tns);
}

void StoreSqlServerTableBuild(const VFW::ConfigSection& settings, config::DbConfig* record) {
  record->setIncludeDbNames(Optional(settings, "db_include", "",
                                     "db_include property not supplied. Setting to NULL string."));
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
  record->setTbldCtimeMins(Number(settings, "db_tbld_coll_stime_minute",
                                  "db_tbld_monthly property not supplied. Setting to 0 (00 MIN)."));
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

// The settings section, when the instance has one and its name and values
// can be used; otherwise the report and the put's status.
ExitStatus FindSettings(const std::string& instanceName, const VFW::InstanceConfig& instance,
                        const VFW::ConfigSection** settings) {
  *settings = instance.getSection("DBSETTINGS");
  if (*settings == nullptr) {
    REPORT_ERROR("Could not find config section to persist: %s", "DBSETTINGS");
    return ExitStatus::kNoSettingsSection;
  }
  if (!isUsableInstanceName(instanceName)) {
    REPORT_ERROR("Invalid agent instance name: %s", instanceName.c_str());
    return ExitStatus::kNameNotAccepted;
  }
  if (const std::string* key = PropertyWithLineBreak(**settings); key != nullptr) {
    REPORT_ERROR("Invalid value of property %s: it holds a line break", key->c_str());
    return ExitStatus::kPropertyNotUsable;
  }
  return ExitStatus::kDone;
}

// One put, from the server lists on: each step below answers done or the
// put's status, and the first that is not ends the put.
class Put {
 public:
  Put(const std::string& instanceName, const VFW::InstanceConfig& instance,
      const VFW::ConfigSection& settings)
      : instance_name_(instanceName),
        own_name_(instance.getName().substr(0, 127)),
        instance_(instance),
        settings_(settings) {}

  ExitStatus Run() {
    using Step = ExitStatus (Put::*)();
    static constexpr Step kSteps[] = {
        &Put::DiscoverServers,     // the discovered-server list
        &Put::ReadConfiguredList,  // the configured-server list, scanned
        &Put::FindOrCreateRecord,  // the instance's record, existing or new
        &Put::Validate,            // the settings checked for the kind
        &Put::ReadCredentials,     // login and password, or the bypass
        &Put::ReadVersionAndHome,  // the version, the required home
        &Put::ChooseErrorLog,      // the error log, or its default
        &Put::StoreSettings,       // the settings every kind has into the record
        &Put::StoreKindSettings,   // and those of the kind
        &Put::TakeServiceNumber,   // the instance's service number
        &Put::WriteIniBatFiles,    // the instance's .ini and .bat files
        &Put::ReplaceRecord,       // the record into the list
        &Put::WriteIncludeFile,    // the agent's include file
        &Put::RunTool,             // the instance registered by the tool
    };
    for (const Step step : kSteps) {
      if (const ExitStatus status = (this->*step)(); status != ExitStatus::kDone) return status;
    }
    return ExitStatus::kDone;
  }

  // The lists go in this order on every way out.
  void ReleaseLists() {
    discovered_.reset();
    configured_.reset();
  }

 private:
  ExitStatus DiscoverServers();
  ExitStatus ReadConfiguredList();
  ExitStatus FindOrCreateRecord();
  ExitStatus Validate();
  ExitStatus ReadCredentials();
  ExitStatus ReadVersionAndHome();
  ExitStatus ChooseErrorLog();
  ExitStatus StoreSettings();
  ExitStatus StoreKindSettings();
  ExitStatus TakeServiceNumber();
  ExitStatus WriteIniBatFiles();
  ExitStatus ReplaceRecord();
  ExitStatus WriteIncludeFile();
  ExitStatus RunTool();

  // The record's name, for the traces.
  std::string ServerName() const { return record_->getServerName(); }

  const std::string& instance_name_;
  const std::string own_name_;  // the stream's name for the instance, for the version
  const VFW::InstanceConfig& instance_;
  const VFW::ConfigSection& settings_;
  support::ServerKind kind_ = support::ServerKind::kNone;
  std::unique_ptr<DbServerList> discovered_;
  std::unique_ptr<DbConfigList> configured_;
  // An existing record is completed where it stands in the list; a new one
  // joins the list only once its files are written.
  config::DbConfig* existing_ = nullptr;
  std::unique_ptr<config::DbConfig> fresh_;
  config::DbConfig* record_ = nullptr;
  bool default_errorlog_ = false;
  std::string login_;
  std::string password_;
  std::string version_;
  std::string home_;
  std::string errorlog_;
  int service_number_ = 0;
};

ExitStatus Put::DiscoverServers() {
  discovered_ = getDbServerList();
  if (discovered_ != nullptr) return ExitStatus::kDone;
  REPORT_ERROR_INDENTED("ERROR: NULL DbServerList returned");
  return ExitStatus::kNoDiscoveredList;
}

ExitStatus Put::ReadConfiguredList() {
  configured_ = getDbConfigList(instance_name_);
  if (configured_ == nullptr) {
    REPORT_ERROR("ERROR: NULL DbConfigList returned");
    return ExitStatus::kNoConfiguredList;
  }
  if (!scanConfiguredInstances(configured_.get())) return ExitStatus::kNoConfiguredList;
  kind_ = support::GetServerKind();
  return ExitStatus::kDone;
}

ExitStatus Put::FindOrCreateRecord() {
  existing_ = configured_->FindByName(instance_name_, kind_);
  if (existing_ != nullptr) {
    record_ = existing_;
    RAS1_Printf(RAS1_DETAIL, kFunction, "Using existing instance '%s'", instance_name_.c_str());
  } else {
    fresh_ = std::make_unique<config::DbConfig>();
    record_ = fresh_.get();
    record_->setServerName(instance_name_);
    RAS1_Printf(RAS1_DETAIL, kFunction, "Created new instance '%s'", instance_name_.c_str());
  }
  return ExitStatus::kDone;
}

// A bad error log is no failure: it only has the default taken.
ExitStatus Put::Validate() {
  if (const int result = validateCfgParms(instance_); result == VDB_RC_BAD_ERRLOG) {
    REPORT_ERROR_INDENTED("validateCfgParms() returned VDB_RC_BAD_ERRLOG");
    default_errorlog_ = true;
  } else if (result != VDB_RC_OK) {
    REPORT_ERROR("Invalid parameter(s), error code = %d", result);
    return ExitStatus{result};
  }
  return ExitStatus::kDone;
}

// With Windows authentication the login and password may be left out.
ExitStatus Put::ReadCredentials() {
  std::string winauth = "0";
  (void)settings_.readEntry("db_winauth", &winauth);
  const bool windows_authentication = winauth == "1";
  if (!settings_.readEntry("db_login", &login_)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_login");
      return ExitStatus::kPropertyMissing;
    }
    REPORT_ERROR("Bypassing requirement for db login with win auth");
    login_ = "marlox";
  }
  if (!settings_.readEntry("db_password", &password_)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_password");
      return ExitStatus::kPropertyMissing;
    }
    REPORT_ERROR("Bypassing requirement for db password with win auth");
    password_ = "password";
  }
  return ExitStatus::kDone;
}

// The version is the record's, or the one the server reports; never the stream's.
ExitStatus Put::ReadVersionAndHome() {
  version_ = record_->getVersion();
  if (version_.empty()) {
    char detected[256] = "";
    (void)discovery::getMSSQLVersion(own_name_.c_str(), detected);
    version_ = detected;
  }
  if (!settings_.readEntry("db_home", &home_)) {
    REPORT_ERROR("Missing required property: %s", "db_home");
    return ExitStatus::kPropertyMissing;
  }
  return ExitStatus::kDone;
}

ExitStatus Put::ChooseErrorLog() {
  const bool supplied = !default_errorlog_ && settings_.readEntry("db_errorlog", &errorlog_);
  if (supplied) {
    if (errorlog_.empty() && kind_ == support::ServerKind::kOracle) {
      errorlog_ = "alert_" + instance_name_ + ".log";
      RAS1_Printf(RAS1_DETAIL, kFunction,
                  "db_errorlog property is blank. Using default error log file: '%s'",
                  errorlog_.c_str());
    }
    return ExitStatus::kDone;
  }
  if (!default_errorlog_) {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_errorlog property not supplied. Setting to default location.");
  }
  if (default_errorlog_ || kind_ == support::ServerKind::kSqlServer) {
    errorlog_ = home_ + "\\log\\errorlog";
    REPORT_ERROR("Using default error log file location: %s", errorlog_.c_str());
    (void)checkFileExists(errorlog_);
  } else if (kind_ == support::ServerKind::kOracle) {
    errorlog_ = "alert_" + instance_name_ + ".log";
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_errorlog property is missing. Using default error log file: %s",
                errorlog_.c_str());
  } else {
    REPORT_ERROR("Missing required property: %s", "db_errorlog");
    return ExitStatus::kPropertyMissing;
  }
  return ExitStatus::kDone;
}

// The settings every kind has, and SQL Server's flags and cluster.
ExitStatus Put::StoreSettings() {
  record_->setLoginName(login_);
  record_->setPassword(password_);
  record_->setVersion(version_);
  record_->setHomeDir(home_);
  record_->setErrorLog(errorlog_);
  record_->setServerType(support::KindNumber(kind_));
  if (kind_ != support::ServerKind::kSqlServer) return ExitStatus::kDone;
  record_->setWinAuthentication(StoredFlag(settings_, "db_winauth"));
  record_->setLongLiveConnect(StoredFlag(settings_, "db_lldbconn"));
  const discovery::DbServer* server =
      discovered_->find(record_->getServerName(), support::ServerKind::kSqlServer);
  const char* computer = std::getenv("COMPUTERNAME");
  const std::string cluster =
      server != nullptr ? server->getClusterName() : (computer != nullptr ? computer : "");
  RAS1_Printf(RAS1_DETAIL, kFunction, "Cluster server = '%s' for server '%s'", cluster.c_str(),
              ServerName().c_str());
  record_->setClusterServer(cluster);
  return ExitStatus::kDone;
}

// The settings that only some kinds have.
ExitStatus Put::StoreKindSettings() {
  if (kind_ == support::ServerKind::kOracle) StoreOracleTnsAdmin(settings_, home_, record_);
  if (kind_ == support::ServerKind::kSqlServer || kind_ == support::ServerKind::kOracle) {
    record_->setExtendedParams(
        Optional(settings_, "db_extparms", "",
                 "db_extparms property not supplied. Setting to NULL string."));
  }
  if (kind_ == support::ServerKind::kSqlServer) StoreSqlServerTableBuild(settings_, record_);
  if (kind_ == support::ServerKind::kSybase) {
    std::string ocs;
    if (!settings_.readEntry("SYBASE_OCS", &ocs)) {
      REPORT_ERROR("Missing required property: %s", "COLL_SYBASE_OCS");
      return ExitStatus::kPropertyMissing;
    }
    record_->setOcsDir(ocs);
  }
  return ExitStatus::kDone;
}

// A new instance takes the lowest free number, an existing one keeps its own.
ExitStatus Put::TakeServiceNumber() {
  if (existing_ == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Allocating new service number for server '%s'",
                ServerName().c_str());
    service_number_ = configured_->GetAvailServiceNumber(kind_);
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Obtaining existing service number for server '%s'",
                ServerName().c_str());
    service_number_ = configured_->GetServiceNumber(kind_, *record_);
  }
  if (service_number_ < 0) {
    REPORT_ERROR("Unable to obtain an avail service number: rc=%d", service_number_);
    return ExitStatus::kNoServiceNumber;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent service number = '%d'", service_number_);
  record_->setServiceNumber(service_number_);
  return ExitStatus::kDone;
}

ExitStatus Put::WriteIniBatFiles() {
  // Every non-zero result is a file that did not reach its place: the writers
  // answer positive codes for an .ini or .bat file that could not be written.
  if (generate::Generate_IniBatFiles(*configured_, kind_, *record_, service_number_) != 0) {
    REPORT_ERROR_INDENTED("Unable to generate .ini and/or .bat file");
    return ExitStatus::kFilesNotWritten;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent .ini and .bat files generated");
  return ExitStatus::kDone;
}

// The list takes a copy of the record, in place of the one it held.
ExitStatus Put::ReplaceRecord() {
  configured_->PrintConfigs(kind_);
  auto copy = std::make_unique<config::DbConfig>(*record_);
  if (existing_ == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Adding new db configuration to list for server '%s'",
                ServerName().c_str());
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "Replacing existing db configuration in list for server '%s'",
                ServerName().c_str());
    configured_->Delete_Config(existing_, kind_);
    existing_ = record_ = copy.get();
  }
  configured_->Add(std::move(copy), kind_);
  configured_->PrintConfigs(kind_);
  return ExitStatus::kDone;
}

ExitStatus Put::WriteIncludeFile() {
  if (generate::Generate_IniIncFile(*configured_, kind_) != 0) {
    REPORT_ERROR("Unable to generate KxxINC.INI file");
    return ExitStatus::kIncludeFileNotWritten;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent KxxINC.INI file generated");
  return ExitStatus::kDone;
}

// New and existing instances alike; the tool's result is the put's.
ExitStatus Put::RunTool() {
  const ExitStatus result = runVinConfg(ToolCommand::kCreate, instance_name_);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Agent instance created via vinconfg, rc = %d",
              StatusNumber(result));
  return result;
}

ExitStatus updateInstance(const std::string& instanceName, const VFW::InstanceConfig& instance) {
  Ras1Scope trace(kFunction);
  RAS1_Printf(RAS1_DETAIL, kFunction, "Updating instance: InstConfig name '%s', instName '%s'",
              instance.getName().c_str(), instanceName.c_str());
  const VFW::ConfigSection* settings = nullptr;
  if (const ExitStatus status = FindSettings(instanceName, instance, &settings);
      status != ExitStatus::kDone) {
    return status;
  }
  // Held to the end of the run, the tool's run included; taken before the run
  // writes anything, its log included.
  AgentDirectoryLock lock;
  if (lock.Acquire() == AgentDirectoryLock::kUnavailable) return ExitStatus::kNoConfiguredList;
  Put put(instanceName, instance, *settings);
  const ExitStatus status = put.Run();
  put.ReleaseLists();
  return status;
}

}  // namespace

int doConfigPut(const char* msn) {
  Ras1Scope trace("doConfigPut");
  std::string stream;
  if (!readStdIn(&stream)) {
    REPORT_ERROR("Configuration stream too large: more than %zu bytes", kMaxStreamBytes);
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return StatusNumber(ExitStatus::kStreamNotParsed);
  }
  VFW::AgentConfig config;
  if (!VFW::ConfigParser::parseConfigFromStream(stream, &config) ||
      config.getInstanceNames().empty()) {
    REPORT_ERROR_INDENTED("Error parsing config stream");
    return StatusNumber(ExitStatus::kStreamNotParsed);
  }
  // The settings are the first instance's, whatever the MSN names.
  const VFW::InstanceConfig& first = *config.getInstance(config.getInstanceNames().front());
  if (msn == nullptr) return StatusNumber(updateInstance(first.getName(), first));
  std::string instance;
  if (!getInstanceName(msn, &instance)) {
    REPORT_ERROR("Invalid format for MSN: %s.", msn);
    return StatusNumber(ExitStatus::kNameNotAccepted);
  }
  return StatusNumber(updateInstance(instance, first));
}

}  // namespace driver
