// The two lists every operation builds at its start: the database servers
// discovered on the machine and the agent instances already configured.
#pragma once

#include <memory>
#include <string>

namespace driver {

// Stand-ins until discovery and the configuration store exist: no list is
// built, and the operations take the paths they take for a missing list.
struct DbServerList {};
struct DbConfigList {};

[[nodiscard]] std::unique_ptr<DbServerList> getDbServerList();
[[nodiscard]] std::unique_ptr<DbConfigList> getDbConfigList(const std::string& instanceName);

}  // namespace driver
