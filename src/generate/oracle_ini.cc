// The instance .ini file of an Oracle agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/ini_blocks.h"
#include "generate/instance_ini.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;

const Identity kIdentity = {"VOR", "610", "Orvane Monitoring for Databases: Oracle Agent",
                            "Monitoring Agent for Oracle"};

const ServiceNames kServices = {"VMAOracleAgent",
                                "VMAOracleCollector",
                                "VORAGENT",
                                "VORCOLL",
                                "Monitoring Agent for Oracle - ",
                                "Monitoring Agent for Oracle - Collector ",
                                "VORAGENT.EXE"};

void WriteLocalSettings(config::DbConfigList& list, const config::DbConfig& record,
                        int serviceNumber) {
  const std::string home = record.getHomeDir();
  BeginLocalSettings(list, History::kKept);
  list.Output(kIni, "KDC_PORTS=(2 135 %s)\n",
              list.GetPortNumber(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  WriteLogonSettings(list, record);
  list.Output(kIni, "COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kIni, "COLL_VERSION=%s\n", OracleVersionTag(record.getVersion()));
  WriteFixedCollectorEntries(list, serviceNumber);
  list.Output(kIni, "COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "ORACLE_HOME=%s\n", home.c_str());
  list.Output(kIni, "ORACLE_SID=%s\n", record.getServerName().c_str());
  list.Output(kIni, "COLL_DBHOME=%s\n", home.c_str());
  list.Output(kIni, "MTIRA_PRODUCT=AFF_ALL_ORACLE\n");
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
  if (const std::string tns_admin = record.getTnsAdmin(); !tns_admin.empty()) {
    list.Output(kIni, "TNS_ADMIN=%s\n", tns_admin.c_str());
  } else {
    list.Output(kIni, "TNS_ADMIN=%s\n", support::DefaultTnsAdmin(home).c_str());
  }
}

const IniLayout kLayout = {
    .writer = "write_single_oracle_ini",
    .kind = ServerKind::kOracle,
    .banner = Banner::kLicence,
    .identity = kIdentity,
    .local_settings = &WriteLocalSettings,
    .services = kServices,
    // The test-settings lines follow the collector section directly.
    .blank_after_services = false,
};

}  // namespace

int write_single_oracle_ini(config::DbConfigList& list, const config::DbConfig& record,
                            int serviceNumber) {
  const std::string collector = std::string(OracleVersionTag(record.getVersion())) + "COL.EXE";
  return WriteInstanceIni(list, record, serviceNumber, kLayout, collector);
}

}  // namespace generate
