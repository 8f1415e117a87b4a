#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "discovery/registry_lookup.h"
#include "discovery/sql_server_discovery.h"
#include "framework/trace.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "support/strings.h"

namespace discovery {

namespace {

constexpr const char* kFunction = "getMSSQLVersion";
constexpr const char* kServerRoot = "Software\\Microsoft\\Microsoft SQL Server\\";
constexpr const char* kInstanceNames =
    "Software\\Microsoft\\Microsoft SQL Server\\Instance Names\\SQL";
constexpr const char* kDefaultVersionKey =
    "Software\\Microsoft\\MSSQLServer\\MSSQLServer\\CurrentVersion";

enum class Release { kNone, k70, k2000, k2005, k2008 };

struct Detected {
  Release release = Release::kNone;
  uint32_t options = 0;  // KEY_WOW64_64KEY once a 64-bit edition is known
  bool edition_64bit = false;
};

bool Opens(platform::Registry* hive, const std::string& path, uint32_t options) {
  return openForValues(hive, path, options) != nullptr;
}

// The edition of a 2005 or 2008 installation, from its "Tools\Setup" key.
void DetectEdition(platform::Registry* hive, bool is2008, Detected* detected) {
  const std::string setup = std::string(kServerRoot) + (is2008 ? "100" : "90") + "\\Tools\\Setup";
  const auto key = openForValues(hive, setup, 0);
  if (key == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction,
                is2008 ? "getMSSQLVersion Unable to access key '%s'" : "Unable to access key '%s'",
                setup.c_str());
    RAS1_Printf(RAS1_DETAIL, kFunction, "%s",
                is2008 ? "getMSSQLVersion Unable to determine 64/32 bit SQL Server 2008 edition; "
                         "assuming 32-bit"
                       : "Unable to determine 64/32 bit SQL Server 2005 edition; assuming 32-bit");
    return;
  }
  std::string edition;
  (void)findValue(*key, "Edition", kDataBuffer, &edition);
  RAS1_Printf(
      RAS1_DETAIL, kFunction,
      is2008 ? "getMSSQLVersion SQL Server 2008 edition is %s" : "SQL Server 2005 edition is '%s'",
      edition.c_str());
  if (edition.find("64-bit") != std::string::npos) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "%s",
                is2008 ? "getMSSQLVersion SQL Server 2008 edition is 64-bit"
                       : "SQL Server 2005 edition is 64-bit");
    detected->options = platform::kKeyWow64_64Key;
    detected->edition_64bit = true;
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "%s",
                is2008 ? "getMSSQLVersion SQL Server 2008 edition is 32-bit"
                       : "SQL Server 2005 edition is 32-bit");
  }
}

void Detect2000(platform::Registry* hive) {
  const std::string key = std::string(kServerRoot) + "80";
  RAS1_Printf(RAS1_DETAIL, kFunction, "SQL Server 2000 Installed");
  const char* wow = "Software\\Wow6432Node";
  if (!Opens(hive, wow, 0)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "Windows is 32-bit; key '%s' does not exist", wow);
    RAS1_Printf(RAS1_DETAIL, kFunction, "SQL Server 2000 is 32-bit");
    return;
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "Windows is 64-bit; key '%s' exists", wow);
  if (Opens(hive, key, platform::kKeyWow64_64Key)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "64-bit registry key '%s' exists", key.c_str());
    RAS1_Printf(RAS1_DETAIL, kFunction, "SQL Server 2000 is 64-bit");
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "64-bit registry key '%s' does not exist", key.c_str());
    RAS1_Printf(RAS1_DETAIL, kFunction, "SQL Server 2000 is 32-bit");
  }
}

