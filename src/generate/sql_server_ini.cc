// The instance .ini file of a SQL Server agent instance.
#include <memory>
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "generate/current_path.h"
#include "generate/ini_blocks.h"
#include "generate/override_section.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kIni = support::kIniChannel;

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
  const std::string server = record.getServerName();
  list.Output(kIni, "[Local Settings]\n");
  list.Output(kIni, "COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormAtSign).c_str());
  list.Output(kIni, "MTIRA_HIST_DIR=@LogPath@\\History\\@MarProd@\\@MarTask@\n");
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  list.Output(kIni, "MTIRA_SIT_PATH=@BinPath@\n");
  list.Output(kIni, "KDS_RATE_CACHE_SIZE=8192\n");
  list.Output(kIni, "KDS_RATE_ENABLEFIRE=false\n");
  list.Output(kIni, "COLL_LOGON=%s\n", record.getLoginName().c_str());
  // Already in its stored (protected) form.
  list.Output(kIni, "COLL_PASSWORD=%s\n", record.getPassword().c_str());
  list.Output(kIni, "COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  list.Output(kIni, "COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kIni, "COLL_DBHOME=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "COLL_CLUSTERSERVER=%s\n", record.getClusterServer().c_str());
  list.Output(kIni, "COLL_VERSION=VSQ\n");
  list.Output(kIni, "COLL_SERVERID=@INSTANCENAME@\n");
  list.Output(kIni, "COLL_HOSTNAME=@COMPUTERNAME@\n");
  list.Output(kIni, "COLL_PREFIX=TEMP\n");
  list.Output(kIni, "COLL_USESHM=1\n");
  list.Output(kIni, "COLL_SERVICENUMBER=%d\n", serviceNumber);
  // The key has always been written with this blank; the collector's reader
  // expects it so.
  list.Output(kIni, "COLL_PORT =%s\n", record.getPort().c_str());
  list.Output(kIni, "COLL_LONG_LIVE_CONNECT=%s\n", record.getLongLiveConnect().c_str());
  list.Output(kIni, "COLL_WINAUTHENTICATION=%s\n", record.getWinAuthentication().c_str());
  list.Output(kIni, "COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::kFormAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::kFormAtSign).c_str());
  list.Output(kIni, "MSSQL_HOME=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
  if (list.IsNamedInstance(record.getHomeDir()) != 0) {
    list.Output(kIni, "KDH_SERVICEPOINT=@COMPUTERNAME@_SQ_%s\n", server.c_str());
    list.Output(kIni, "IRA_SERVICE_INTERFACE_NAME=@COMPUTERNAME@_SQ_%s\n", server.c_str());
    list.Output(kIni, "VSQ_NAMED_INSTANCE=1\n");
  } else {
    list.Output(kIni, "KDH_SERVICEPOINT=@COMPUTERNAME@_SQ\n");
    list.Output(kIni, "IRA_SERVICE_INTERFACE_NAME=@COMPUTERNAME@_SQ\n");
    list.Output(kIni, "VSQ_NAMED_INSTANCE=0\n");
  }
  list.Output(kIni, "COLL_INCLUDE_DBNAMES=%s\n", record.getIncludeDbNames().c_str());
  list.Output(kIni, "COLL_TBLD_DAILY_FREQUENCY=%d\n", record.getTbldDailyFrequency());
  list.Output(kIni, "COLL_TBLD_WEEKLY_FREQUENCY=%d\n", record.getTbldWeeklyFrequency());
  list.Output(kIni, "COLL_TBLD_MONTHLY_FREQUENCY=%d\n", record.getTbldMonthlyFrequency());
  list.Output(kIni, "COLL_TBLD_CTIME_HRS=%d\n", record.getTbldCtimeHrs());
  list.Output(kIni, "COLL_TBLD_CTIME_MINS=%d\n", record.getTbldCtimeMins());
  list.Output(kIni, "COLL_ERRORLOG_STARTUP_MAX_TIME=%d\n", record.getErrorlogStartupMaxTime());
  list.Output(kIni, "COLL_ERRORLOG_STARTUP_MAX_EVENT_ROW=%d\n",
              record.getErrorlogStartupMaxEventRow());
  list.Output(kIni, "COLL_ERRORLOG_MAX_EVENT_ROW=%d\n", record.getErrorlogMaxEventRow());
}

}  // namespace

int write_single_mssql_ini(config::DbConfigList& list, const config::DbConfig& record,
                           int serviceNumber) {
  list.Output(1, "\nwrite_single_mssql_ini: enter\n");
  std::string& path = CurrentFilePath();
  path = list.GetEtcDir(config::kFormResolved) + "\\VSQMMA_" + record.getServerName() + ".ini";
  list.Output(1, "Generating .ini file '%s'\n", path.c_str());

  const std::unique_ptr<char[]> saved = SaveOverrideSection(list, path);
  TraceExisting(list, path);

  ChannelFile file(list);
  // The saved section goes into the new file before it replaces the old one,
  // so that no moment sees the file without it.
  if (saved != nullptr) {
    file.SetFinisher(
        [&saved](const std::string& staged) { RestoreOverrideSection(saved.get(), staged); });
  }
  if (const int opened = OpenWithDirectories(list, path, &file, open_init); opened != kWritten) {
    return opened;
  }
  list.Output(1, "File '%s' created and opened\n", path.c_str());
  // Reaches the include file only while it is being written.
  list.Output(support::kIncludeChannel, "Add=%s\n", path.c_str());

  const std::string server = record.getServerName();
  WriteHeader(list, Banner::kLicence);
  WriteIdentity(list, kIdentity, server);
  WriteLocalSettings(list, record, serviceNumber);
  list.Output(kIni, "\n");
  list.Output(kIni, "[VIN64BIT]\n");
  list.Output(kIni, "\n");
  list.Output(kIni, ";--- Map executable to file in SOFTWARE\\Marlox\\VBS_ENVPATH\n");
  list.Output(kIni, "[REG:VBS_ENVPATH]\n");
  list.Output(kIni, "vsqagent=@EtcPath@\\vsqenv\n");
  list.Output(kIni, "\n");
  list.Output(kIni, "\n");
  WriteServices(list, kServices, serviceNumber, server, "VSQCOLL.EXE", true);
  CopyTestSettings(list, list.GetEtcDir(config::kFormResolved) + "\\vdbtset.ini");

  if (const int committed = CommitGenerated(list, path, &file); committed != kWritten) {
    return committed;
  }
  list.Output(1, "Finished generating %s file\n", path.c_str());
  list.Output(1, "write_single_mssql_ini: exit\n");
  return kWritten;
}

}  // namespace generate
