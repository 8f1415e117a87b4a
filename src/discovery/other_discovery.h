// Discovery of the Oracle instances and Sybase servers of a machine, for the
// agents of those kinds built on the same library.
#pragma once

#include <string>

#include "discovery/db_server_list.h"

namespace discovery {

void scanOracleServers(DbServerList* list);
void scanSybaseServers(DbServerList* list);

// The init file an Oracle init file names in its "IFILE" entry, or the file
// itself when it has none or cannot be read.
[[nodiscard]] std::string resolveInitFile(const std::string& initFile);

}  // namespace discovery
