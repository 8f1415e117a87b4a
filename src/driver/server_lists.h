// The two lists every operation builds at its start: the database servers
// discovered on the machine and the agent instances already configured.
#pragma once

#include <memory>
#include <string>

#include "discovery/db_server_list.h"

namespace driver {

using discovery::DbServerList;

// Stand-in until the configuration store exists: no list is built, and the
// operations take the paths they take for a missing list.
struct DbConfigList {};

// The servers of the current kind discovered on this machine.
[[nodiscard]] std::unique_ptr<DbServerList> getDbServerList();
[[nodiscard]] std::unique_ptr<DbConfigList> getDbConfigList(const std::string& instanceName);

}  // namespace driver
