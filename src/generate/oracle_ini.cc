// The instance .ini file of an Oracle agent instance.
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "generate/current_path.h"
#include "generate/ini_blocks.h"
#include "generate/version_rules.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kIni = support::kIniChannel;

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
  list.Output(kIni, "[Local Settings]\n");
  list.Output(kIni, "COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormAtSign).c_str());
  list.Output(kIni, "MTIRA_HIST_DIR=@LogPath@\\History\\@MarProd@\\@MarTask@\n");
  list.Output(kIni, "KDC_PORTS=(2 135 %s)\n", list.GetPortNumber(config::kFormAtSign).c_str());
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  list.Output(kIni, "COLL_LOGON=%s\n", record.getLoginName().c_str());
  list.Output(kIni, "COLL_PASSWORD=%s\n", record.getPassword().c_str());
  list.Output(kIni, "COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  list.Output(kIni, "COLL_DBVERSION=%s\n", record.getVersion().c_str());
  list.Output(kIni, "COLL_VERSION=%s\n", OracleVersionTag(record.getVersion()));
  list.Output(kIni, "COLL_SERVERID=@INSTANCENAME@\n");
  list.Output(kIni, "COLL_HOSTNAME=@COMPUTERNAME@\n");
  list.Output(kIni, "COLL_PREFIX=TEMP\n");
  list.Output(kIni, "COLL_USESHM=1\n");
  list.Output(kIni, "COLL_SERVICENUMBER=%d\n", serviceNumber);
  list.Output(kIni, "COLL_DISABLE_CURSORS=%s\n", record.getExtendedParams().c_str());
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::kFormAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::kFormAtSign).c_str());
  list.Output(kIni, "ORACLE_HOME=%s\n", home.c_str());
  list.Output(kIni, "ORACLE_SID=%s\n", record.getServerName().c_str());
  list.Output(kIni, "COLL_DBHOME=%s\n", home.c_str());
  list.Output(kIni, "MTIRA_PRODUCT=AFF_ALL_ORACLE\n");
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
  if (const std::string tns_admin = record.getTnsAdmin(); !tns_admin.empty()) {
    list.Output(kIni, "TNS_ADMIN=%s\n", tns_admin.c_str());
  } else {
    list.Output(kIni, "TNS_ADMIN=%s\\network\\admin\n", home.c_str());
  }
}

}  // namespace

int write_single_oracle_ini(config::DbConfigList& list, const config::DbConfig& record,
                            int serviceNumber) {
  list.Output(1, "\nwrite_single_oracle_ini: enter\n");
  std::string& path = CurrentFilePath();
  path = list.GetEtcDir(config::kFormResolved) + "\\VORMMA_" + record.getServerName() + ".ini";
  list.Output(1, "Generating .ini file '%s'\n", path.c_str());
  TraceExisting(list, path);

  ChannelFile file(list);
  if (const int opened = OpenWithDirectories(list, path, &file, open_init); opened != kWritten) {
    return opened;
  }
  list.Output(1, "File '%s' created and opened\n", path.c_str());
  list.Output(support::kIncludeChannel, "Add=%s\n", path.c_str());

  const std::string server = record.getServerName();
  WriteHeader(list, Banner::kLicence);
  WriteIdentity(list, kIdentity, server);
  WriteLocalSettings(list, record, serviceNumber);
  list.Output(kIni, "\n");
  const std::string collector = std::string(OracleVersionTag(record.getVersion())) + "COL.EXE";
  // The test-settings lines follow the collector section directly.
  WriteServices(list, kServices, serviceNumber, server, collector.c_str(), false);
  CopyTestSettings(list, list.GetEtcDir(config::kFormResolved) + "\\vdbtset.ini");

  if (const int committed = CommitGenerated(list, path, &file); committed != kWritten) {
    return committed;
  }
  list.Output(1, "Finished generating %s file\n", path.c_str());
  list.Output(1, "write_single_oracle_ini: exit\n");
  return kWritten;
}

}  // namespace generate
