// The list of configured instances rebuilt from the include file, which names
// each instance's management-agent file, and from each instance's registry key.
#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "config/db_config_list.h"
#include "discovery/registry_lookup.h"
#include "platform/files.h"
#include "platform/registry.h"
#include "support/server_kind.h"
#include "support/strings.h"

namespace config {

namespace {

// The text values of an instance key that fill a record.
struct ScannedValues {
  std::string server_id, logon, password, version, home, errorlog, cluster, ocs, tns_admin;
  std::string disable_cursors, long_live, win_auth, include_names, port;
  int service_number = -1;
};

// The integer settings carry over from one instance to the next when a key
// lacks them: the scan has always kept them between records.
struct CarriedNumbers {
  int daily = 0, weekly = 0, monthly = 0, hours = 0, minutes = 0;
  int startup_rows = 0, startup_time = 0, max_rows = 0;
};

// Keeps `value` when its name (`name`, in capitals) is that of a setting.
bool Take(std::string_view name, const platform::RegValue& value, ScannedValues* text,
          CarriedNumbers* numbers) {
  const struct {
    std::string_view name;
    std::string* target;
  } texts[] = {{"COLL_SERVERID", &text->server_id},
               {"COLL_LOGON", &text->logon},
               {"COLL_PASSWORD", &text->password},
               {"COLL_DBVERSION", &text->version},
               {"COLL_DBHOME", &text->home},
               {"COLL_ERRORLOG", &text->errorlog},
               {"COLL_CLUSTERSERVER", &text->cluster},
               {"SYBASE_OCS", &text->ocs},
               {"TNS_ADMIN", &text->tns_admin},
               {"COLL_DISABLE_CURSORS", &text->disable_cursors},
               {"COLL_LONG_LIVE_CONNECT", &text->long_live},
               {"COLL_WINAUTHENTICATION", &text->win_auth},
               {"COLL_INCLUDE_DBNAMES", &text->include_names},
               {"COLL_PORT", &text->port}};
  for (const auto& entry : texts) {
    if (name == entry.name) {
      *entry.target = value.data;
      return true;
    }
  }
  const struct {
    std::string_view name;
    int* target;
  } decimals[] = {{"COLL_SERVICENUMBER", &text->service_number},
                  {"COLL_TBLD_DAILY_FREQUENCY", &numbers->daily},
                  {"COLL_TBLD_WEEKLY_FREQUENCY", &numbers->weekly},
                  {"COLL_TBLD_MONTHLY_FREQUENCY", &numbers->monthly},
                  {"COLL_TBLD_CTIME_HRS", &numbers->hours},
                  {"COLL_TBLD_CTIME_MINS", &numbers->minutes},
                  {"COLL_ERRORLOG_STARTUP_MAX_EVENT_ROW", &numbers->startup_rows},
                  {"COLL_ERRORLOG_STARTUP_MAX_TIME", &numbers->startup_time},
                  {"COLL_ERRORLOG_MAX_EVENT_ROW", &numbers->max_rows}};
  for (const auto& entry : decimals) {
    if (name != entry.name) continue;
    if (entry.target == &text->service_number) {
      // The leading digits, as the agent reads its own registration.
      *entry.target = std::atoi(value.data.c_str());
    } else if (support::ParseDecimal(value.data, entry.target) == EINVAL) {
      *entry.target = 0;  // a setting that is no number counts as none
    }
    return true;
  }
  return false;
}

// Takes what the registration "<key_stem>\Environment" holds; whether there
// is one.
bool ReadRegistration(DbConfigList& list, platform::Registry* hive, const std::string& key_stem,
                      ScannedValues* text, CarriedNumbers* numbers) {
  const std::string key_path = key_stem + "\\Environment";
  list.Output(Channel::kLog, "ScanPreConfig: registry string: %s\n", key_path.c_str());
  const auto key = discovery::openForValues(hive, key_path, 0);
  if (key == nullptr) {
    list.Output(Channel::kLog, "ScanPreConfig: accessing registry key '%s' failed\n",
                key_path.c_str());
  } else {
    platform::RegValue value;
    // Names in capitals, so that each setting's name is an exact compare: the
    // scan looks every value of every instance up in the tables of Take.
    std::string name;
    for (uint32_t i = 0;; ++i) {
      list.Output(Channel::kLog, "ScanPreConfig: acquiring registry key value #%d\n",
                  static_cast<int>(i));
      if (key->EnumValue(i, &value) != platform::kRegSuccess) {
        list.Output(Channel::kLog, "ScanPreConfig: acquiring registry key value #%d failed\n",
                    static_cast<int>(i));
        break;
      }
      name.assign(value.name);
      str_upper(name.data());
      // As C text, as the log shows the name: one that goes on after a zero
      // byte is still the password's.
      const bool secret = std::strcmp(name.c_str(), "COLL_PASSWORD") == 0;
      list.Output(Channel::kLog, "ScanPreConfig: acquired registry key value #%d (%s) = '%s'\n",
                  static_cast<int>(i), value.name.c_str(),
                  secret ? support::MaskedSecret(value.data) : value.data.c_str());
      if (!Take(name, value, text, numbers)) {
        list.Output(Channel::kLog, "ScanPreConfig: ignoring registry key value #%d: '%s'\n",
                    static_cast<int>(i), value.name.c_str());
      }
    }
  }
  return key != nullptr;
}

// Reads the registration of one listed instance into `text`; whether it has
// one. An instance listed but not registered (its tool died, the key was
// deleted by hand) is named after its file, so that it can still be put, got
// and removed, and so that it keeps its line in the include file.
bool ReadInstance(DbConfigList& list, platform::Registry* hive, ServerKind kind,
                  const std::string& name, const std::string& file_name, ScannedValues* text,
                  CarriedNumbers* numbers) {
  const std::string stem = support::NamesOf(kind)->registry_stem;
  bool registered = ReadRegistration(list, hive, stem + name, text, numbers);
  // A directory with a "." before the stem names the instance wrongly; its
  // registration is then found under the name its file carries. (The default
  // instance is registered with an empty name: its key tells, not the name.)
  if ((!registered || text->server_id.empty()) && !file_name.empty() && file_name != name) {
    registered = ReadRegistration(list, hive, stem + file_name, text, numbers) || registered;
  }
  // A registration without a name is the default instance's alone.
  registered = registered && (!text->server_id.empty() || file_name.empty());
  if (!registered && !file_name.empty()) {
    list.Output(Channel::kLog,
                "ScanPreConfig: no registered name; naming the server '%s' after its file\n",
                file_name.c_str());
    text->server_id = file_name;
  }
  return registered;
}

// A scanned record of the values read; its service number is -1 when the
// registration has none.
std::unique_ptr<DbConfig> BuildRecord(DbConfigList& list, ServerKind kind,
                                      const ScannedValues& text, const CarriedNumbers& numbers) {
  auto record = std::make_unique<DbConfig>();
  record->setServerName(text.server_id);
  record->setLoginName(text.logon);
  record->setPassword(text.password);
  record->setVersion(text.version);
  record->setHomeDir(text.home);
  record->setErrorLog(text.errorlog);
  record->setServerType(support::KindNumber(kind));
  record->setWinAuthentication(text.win_auth);
  record->setLongLiveConnect(text.long_live);
  record->setIncludeDbNames(text.include_names);
  record->setPort(text.port);
  record->setTbldDailyFrequency(numbers.daily);
  record->setTbldWeeklyFrequency(numbers.weekly);
  record->setTbldMonthlyFrequency(numbers.monthly);
  record->setTbldCtimeHrs(numbers.hours);
  record->setTbldCtimeMins(numbers.minutes);
  record->setErrorlogStartupMaxEventRow(numbers.startup_rows);
  record->setErrorlogStartupMaxTime(numbers.startup_time);
  record->setErrorlogMaxEventRow(numbers.max_rows);
  if (kind == ServerKind::kSqlServer) {
    list.Output(Channel::kLog, "ScanPreConfig: setting MS SQL cluster server name '%s'\n",
                text.cluster.c_str());
    record->setClusterServer(text.cluster);
    record->setExtendedParams(text.disable_cursors);
  } else if (kind == ServerKind::kSybase) {
    record->setOcsDir(text.ocs);
  } else if (kind == ServerKind::kOracle) {
    record->setTnsAdmin(text.tns_admin);
    record->setExtendedParams(text.disable_cursors);
  }
  record->setConfigType(kConfigScanned);
  record->setServiceNumber(text.service_number);
  return record;
}

// The instance name in an instance file's name: the text between the stem
// and ".ini" ("...\VSQMMA_INST1.ini" gives "INST1"); empty for another name.
std::string NameInFileName(const std::string& path, std::string_view stem) {
  const std::string_view file = std::string_view(path).substr(path.find_last_of("\\/") + 1);
  constexpr std::string_view kSuffix = ".ini";
  if (file.size() < stem.size() + kSuffix.size() || file.substr(0, stem.size()) != stem ||
      file.substr(file.size() - kSuffix.size()) != kSuffix) {
    return "";
  }
  return std::string(file.substr(stem.size(), file.size() - stem.size() - kSuffix.size()));
}

// The instance name in an include line: from the end of the stem to the first
// "." of the line, wherever that is, so that a directory with a "." before the
// stem gives no name; empty without a stem.
std::string NameInLine(const std::string& line, std::string_view stem) {
  const size_t at = line.find(stem);
  if (at == std::string::npos) return "";
  const size_t start = at + stem.size();
  const size_t dot = line.find('.');
  return dot == std::string::npos || dot < start ? "" : line.substr(start, dot - start);
}

// 0 when the file can be opened for reading, else why not.
int FileStatus(const std::string& path) {
  errno = 0;
  if (platform::OpenFile(path, "r") != nullptr) return 0;
  return errno == ENOENT || errno == ENOTDIR ? ENOENT : (errno != 0 ? errno : EIO);
}

}  // namespace

int DbConfigList::GetPreConfigList(ServerKind kind, std::vector<std::string>* names) {
  std::vector<ListedInstance> listed;
  if (ReadIncludeFile(kind, &listed) != 0 || listed.empty()) return 0;
  for (ListedInstance& instance : listed) names->push_back(std::move(instance.name));
  return static_cast<int>(names->size());
}

int DbConfigList::ReadIncludeFile(ServerKind kind, std::vector<ListedInstance>* listed) {
  const support::KindNames* files = support::NamesOf(kind);
  if (files == nullptr || !files->scanned) return 0;
  const std::string etc = GetEtcDir(PathForm::kResolved);
  std::string contents;
  if (const int status = platform::ReadFileContents(etc + "\\" + files->include_file, &contents);
      status != 0) {
    // No include file is no configured instance; one that is there but cannot
    // be read must not pass for that, or the next regeneration would drop
    // every instance it lists.
    return status == ENOENT ? 0 : status;
  }
  const std::string prefix = "Add=" + etc + "\\" + files->ini_stem;
  std::string_view rest = contents;
  while (!rest.empty()) {
    const size_t end = rest.find('\n');
    const std::string_view raw = rest.substr(0, end);
    rest = end == std::string_view::npos ? std::string_view() : rest.substr(end + 1);
    if (const int status = ReadIncludeLine(raw, prefix, files->ini_stem, listed); status != 0) {
      return status;
    }
  }
  return 0;
}

int DbConfigList::ReadIncludeLine(std::string_view raw, const std::string& prefix,
                                  std::string_view stem, std::vector<ListedInstance>* listed) {
  if (raw.empty() || raw[0] != 'A') return 0;
  std::string_view trimmed = raw.substr(0, raw.find_last_not_of(" \t\r\n") + 1);
  trimmed.remove_prefix(std::min(trimmed.find_first_not_of(" \t"), trimmed.size()));
  const std::string line(trimmed);
  if (line.compare(0, 4, "Add=") != 0) return 0;
  const std::string path = line.substr(4);
  if (const int status = FileStatus(path); status != 0) {
    // An instance whose file is gone is not configured.
    return status == ENOENT ? 0 : status;
  }
  const std::string name = NameInLine(line, stem);
  Output(Channel::kLog, "GetPreConfigList: csPrefix: %s\n", prefix.c_str());
  Output(Channel::kLog, "GetPreConfigList: csTempName: %s\n", line.c_str());
  Output(Channel::kLog, "GetPreConfigList: csTempName2: %s\n", path.c_str());
  Output(Channel::kLog, "GetPreConfigList: csServerName: %s\n", name.c_str());
  // A file of another name is no instance of this kind.
  if (line.find(stem) == std::string::npos) return 0;
  for (const ListedInstance& existing : *listed) {
    if (existing.name == name) return 0;
  }
  listed->push_back({name, NameInFileName(path, stem)});
  return 0;
}

int DbConfigList::ScanPreConfig(ServerKind kind) {
  Output(Channel::kLog, "ScanPreConfig: enter\n");
  std::vector<ListedInstance> listed;
  if (const int status = ReadIncludeFile(kind, &listed); status != 0) {
    Output(Channel::kLog, "ScanPreConfig: the include file could not be read, errno =%d\n", status);
    return status;
  }
  Output(Channel::kLog, "ScanPreConfig: After GetPreConfigList :ServerCount[%d]\n",
         static_cast<int>(listed.size()));
  std::unique_ptr<platform::Registry> hive;
  (void)platform::Registry::Connect("", &hive);
  CarriedNumbers numbers;
  for (size_t n = 0; n < listed.size(); ++n) {
    Output(Channel::kLog, "ScanPreConfig: discovering config for configured server #%d\n",
           static_cast<int>(n));
    ScannedValues text;
    const bool registered =
        ReadInstance(*this, hive.get(), kind, listed[n].name, listed[n].file_name, &text, &numbers);
    auto record = BuildRecord(*this, kind, text, numbers);
    record->setRegistered(registered);
    if (text.service_number == -1) {
      const int number = GetServiceNumber(kind, *record);
      Output(Channel::kLog,
             "ScanPreConfig: setting missing service number for server '%s' "
             ":GetServiceNumber:[%d]\n",
             record->getServerName().c_str(), number);
      record->setServiceNumber(number);
    }
    Output(Channel::kLog, "ScanPreConfig: add configured server:\n");
    Add(std::move(record), kind);
  }
  Output(Channel::kLog, "ScanPreConfig: exit\n");
  return 0;
}

}  // namespace config
