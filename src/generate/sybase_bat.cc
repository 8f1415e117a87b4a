// The start-up .bat file of a Sybase agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/channel_file.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kBat = support::kBatChannel;

void WriteOpenClient(config::DbConfigList& list, const config::DbConfig& record) {
  const std::string version = record.getVersion();
  const int major = SybaseMajorVersion(version);
  if (major < 12) {
    list.Output(kBat, "SET SYBASE_OCS=%s\n", record.getHomeDir().c_str());
    return;
  }
  // From version 12 on the line goes to the .ini channel, whose file is
  // closed by now, so no file gets it: the .bat file of these versions has
  // never set an open-client directory, and is kept so.
  list.Output(support::kIniChannel, "SYBASE_OCS=%s\\OCS-%i_%s\n", record.getHomeDir().c_str(),
              major, SybaseMinorDigit(version).c_str());
}

void WriteBody(config::DbConfigList& list, const config::DbConfig& record,
               const std::string& history) {
  const std::string server = record.getServerName();
  WriteEditableHeading(list, "VSY");
  list.Output(kBat, "SET KDC_PORTS=(2 135 %s)\n",
              list.GetPortNumber(config::kFormResolved).c_str());
  list.Output(kBat, "SET MTIRA_HIST_DIR=%s\n", history.c_str());
  WriteBatLogonSettings(list, record);
  list.Output(kBat, "SET COLL_BINPATH=%s\n", list.GetBinDir(config::kFormResolved).c_str());
  WriteFixedHeading(list);
  list.Output(kBat, "SET COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  WriteFixedCollectorSettings(list);
  list.Output(kBat, "SET COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET COLL_VERSION=VSY\n");
  list.Output(kBat, "SET COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kBat, "SET COLL_DBHOME=%s\n", record.getHomeDir().c_str());
  list.Output(kBat, "SET COLL_HOLD_SYSMON=0\n");
  WriteOpenClient(list, record);
  list.Output(kBat, "SET COLL_HOME=%s\n", list.GetLogDir(config::kFormResolved).c_str());
  list.Output(kBat, "SET MTIRA_PRODUCT=AFF_ALL_SYBASE\n");
  WriteStartLines(list, SybaseOlderCollector(record.getVersion()) ? "VSY12COL" : "VSY15COL", "VSY",
                  "610", server);
}

}  // namespace

int write_single_sybase_bat(config::DbConfigList& list, const config::DbConfig& record) {
  return WriteInstanceBat(list, record, "write_single_sybase_bat", "Sybase_", "VSY", &WriteBody);
}

}  // namespace generate
