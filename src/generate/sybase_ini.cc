// The instance .ini file of a Sybase agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/ini_blocks.h"
#include "generate/instance_ini.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;

const Identity kIdentity = {"VSY", "610", "Orvane Monitoring for Databases: Sybase Server Agent",
                            "Monitoring Agent for Sybase Server"};

const ServiceNames kServices = {"VMASybaseAgent",
                                "VMASybaseCollector",
                                "VSYAGENT",
                                "VSYCOLL",
                                "Monitoring Agent for Sybase Server - ",
                                "Monitoring Agent for Sybase Server - Collector ",
                                "VSYAGENT.EXE"};

void WriteLocalSettings(config::DbConfigList& list, const config::DbConfig& record,
                        int serviceNumber) {
  BeginLocalSettings(list, History::kKept);
  list.Output(kIni, "KDC_PORTS=(2 135 %s)\n",
              list.GetPortNumber(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  WriteLogonSettings(list, record);
  list.Output(kIni, "COLL_VERSION=VSY\n");
  list.Output(kIni, "COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kIni, "COLL_DBHOME=%s\n", record.getHomeDir().c_str());
  // The record's open-client directory whatever the version; the .bat file
  // derives its own.
  list.Output(kIni, "SYBASE_OCS=%s\n", record.getOcsDir().c_str());
  WriteFixedCollectorEntries(list, serviceNumber);
  list.Output(kIni, "COLL_HOLD_SYSMON=0\n");
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "MTIRA_PRODUCT=AFF_ALL_SYBASE\n");
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
}

const IniLayout kLayout = {
    .writer = "write_single_sybase_ini",
    .kind = ServerKind::kSybase,
    .banner = Banner::kLicence,
    .identity = kIdentity,
    .local_settings = &WriteLocalSettings,
    .services = kServices,
};

}  // namespace

int write_single_sybase_ini(config::DbConfigList& list, const config::DbConfig& record,
                            int serviceNumber) {
  const char* collector =
      SybaseOlderCollector(record.getVersion()) ? "VSY12COL.EXE" : "VSY15COL.EXE";
  return WriteInstanceIni(list, record, serviceNumber, kLayout, collector);
}

}  // namespace generate
