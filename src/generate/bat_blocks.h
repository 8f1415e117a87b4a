// The parts that the start-up .bat files of the server kinds share.
#pragma once

#include <string>

#include "config/db_config.h"
#include "config/db_config_list.h"

namespace generate {

using support::Channel;
using support::ServerKind;

// "<resolved etc>\logs\History\<tag>\<server>". Built on the etc directory, not
// on the log directory: the agents look for their history there.
[[nodiscard]] std::string HistoryDir(config::DbConfigList& list, const char* tag,
                                     const std::string& server);

// Makes the history directory with all its parents; a failure is traced only.
void MakeHistoryDir(config::DbConfigList& list, const std::string& directory);

// "SET <name>=<value>", the value escaped by BatText: every value that comes
// from a configuration stream, a record or the environment goes through here
// or through BatText.
void WriteBatSetting(config::DbConfigList& list, const char* name, const std::string& value);

// The opening comment of the part a site may edit, naming the agent `product`.
void WriteEditableHeading(config::DbConfigList& list, const char* product);

// The instance, its login and its password ("SET INST=" ...).
void WriteBatLogonSettings(config::DbConfigList& list, const config::DbConfig& record);

// The comment that opens the part a site must leave alone.
void WriteFixedHeading(config::DbConfigList& list);

// The four settings every collector takes unchanged ("SET COLL_SERVERID=%INST%" ...).
void WriteFixedCollectorSettings(config::DbConfigList& list);

// The closing part: the collector's start line (it ends with a blank, as the
// agents' tools expect), then the agent's, whose registry key is
// "<product>\<release>\<server>" between quotes, where only the server's
// percent signs need doubling.
void WriteStartLines(config::DbConfigList& list, const std::string& collector, const char* product,
                     const char* release, const std::string& server);

// Writes the instance's start-up file "<etc>\<stem><server>.bat", with the
// kind's file stem, with `body` and then makes its history directory: what the
// SQL Server, Oracle and Sybase writers (named `writer` in the traces) share.
// Results as those writers'.
using BatBody = void (*)(config::DbConfigList& list, const config::DbConfig& record,
                         const std::string& history);
[[nodiscard]] int WriteInstanceBat(config::DbConfigList& list, const config::DbConfig& record,
                                   const char* writer, ServerKind kind, BatBody body);

}  // namespace generate
