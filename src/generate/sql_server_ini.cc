// The instance .ini file of a SQL Server agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/ini_blocks.h"
#include "generate/instance_ini.h"
#include "generate/sql_server_settings.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;

const Identity kIdentity = {"VSQ", "610",
                            "Orvane Monitoring for Databases: Microsoft SQL Server Agent",
                            "Monitoring Agent for Microsoft SQL Server"};

const ServiceNames kServices = {"VMAMSSQLAgent",
                                "VMAMSSQLCollector",
                                "VSQAGENT",
                                "VSQCOLL",
                                "Monitoring Agent for Microsoft SQL Server - ",
                                "Monitoring Agent for Microsoft SQL Server - Collector ",
                                "VSQAGENT.EXE"};

void WriteLocalSettings(config::DbConfigList& list, const config::DbConfig& record,
                        int serviceNumber) {
  BeginLocalSettings(list, History::kKept);
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  list.Output(kIni, "MTIRA_SIT_PATH=@BinPath@\n");
  list.Output(kIni, "KDS_RATE_CACHE_SIZE=8192\n");
  list.Output(kIni, "KDS_RATE_ENABLEFIRE=false\n");
  WriteLogonSettings(list, record);
  list.Output(kIni, "COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kIni, "COLL_DBHOME=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "COLL_CLUSTERSERVER=%s\n", record.getClusterServer().c_str());
  list.Output(kIni, "COLL_VERSION=VSQ\n");
  WriteFixedCollectorEntries(list, serviceNumber);
  // The key has always been written with this blank; the collector's reader
  // expects it so.
  list.Output(kIni, "COLL_PORT =%s\n", record.getPort().c_str());
  list.Output(kIni, "COLL_LONG_LIVE_CONNECT=%s\n", record.getLongLiveConnect().c_str());
  list.Output(kIni, "COLL_WINAUTHENTICATION=%s\n", record.getWinAuthentication().c_str());
  list.Output(kIni, "COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "MSSQL_HOME=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
  WriteSqlServerTuning(list, kIniSyntax, record);
}

// The 64-bit marker and the file that maps the agent's executable to its
// environment.
void WriteEnvironmentMap(config::DbConfigList& list) {
  list.Output(kIni, "[VIN64BIT]\n");
  list.Output(kIni, "\n");
  list.Output(kIni, ";--- Map executable to file in SOFTWARE\\Marlox\\VBS_ENVPATH\n");
  list.Output(kIni, "[REG:VBS_ENVPATH]\n");
  list.Output(kIni, "vsqagent=@EtcPath@\\vsqenv\n");
  list.Output(kIni, "\n");
  list.Output(kIni, "\n");
}

const IniLayout kLayout = {
    .writer = "write_single_mssql_ini",
    .kind = ServerKind::kSqlServer,
    .banner = Banner::kLicence,
    .identity = kIdentity,
    .local_settings = &WriteLocalSettings,
    .services = kServices,
    .extra_sections = &WriteEnvironmentMap,
    // The one section that the site edits.
    .keeps_override_section = true,
};

}  // namespace

int write_single_mssql_ini(config::DbConfigList& list, const config::DbConfig& record,
                           int serviceNumber) {
  return WriteInstanceIni(list, record, serviceNumber, kLayout, "VSQCOLL.EXE");
}

}  // namespace generate
