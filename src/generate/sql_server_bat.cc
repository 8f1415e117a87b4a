// The start-up .bat file of a SQL Server agent instance: the environment of
// the .ini file set by hand, with resolved directories, then the collector
// and the agent started in console mode.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/channel_file.h"
#include "generate/sql_server_settings.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kBat = support::kBatChannel;

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  WriteEditableHeading(list, "VSQ");
  list.Output(kBat, "SET MTIRA_HIST_DIR=%s\n", history.c_str());
  list.Output(kBat, "SET MSSQL_HOME=%s\n", record.getHomeDir().c_str());
  list.Output(kBat, "SET COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  WriteBatLogonSettings(list, record);
  list.Output(kBat, "SET COLL_CLUSTERSERVER=%s\n", record.getClusterServer().c_str());
  list.Output(kBat, "SET COLL_BINPATH=%s\n", list.GetBinDir(config::kFormResolved).c_str());
  WriteFixedHeading(list);
  WriteFixedCollectorSettings(list);
  list.Output(kBat, "SET COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET COLL_HOME=%s\n", list.GetLogDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET COLL_VERSION=VSQ\n");
  list.Output(kBat, "SET COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kBat, "SET COLL_DBHOME=%s\n", record.getHomeDir().c_str());
  list.Output(kBat, "SET COLL_PORT=%s\n", record.getPort().c_str());
  list.Output(kBat, "SET COLL_LONG_LIVE_CONNECT=%s\n", record.getLongLiveConnect().c_str());
  list.Output(kBat, "SET COLL_WINAUTHENTICATION=%s\n", record.getWinAuthentication().c_str());
  list.Output(kBat, "SET COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  WriteSqlServerTuning(list, kBatSyntax, record);
  WriteStartLines(list, "VSQCOLL", "VSQ", "610", server);
}

}  // namespace

int write_single_mssql_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_mssql_bat", "MSMSQL_", "VSQ", &WriteBody);
}

}  // namespace generate
