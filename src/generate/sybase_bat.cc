// The start-up .bat file of a Sybase agent instance.
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

void WriteOpenClient(config::DbConfigList& list, const config::DbConfig& record) {
  const std::string version = record.getVersion();
  const int major = SybaseMajorVersion(version);
  if (major < 12) {
    WriteBatSetting(list, "SYBASE_OCS", record.getHomeDir());
    return;
  }
  // From version 12 on the line goes to the .ini channel, whose file is
  // closed by now, so no file gets it: the .bat file of these versions has
  // never set an open-client directory, and is kept so.
  list.Output(support::Channel::kIni, "SYBASE_OCS=%s\\OCS-%i_%s\n", record.getHomeDir().c_str(),
              major, SybaseMinorDigit(version).c_str());
}

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  WriteEditableHeading(list, "VSY");
  list.Output(kBat, "SET KDC_PORTS=(2 135 %s)\n",
              BatText(list.GetPortNumber(config::PathForm::kResolved)).c_str());
  WriteBatSetting(list, "MTIRA_HIST_DIR", history);
  WriteBatLogonSettings(list, record);
  WriteBatSetting(list, "COLL_BINPATH", list.GetBinDir(config::PathForm::kResolved));
  WriteFixedHeading(list);
  WriteBatSetting(list, "COLL_ERRORLOG", record.getErrorLog());
  WriteFixedCollectorSettings(list);
  WriteBatSetting(list, "COLL_CTL_HOME", list.GetEtcDir(config::PathForm::kResolved));
  list.Output(kBat, "SET COLL_VERSION=VSY\n");
  WriteBatSetting(list, "COLL_DBVERSION", record.getVersion());
  WriteBatSetting(list, "COLL_DBHOME", record.getHomeDir());
  list.Output(kBat, "SET COLL_HOLD_SYSMON=0\n");
  WriteOpenClient(list, record);
  WriteBatSetting(list, "COLL_HOME", list.GetLogDir(config::PathForm::kResolved));
  list.Output(kBat, "SET MTIRA_PRODUCT=AFF_ALL_SYBASE\n");
  WriteStartLines(list, SybaseOlderCollector(record.getVersion()) ? "VSY12COL" : "VSY15COL", "VSY",
                  "610", server);
}

}  // namespace

int write_single_sybase_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_sybase_bat", ServerKind::kSybase, &WriteBody);
}

}  // namespace generate
