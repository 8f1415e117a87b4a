// The two lists every operation builds at its start: the database servers
// discovered on the machine and the agent instances already configured.
#pragma once

#include <memory>
#include <string>

#include "config/db_config_list.h"
#include "discovery/db_server_list.h"

namespace driver {

using config::DbConfigList;
using discovery::DbServerList;

// The servers of the current kind discovered on this machine.
[[nodiscard]] std::unique_ptr<DbServerList> getDbServerList();

// A new configured-server list whose run log dbcfg_<instanceName>.log is open
// (when it can be), with the agent directory and port from the environment;
// null when the product's configuration directory is unknown.
[[nodiscard]] std::unique_ptr<DbConfigList> getDbConfigList(const std::string& instanceName);

// Scans the configured instances of the current kind into `list`; false, after
// its report, when the include file or an instance file it lists is there but
// cannot be read.
[[nodiscard]] bool scanConfiguredInstances(DbConfigList* list);

}  // namespace driver
