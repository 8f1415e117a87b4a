#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "discovery/other_discovery.h"
#include "discovery/registry_lookup.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "platform/system.h"
#include "support/line_reader.h"
#include "support/server_kind.h"
#include "support/strings.h"

namespace discovery {

namespace {

constexpr size_t kMaxSids = 50;
constexpr size_t kAutostartSuffix = 10;  // "_AUTOSTART"

// What one home key tells.
struct OracleHome {
  std::string base;
  std::string home;
  std::string tns_admin;
  std::string init_file;  // the PFILE of a numbered home
  bool has_base = false;
  bool has_home = false;
  bool has_tns_admin = false;
  bool has_pfile = false;
  std::vector<std::string> sids;
};

std::string Upper(std::string text) {
  str_upper(text.data());
  return text;
}

OracleHome ReadHome(platform::RegistryKey& key, bool numbered) {
  OracleHome found;
  platform::RegValue value;
  std::string default_sid;
  for (uint32_t i = 0; enumValue(key, i, kDataBuffer, &value) == platform::kRegSuccess; ++i) {
    if (str_icmp(value.name.c_str(), "ORACLE_SID") == 0) default_sid = Upper(value.data);
  }
  const std::string autostart = "ORA_" + default_sid + "_AUTOSTART";
  const std::string pfile = "ORA_" + default_sid + "_PFILE";

  for (uint32_t i = 0; found.sids.size() < kMaxSids &&
                       enumValue(key, i, kDataBuffer, &value) == platform::kRegSuccess;
       ++i) {
    const char* name = value.name.c_str();
    if (str_icmp(name, "ORACLE_BASE") == 0) {
      found.base = value.data;
      found.has_base = true;
    } else if (str_icmp(name, "ORACLE_HOME") == 0) {
      found.home = value.data;
      found.has_home = true;
    } else if (str_icmp(name, "TNS_ADMIN") == 0) {
      found.tns_admin = value.data;
      found.has_tns_admin = true;
    } else if (numbered && str_icmp(name, pfile.c_str()) == 0) {
      found.init_file = value.data;
      found.has_pfile = true;
    } else if (value.name.find("_AUTOSTART") != std::string::npos) {
      const std::string trimmed_name = trimmed(value.name);
      if (str_icmp(name, autostart.c_str()) == 0) {
        found.sids.push_back(default_sid);
      } else if (trimmed_name.compare(0, 4, "ORA_") == 0 &&
                 trimmed_name.size() >= 4 + kAutostartSuffix) {
        found.sids.push_back(trimmed_name.substr(4, trimmed_name.size() - 4 - kAutostartSuffix));
      }
    }
  }
  return found;
}

void ScanHome(platform::Registry* hive, const std::string& path, uint32_t options, bool numbered,
              std::string version, DbServerList* list) {
  const auto key = openForValues(hive, path, options);
  if (key == nullptr) return;
  const OracleHome found = ReadHome(*key, numbered);
  if (numbered) {
    if (!found.has_pfile) {
      version = "9.2.0";
    } else {
      version = resolveInitFile(found.init_file) != found.init_file ? "9.0.1" : "8.1.X";
    }
  }
  if (!found.has_base || !found.has_home) return;

  const bool old_release = version == "8.1.X" || version == "9.0.1";
  for (const std::string& sid : found.sids) {
    auto server = std::make_unique<DbServerOra>(sid);
    server->setServerName(sid);
    server->setHome(found.home);
    server->setVersion(version);
    server->setServiceName("OracleService" + sid);
    server->setErrorLogName(old_release ? sid + "alrt.log" : "alert_" + sid + ".log");
    server->setExtraText3(found.has_tns_admin ? found.tns_admin
                                              : support::DefaultTnsAdmin(found.home));
    server->setExtraText2(found.base);
    server->setInitFileName(found.init_file);
    std::unique_ptr<DbServer> record = std::move(server);
    list->add(record, ServerKind::kOracle);
  }
}

// The value of an init file's "IFILE" entry: on a line that does not begin
// with "#", the text after the "=" that follows the (upper-case) name, without
// quotes and blanks at either end. False for any other line.
bool IfileEntry(std::string line, std::string* value) {
  line.erase(line.find_last_not_of(" \t\r") + 1);
  if (!line.empty() && line[0] == '#') return false;
  const size_t name = line.find("IFILE");
  if (name == std::string::npos) return false;
  const size_t equals = line.find('=', name + 5);
  if (equals == std::string::npos) return false;
  const size_t first = line.find_first_not_of(" \t'\"", equals + 1);
  const size_t last = line.find_last_not_of(" \t'\"");
  *value = first == std::string::npos ? "" : line.substr(first, last - first + 1);
  return true;
}

}  // namespace

std::string resolveInitFile(const std::string& initFile) {
  discoveryTrace("[DEB] filename[%s]\n", initFile.c_str());
  std::string resolved;
  bool found = false;
  if (const platform::File file = platform::OpenFile(initFile, "r"); file != nullptr) {
    std::string line;
    while (!found && support::ReadLine(file.get(), &line)) found = IfileEntry(line, &resolved);
  }
  if (!found) {
    std::printf("No change in initfile\n");
    return initFile;
  }
  discoveryTrace("[DEB] filename2[%s]\n", resolved.c_str());
  return resolved;
}

void scanOracleServers(DbServerList* list) {
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect(list->getMachine(), &hive);
  const platform::OsVersion os = platform::GetOsVersion();
  const uint32_t options = os.major == 5 && os.minor == 0 ? 0 : platform::kKeyWow64_64Key;
  if (openForValues(hive.get(), "Software\\Oracle", options) == nullptr) return;

  int homes = 0;
  if (const auto all = openForValues(hive.get(), "Software\\Oracle\\ALL_HOMES", options)) {
    std::string counter;
    // Leading digits as atoi reads them: the installer's counter, whatever follows it.
    if (findValue(*all, "HOME_COUNTER", kDataBuffer, &counter)) homes = std::atoi(counter.c_str());
  }
  // Homes past the fourth are all read from HOME3, as the installer numbers them.
  for (int i = 0; i < homes; ++i) {
    const std::string key = "Software\\Oracle\\HOME" + std::to_string(i < 3 ? i : 3);
    ScanHome(hive.get(), key, options, true, "", list);
  }
  static const struct {
    const char* key;
    const char* version;
  } kReleaseHomes[] = {
      {"Software\\Oracle\\KEY_OraDb10g_home1", "10.1"},
      {"Software\\Oracle\\KEY_OraDb10g_home2", "10.1"},
      {"Software\\Oracle\\KEY_OraDb10g_home3", "10.1"},
      {"Software\\Oracle\\KEY_OraDb11g_home1", "11.1"},
      {"Software\\Oracle\\KEY_OraDb11g_home2", "11.1"},
      {"Software\\Oracle\\KEY_OraDb11g_home3", "11.1"},
  };
  for (const auto& release : kReleaseHomes) {
    ScanHome(hive.get(), release.key, options, false, release.version, list);
  }
}

}  // namespace discovery
