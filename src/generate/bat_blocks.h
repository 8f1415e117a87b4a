// The parts that the start-up .bat files of the server kinds share.
#pragma once

#include <string>

#include "config/db_config_list.h"

namespace generate {

// "<resolved etc>\logs\History\<tag>\<server>". Built on the etc directory, not
// on the log directory: the agents look for their history there.
[[nodiscard]] std::string HistoryDir(config::DbConfigList& list, const char* tag,
                                     const std::string& server);

// Makes the history directory with all its parents; a failure is traced only.
void MakeHistoryDir(config::DbConfigList& list, const std::string& directory);

// The four settings every collector takes unchanged ("SET COLL_SERVERID=%INST%" ...).
void WriteFixedCollectorSettings(config::DbConfigList& list);

// The collector start line; it ends with a blank, as the agents' tools expect.
void WriteCollectorStart(config::DbConfigList& list, const std::string& collector);

// Writes the instance's start-up file "<etc>\<stem><server>.bat" with `body`
// and then makes its history directory: what the SQL Server, Oracle and Sybase
// writers (named `writer` in the traces) share. Results as those writers'.
using BatBody = void (*)(config::DbConfigList& list, const config::DbConfig& record,
                         const std::string& history);
[[nodiscard]] int WriteInstanceBat(config::DbConfigList& list, const config::DbConfig& record,
                                   const char* writer, const char* stem, const char* product,
                                   BatBody body);

}  // namespace generate
