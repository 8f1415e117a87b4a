#include "driver/server_lists.h"

#include <cerrno>
#include <cstring>

#include "discovery/other_discovery.h"
#include "discovery/sql_server_discovery.h"
#include "driver/report.h"
#include "framework/product_dirs.h"
#include "framework/startup.h"
#include "framework/trace.h"
#include "support/server_kind.h"

namespace driver {

std::unique_ptr<DbServerList> getDbServerList() {
  Ras1Scope trace("getDbServerList");
  auto list = std::make_unique<DbServerList>("");
  discovery::setDiscoveryVerbose(false);
  const support::ServerKind kind = support::GetServerKind();
  switch (kind) {
    case support::ServerKind::kOracle:
      discovery::scanOracleServers(list.get());
      break;
    case support::ServerKind::kSybase:
      discovery::scanSybaseServers(list.get());
      break;
    case support::ServerKind::kSqlServer:
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

std::unique_ptr<DbConfigList> getDbConfigList(const std::string& instanceName) {
  Ras1Scope trace("getDbConfigList");
  std::string directory;
  if (!VFW::Util::getMarloxConfigDir("SQ", &directory)) return nullptr;
  directory.pop_back();  // its separator

  // The agent directory reaches the list, and the programs the run starts,
  // through the environment.
  if (BSS1_PutEnv(("ORVAGT6_DIR=" + directory).c_str()) != 0) {
    RAS1_Printf(RAS1_ERROR, "getDbConfigList", "ORVAGT6_DIR could not be set");
  }
  auto list = std::make_unique<DbConfigList>();
  const std::string log = directory + "\\logs\\dbcfg_" + instanceName + ".log";
  int error = 0;
  if (list->OpenLog(log, &error) == 1) {
    RAS1_Printf(RAS1_DETAIL, "getDbConfigList", "'%s' trace log opened successfully", log.c_str());
  } else if (error == ELOOP) {
    // Never written through a link planted in its place; the run goes on.
    REPORT_ERROR("The log %s is a symbolic link; the run goes on without it", log.c_str());
  }
  list->SetConsole(0);
  list->Output(support::Channel::kLog, "\n\nStart Config -------------------------------------\n");
  list->SetEtcDir("ORVAGT6_DIR");
  list->SetPortNumber("PORTNUMBER");
  return list;
}

bool scanConfiguredInstances(DbConfigList* list) {
  const int status = list->ScanPreConfig(support::GetServerKind());
  if (status == 0) return true;
  REPORT_ERROR("Unable to read the configured instances in '%s': %s",
               list->GetEtcDir(config::PathForm::kResolved).c_str(), std::strerror(status));
  return false;
}

}  // namespace driver
