// Discovery of the Microsoft SQL Server instances of a machine, and the
// release and version of one instance.
#pragma once

#include <string>

#include "discovery/db_server_list.h"

namespace discovery {

// Fills the list's SQL Server kind with the 2008 and 2005 instances of a 64-bit
// host; a 32-bit host yields none.
void scanSqlServerInstances(DbServerList* list);
void scanSqlServer2008(DbServerList* list, uint32_t options);
void scanSqlServer2005(DbServerList* list, uint32_t options);

// True when the digits before the first "." of `version` make `major`.
[[nodiscard]] bool checkMajorVersion(const std::string& version, int major);

// Writes into `output` (256 bytes) the data of the last value of the version
// key of `instanceName` (normally its "CurrentVersion"); answers the status of
// the last registry call.
long getMSSQLVersion(const char* instanceName, char* output);

}  // namespace discovery
