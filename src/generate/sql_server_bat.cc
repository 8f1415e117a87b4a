// The start-up .bat file of a SQL Server agent instance: the environment of
// the .ini file set by hand, with resolved directories, then the collector
// and the agent started in console mode.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/bat_text.h"
#include "generate/channel_file.h"
#include "generate/sql_server_settings.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kBat = support::Channel::kBat;

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  WriteEditableHeading(list, "VSQ");
  WriteBatSetting(list, "MTIRA_HIST_DIR", history);
  WriteBatSetting(list, "MSSQL_HOME", record.getHomeDir());
  WriteBatSetting(list, "COLL_ERRORLOG", record.getErrorLog());
  WriteBatLogonSettings(list, record);
  WriteBatSetting(list, "COLL_CLUSTERSERVER", record.getClusterServer());
  WriteBatSetting(list, "COLL_BINPATH", list.GetBinDir(config::PathForm::kResolved));
  WriteFixedHeading(list);
  WriteFixedCollectorSettings(list);
  WriteBatSetting(list, "COLL_CTL_HOME", list.GetEtcDir(config::PathForm::kResolved));
  WriteBatSetting(list, "COLL_HOME", list.GetLogDir(config::PathForm::kResolved));
  list.Output(kBat, "SET COLL_VERSION=VSQ\n");
  WriteBatSetting(list, "COLL_DBVERSION", record.getVersion());
  WriteBatSetting(list, "COLL_DBHOME", record.getHomeDir());
  WriteBatSetting(list, "COLL_PORT", record.getPort());
  WriteBatSetting(list, "COLL_LONG_LIVE_CONNECT", record.getLongLiveConnect());
  WriteBatSetting(list, "COLL_WINAUTHENTICATION", record.getWinAuthentication());
  WriteBatSetting(list, "COLL_DISABLE_CURSORS", record.getExtendedParams());
  WriteSqlServerTuning(list, kBatSyntax, record);
  WriteStartLines(list, "VSQCOLL", "VSQ", "610", server);
}

}  // namespace

int write_single_mssql_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_mssql_bat", ServerKind::kSqlServer,
                          &WriteBody);
}

}  // namespace generate
