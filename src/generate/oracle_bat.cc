// The start-up .bat file of an Oracle agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/bat_text.h"
#include "generate/channel_file.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kBat = support::Channel::kBat;

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  const std::string home = record.getHomeDir();
  const std::string tag = OracleVersionTag(record.getVersion());
  WriteEditableHeading(list, "VOR");
  list.Output(kBat, "SET KDC_PORTS=(2 135 %s)\n",
              BatText(list.GetPortNumber(config::PathForm::kResolved)).c_str());
  WriteBatSetting(list, "MTIRA_HIST_DIR", history);
  WriteBatSetting(list, "ORACLE_HOME", home);
  WriteBatSetting(list, "ORACLE_SID", server);
  if (const std::string tns_admin = record.getTnsAdmin(); !tns_admin.empty()) {
    WriteBatSetting(list, "TNS_ADMIN", tns_admin);
  } else {
    WriteBatSetting(list, "TNS_ADMIN", support::DefaultTnsAdmin(home));
  }
  WriteBatSetting(list, "COLL_DBHOME", home);
  WriteBatSetting(list, "COLL_ERRORLOG", record.getErrorLog());
  WriteBatLogonSettings(list, record);
  WriteBatSetting(list, "COLL_BINPATH", list.GetBinDir(config::PathForm::kResolved));
  WriteFixedHeading(list);
  WriteFixedCollectorSettings(list);
  WriteBatSetting(list, "COLL_CTL_HOME", list.GetEtcDir(config::PathForm::kResolved));
  WriteBatSetting(list, "COLL_HOME", list.GetLogDir(config::PathForm::kResolved));
  WriteBatSetting(list, "COLL_DBVERSION", record.getVersion());
  WriteBatSetting(list, "COLL_VERSION", tag);
  WriteBatSetting(list, "COLL_DISABLE_CURSORS", record.getExtendedParams());
  list.Output(kBat, "SET MTIRA_PRODUCT=AFF_ALL_ORACLE\n");
  list.Output(kBat, "SET PATH=%s\\bin;%%PATH%%\n", BatText(home).c_str());
  WriteStartLines(list, tag + "COL", "VOR", "610", server);
}

}  // namespace

int write_single_oracle_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_oracle_bat", ServerKind::kOracle, &WriteBody);
}

}  // namespace generate
