// The parts that the instance .ini files of all server kinds share: the
// comment header, the identity section, the local-settings entries most kinds
// have alike, the two service sections and the test-settings lines at the end.
#pragma once

#include <string>

#include "config/db_config.h"
#include "config/db_config_list.h"

namespace generate {

using support::Channel;
using support::ServerKind;

// The comment lines that open the file. The Informix file carries a short
// title and copyright pair where the others carry the licence notice.
enum class Banner { kLicence, kInformixTitle };
void WriteHeader(config::DbConfigList& list, Banner banner);

struct Identity {
  const char* product;      // "VSQ"
  const char* version;      // "610"
  const char* description;  // MarDesc
  const char* title;        // VinDesc
};
void WriteIdentity(config::DbConfigList& list, const Identity& identity, const std::string& server);

// Opens the [Local Settings] section with the etc directory and, for the
// kinds whose agents keep a history, the history directory.
enum class History { kNone, kKept };
void BeginLocalSettings(config::DbConfigList& list, History history);

// The database logon, its password in stored form, and the error log.
void WriteLogonSettings(config::DbConfigList& list, const config::DbConfig& record);

// The entries that the SQL Server, Oracle and Sybase collectors take
// unchanged, then the instance's service number.
void WriteFixedCollectorEntries(config::DbConfigList& list, int serviceNumber);

struct ServiceNames {
  const char* agent_section;      // "VMAMSSQLAgent" + number
  const char* collector_section;  // "VMAMSSQLCollector" + number
  const char* agent_name;         // "VSQAGENT" + number
  const char* collector_name;     // "VSQCOLL" + number
  const char* agent_label;        // + server name
  const char* collector_label;    // + server name
  const char* agent_program;      // "VSQAGENT.EXE"
};
// "[Services]" and the agent and collector sections; the collector runs
// `collector_program`, or the common collector when the list's switch is 1.
// `blank_after` ends the collector section with an empty line.
void WriteServices(config::DbConfigList& list, const ServiceNames& names, int serviceNumber,
                   const std::string& server, const char* collector_program, bool blank_after);

// Copies the lines of the test-settings file `path` to the ini channel; a
// missing file is traced and only ends the .ini file earlier. 0, or the errno
// value of a file that is there but cannot be read: the .ini file would then
// lack settings without a word.
[[nodiscard]] int CopyTestSettings(config::DbConfigList& list, const std::string& path);

}  // namespace generate
