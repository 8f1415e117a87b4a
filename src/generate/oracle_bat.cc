// The start-up .bat file of an Oracle agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/channel_file.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kBat = support::kBatChannel;

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  const std::string home = record.getHomeDir();
  const std::string tag = OracleVersionTag(record.getVersion());
  WriteEditableHeading(list, "VOR");
  list.Output(kBat, "SET KDC_PORTS=(2 135 %s)\n",
              list.GetPortNumber(config::kFormResolved).c_str());
  list.Output(kBat, "SET MTIRA_HIST_DIR=%s\n", history.c_str());
  list.Output(kBat, "SET ORACLE_HOME=%s\n", home.c_str());
  list.Output(kBat, "SET ORACLE_SID=%s\n", server.c_str());
  if (const std::string tns_admin = record.getTnsAdmin(); !tns_admin.empty()) {
    list.Output(kBat, "SET TNS_ADMIN=%s\n", tns_admin.c_str());
  } else {
    list.Output(kBat, "SET TNS_ADMIN=%s\\network\\admin\n", home.c_str());
  }
  list.Output(kBat, "SET COLL_DBHOME=%s\n", home.c_str());
  list.Output(kBat, "SET COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  WriteBatLogonSettings(list, record);
  list.Output(kBat, "SET COLL_BINPATH=%s\n", list.GetBinDir(config::kFormResolved).c_str());
  WriteFixedHeading(list);
  WriteFixedCollectorSettings(list);
  list.Output(kBat, "SET COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET COLL_HOME=%s\n", list.GetLogDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kBat, "SET COLL_VERSION=%s\n", tag.c_str());
  list.Output(kBat, "SET COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  list.Output(kBat, "SET MTIRA_PRODUCT=AFF_ALL_ORACLE\n");
  list.Output(kBat, "SET PATH=%s\\bin;%%PATH%%\n", home.c_str());
  WriteStartLines(list, tag + "COL", "VOR", "610", server);
}

}  // namespace

int write_single_oracle_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_oracle_bat", "Oracle_", "VOR", &WriteBody);
}

}  // namespace generate