Detected DetectRelease(platform::Registry* hive) {
  Detected detected;
  if (Opens(hive, std::string(kServerRoot) + "100", 0)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion SQL Server 2008 Installed");
    detected.release = Release::k2008;
    DetectEdition(hive, true, &detected);
  } else if (Opens(hive, std::string(kServerRoot) + "90", 0)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "SQL Server 2005 Installed");
    detected.release = Release::k2005;
    DetectEdition(hive, false, &detected);
  } else if (Opens(hive, std::string(kServerRoot) + "80", 0)) {
    detected.release = Release::k2000;
    Detect2000(hive);
  } else if (Opens(hive, "Software\\Microsoft\\MSSQLServer", 0)) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion SQL Server 7.0 Installed");
    detected.release = Release::k70;
  } else {
    RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion No SQL Server detected!");
  }
  return detected;
}

// The version key of a 2005 or 2008 instance, through the instance list.
std::string VersionKeyFromInstanceList(platform::Registry* hive, const std::string& upper_name,
                                       Detected* detected, long* status) {
  if (!detected->edition_64bit && !Opens(hive, kInstanceNames, detected->options) &&
      Opens(hive, kInstanceNames, platform::kKeyWow64_64Key)) {
    detected->options = platform::kKeyWow64_64Key;
  }
  const auto key = openForValues(hive, kInstanceNames, detected->options);
  if (key == nullptr) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "No values found in key '%s'", kInstanceNames);
    *status = platform::kRegFileNotFound;
    return kDefaultVersionKey;
  }
  platform::RegValue value;
  for (uint32_t i = 0;; ++i) {
    *status = enumValue(*key, i, kDataBuffer, &value);
    RAS1_Printf(RAS1_DETAIL, kFunction, "RegEnumValue rc = %ld", *status);
    if (*status != platform::kRegSuccess) break;
    const std::string name = trimmed(value.name);
    RAS1_Printf(RAS1_DETAIL, kFunction, "Found SQL Server 2005/2008 Instance: name = %s",
                name.c_str());
    if (name == upper_name) return kServerRoot + value.data + "\\MSSQLServer\\CurrentVersion";
  }
  return kDefaultVersionKey;
}

}  // namespace

long getMSSQLVersion(const char* instanceName, char* output) {
  const char* name = instanceName != nullptr ? instanceName : "";
  std::unique_ptr<platform::Registry> hive;
  long status = platform::Registry::Connect("", &hive);
  const std::string computer = platform::ComputerName().substr(0, 15);
  Detected detected = DetectRelease(hive.get());
  RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion Obtaining SQL Server instance version...");

  char upper[128];
  std::snprintf(upper, sizeof upper, "%s", name);
  str_upper(upper);
  std::string version_key;
  if (detected.release == Release::k2005 || detected.release == Release::k2008) {
    version_key = VersionKeyFromInstanceList(hive.get(), upper, &detected, &status);
  } else if (std::strcmp(name, "MSSQLSERVER") == 0 || computer == upper) {
    version_key = kDefaultVersionKey;
  } else {
    version_key = std::string(kServerRoot) + upper + "\\MSSQLServer\\CurrentVersion";
  }

  RAS1_Printf(RAS1_DETAIL, kFunction,
              "getMSSQLVersion Locating Server '%s' Version: using key '%s'", name,
              version_key.c_str());
  std::unique_ptr<platform::RegistryKey> key;
  status = hive == nullptr
               ? platform::kRegBadDatabase
               : hive->OpenKey(version_key, platform::kKeyQueryValue | detected.options, &key);
  if (status != platform::kRegSuccess) {
    RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion Unable to open key '%s' for Server '%s'",
                version_key.c_str(), name);
    return status;
  }
  // Every value's data lands in the output, so it ends holding the key's last
  // value; callers rely on the key holding "CurrentVersion" last.
  std::string current_version;
  platform::RegValue value;
  for (uint32_t i = 0; (status = enumValue(*key, i, kDataBuffer, &value)) == platform::kRegSuccess;
       ++i) {
    if (str_icmp(value.name.c_str(), "CurrentVersion") == 0) current_version = value.data;
    std::snprintf(output, kDataBuffer, "%s", value.data.c_str());
  }
  RAS1_Printf(RAS1_DETAIL, kFunction, "getMSSQLVersion SQL Server '%s'; Current Version: '%s'",
              name, current_version.c_str());
  return status;
}

}  // namespace discovery
