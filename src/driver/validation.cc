#include "driver/validation.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>

#include "driver/report.h"
#include "framework/trace.h"
#include "platform/files.h"
#include "support/server_kind.h"

namespace driver {

namespace {

constexpr const char* kFunction = "validateCfgParms";

bool Readable(const std::string& path) { return platform::OpenFile(path, "r") != nullptr; }

// A property that must be there; reports it when it is not.
bool Required(const VFW::ConfigSection& settings, const char* name, std::string* value) {
  if (settings.readEntry(name, value)) return true;
  REPORT_ERROR("Missing required property: %s", name);
  return false;
}

// The login and password, which Windows authentication may stand in for.
int CheckCredentials(const VFW::ConfigSection& settings, bool windows_authentication) {
  std::string login;
  RAS1_Printf(RAS1_DETAIL, kFunction, "Validating db_login");
  if (!settings.readEntry("db_login", &login)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_login");
      return VDB_RC_MISSING_PROPERTY;
    }
    REPORT_ERROR("Bypassing requirement for db_login with win auth");
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_login '%s'", login.c_str());
  std::string password;
  RAS1_Printf(RAS1_DETAIL, kFunction, "Validating db_password");
  if (!settings.readEntry("db_password", &password)) {
    if (!windows_authentication) {
      REPORT_ERROR("Missing required property: %s", "db_password");
      return VDB_RC_MISSING_PROPERTY;
    }
    REPORT_ERROR("Bypassing requirement for db_password with win auth");
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_password");
  return VDB_RC_OK;
}

int CheckVersion(const VFW::ConfigSection& settings, int minimum) {
  std::string version;
  if (!Required(settings, "db_ver", &version)) return VDB_RC_MISSING_PROPERTY;
  std::string copied;
  const int major = majorVersion(version, &copied);
  if (major < minimum) {
    REPORT_ERROR("Invalid version %d for db_ver property value '%s'", major, copied.c_str());
    return VDB_RC_BAD_VERSION;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_ver '%s'", version.c_str());
  return VDB_RC_OK;
}

// The home must hold the server's program.
int CheckHome(const VFW::ConfigSection& settings, const char* program, std::string* home) {
  RAS1_Printf(RAS1_DETAIL, kFunction, "Validating db_home");
  if (!Required(settings, "db_home", home)) return VDB_RC_MISSING_PROPERTY;
  const std::string path = *home + program;
  if (!Readable(path)) {
    REPORT_ERROR("Invalid home path db_home property value '%s'", home->c_str());
    REPORT_ERROR("File '%s' does not exist", path.c_str());
    return VDB_RC_BAD_HOME;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_home '%s'", home->c_str());
  return VDB_RC_OK;
}

}  // namespace

int majorVersion(const std::string& version, std::string* copied) {
  size_t n = version.find('.');
  if (n == std::string::npos) n = version.size();
  if (n == 0 || n >= 20) n = 2;
  // The digits are read from an 18-byte buffer: at most 17 characters.
  *copied = version.substr(0, std::min<size_t>(n, 17));
  const long major = std::strtol(copied->c_str(), nullptr, 10);
  return static_cast<int>(std::clamp<long>(major, INT_MIN, INT_MAX));
}

int checkFileExists(const std::string& path) {
  if (Readable(path)) {
    // Reported in the error form, as the framework's log readers expect.
    REPORT_ERROR("File '%s' is valid", path.c_str());
    return 0;
  }
  REPORT_ERROR("File '%s' does not exist", path.c_str());
  return 1;
}

int validateMsSqlCfgParms(const VFW::ConfigSection& settings) {
  std::string winauth = "0";
  (void)settings.readEntry("db_winauth", &winauth);
  if (const int result = CheckCredentials(settings, winauth == "1"); result != VDB_RC_OK) {
    return result;
  }
  std::string home;
  if (const int result = CheckHome(settings, "\\Binn\\sqlservr.exe", &home); result != VDB_RC_OK) {
    return result;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Validating db_errorlog");
  std::string errorlog;
  if (!settings.readEntry("db_errorlog", &errorlog)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Missing required property: db_errorlog");
    REPORT_ERROR("Missing required property: %s", "db_errorlog");
    return VDB_RC_BAD_ERRLOG;
  }
  if (!Readable(errorlog)) {
    // The trace has always spelled it so.
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "Invalide db_errorlog: errorlog file name '%s' does not exist", errorlog.c_str());
    REPORT_ERROR("Invalid db_errorlog: errorlog file name '%s' does not exist", errorlog.c_str());
    return VDB_RC_BAD_ERRLOG;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_errorlog '%s'", errorlog.c_str());
  return VDB_RC_OK;
}

int validateOracleCfgParms(const VFW::ConfigSection& settings) {
  if (const int result = CheckCredentials(settings, false); result != VDB_RC_OK) return result;
  if (const int result = CheckVersion(settings, 8); result != VDB_RC_OK) return result;
  std::string home;
  if (const int result = CheckHome(settings, "\\Bin\\oracle.exe", &home); result != VDB_RC_OK) {
    return result;
  }
  std::string errorlog;
  if (!settings.readEntry("db_errorlog", &errorlog)) {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_errorlog property not supplied. A default will be set.");
  } else if (errorlog.empty()) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "db_errorlog property is blank. A default will be set.");
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_errorlog '%s'", errorlog.c_str());
  }
  std::string tns;
  if (!settings.readEntry("db_tns", &tns)) {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                "db_tns property not supplied. Setting to default location.");
    tns = support::DefaultTnsAdmin(home);
  } else if (tns.empty()) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "db_tns property is blank. Setting to default location.");
    tns = support::DefaultTnsAdmin(home);
  }
  const std::string listener = tns + "\\listener.ora";
  if (!Readable(listener)) {
    // A missing listener file counts as a missing property.
    REPORT_ERROR("Invalid home path db_tns property value '%s'", tns.c_str());
    REPORT_ERROR("File '%s' does not exist", listener.c_str());
    return VDB_RC_MISSING_PROPERTY;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_tns '%s'", tns.c_str());
  return VDB_RC_OK;
}

int validateSybaseCfgParms(const VFW::ConfigSection& settings) {
  if (const int result = CheckCredentials(settings, false); result != VDB_RC_OK) return result;
  if (const int result = CheckVersion(settings, 11); result != VDB_RC_OK) return result;
  std::string home;
  if (!Required(settings, "db_home", &home)) return VDB_RC_MISSING_PROPERTY;
  std::string errorlog;
  if (!Required(settings, "db_errorlog", &errorlog)) return VDB_RC_MISSING_PROPERTY;
  if (!Readable(errorlog)) {
    REPORT_ERROR("Invalide db_errorlog: errorlog file name '%s' does not exist", errorlog.c_str());
    return VDB_RC_BAD_ERRLOG;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid db_errorlog '%s'", errorlog.c_str());
  RAS1_Printf(RAS1_DETAIL, kFunction, "Validating COLL_SYBASE_OCS");
  std::string ocs;
  if (!settings.readEntry("SYBASE_OCS", &ocs)) {
    REPORT_ERROR("Missing required property: %s", "COLL_SYBASE_OCS");
    return VDB_RC_MISSING_PROPERTY;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Valid COLL_SYBASE_OCS '%s'", ocs.c_str());
  return VDB_RC_OK;
}

int validateCfgParms(const VFW::InstanceConfig& instance) {
  Ras1Scope trace(kFunction);
  const VFW::ConfigSection* settings = instance.getSection("DBSETTINGS");
  if (settings == nullptr) return VDB_RC_MISSING_PROPERTY;
  switch (support::GetServerKind()) {
    case support::ServerKind::kOracle:
      return validateOracleCfgParms(*settings);
    case support::ServerKind::kSybase:
      return validateSybaseCfgParms(*settings);
    case support::ServerKind::kSqlServer:
      return validateMsSqlCfgParms(*settings);
    default:
      return VDB_RC_OK;
  }
}

}  // namespace driver
