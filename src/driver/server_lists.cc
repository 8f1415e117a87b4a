#include "driver/server_lists.h"

#include "discovery/other_discovery.h"
#include "discovery/sql_server_discovery.h"
#include "framework/trace.h"
#include "support/server_kind.h"

namespace driver {

std::unique_ptr<DbServerList> getDbServerList() {
  Ras1Scope trace("getDbServerList");
  auto list = std::make_unique<DbServerList>("");
  discovery::setDiscoveryVerbose(false);
  const int kind = GetServerKind();
  switch (kind) {
    case kServerOracle:
      discovery::scanOracleServers(list.get());
      break;
    case kServerSybase:
      discovery::scanSybaseServers(list.get());
      break;
    case kServerSqlServer:
      discovery::scanSqlServerInstances(list.get());
      break;
    default:
      break;
  }
  const int count = list->count(kind);
  RAS1_Printf(RAS1_DETAIL, "getDbServerList", "Discovered %d database server instances", count);
  for (int i = 0; i < count; ++i) {
    RAS1_Printf(RAS1_DETAIL, "getDbServerList", "Discovered server #%d instance name = '%s'", i,
                list->at(i, kind)->getServerName().c_str());
  }
  return list;
}

std::unique_ptr<DbConfigList> getDbConfigList(const std::string& /*instanceName*/) {
  return nullptr;
}

}  // namespace driver
