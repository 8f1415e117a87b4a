// The instance .ini files of all Informix agent instances of the list.
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "generate/current_path.h"
#include "generate/ini_blocks.h"
#include "generate/regcopy.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr int kIni = support::kIniChannel;
constexpr int kInformix = 4;

const Identity kIdentity = {"VIX", "301", "Marlox Informix Monitoring Agent",
                            "Informix Monitoring Agent"};

const ServiceNames kServices = {"VMAInformixAgent",
                                "VMAInformixCollector",
                                "VIXAGENT",
                                "VIXCOLL",
                                "Marlox Vigilon Agent for Informix Instance ",
                                "Marlox Collector for Informix Instance ",
                                "VIXAGENT.EXE"};

void WriteLocalSettings(config::DbConfigList& list, const config::DbConfig& record) {
  list.Output(kIni, "[Local Settings]\n");
  list.Output(kIni, "COLL_CTL_HOME=%s\n", list.GetEtcDir(config::kFormAtSign).c_str());
  list.Output(kIni, "KDC_PORTS=(2 135 %s)\n", list.GetPortNumber(config::kFormAtSign).c_str());
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  list.Output(kIni, "COLL_LOGON=%s\n", record.getLoginName().c_str());
  list.Output(kIni, "COLL_PASSWORD=%s\n", record.getPassword().c_str());
  list.Output(kIni, "COLL_ERRORLOG=%s\n", record.getErrorLog().c_str());
  list.Output(kIni, "COLL_VERSION=VIX\n");
  list.Output(kIni, "COLL_SERVERID=@INSTANCENAME@\n");
  list.Output(kIni, "COLL_HOSTNAME=@COMPUTERNAME@\n");
  // With a backslash, unlike the other kinds; the Informix collector has
  // always been configured so.
  list.Output(kIni, "COLL_PREFIX=\\TEMP\n");
  list.Output(kIni, "COLL_USESHM=1\n");
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::kFormAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::kFormAtSign).c_str());
  list.Output(kIni, "INFORMIXDIR=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "INFORMIXSERVER=%s\n", record.getServerName().c_str());
  list.Output(kIni, "ONCONFIG=onconfig\n");
  list.Output(kIni, "INFORMIXSQLHOSTS=\\\\%s\n", list.GetHostName().c_str());
  list.Output(kIni, "MTIRA_PRODUCT=AFF_ALL_INFORMIX\n");
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
}

// One instance's file: kWritten, or the failure of its opening.
int WriteOne(config::DbConfigList& list, const config::DbConfig& record) {
  std::string& path = CurrentFilePath();
  path = list.GetEtcDir(config::kFormResolved) + "\\VIXMMA_" + record.getServerName() + ".ini";
  list.Output(1, "Generating .ini file '%s'\n", path.c_str());
  TraceExisting(list, path);

  ChannelFile file(list);
  if (const int opened = OpenWithDirectories(list, path, &file, open_init); opened != kWritten) {
    return opened;
  }
  list.Output(1, "File '%s' created and opened\n", path.c_str());
  list.Output(support::kIncludeChannel, "Add=%s\n", path.c_str());

  const std::string server = record.getServerName();
  WriteHeader(list, Banner::kInformixTitle);
  WriteIdentity(list, kIdentity, server);
  WriteLocalSettings(list, record);
  list.Output(kIni, "\n");
  WriteServices(list, kServices, record.getServiceNumber(), server, "VIXCOLL.EXE", true);
  // The Informix tools keep their test settings in the working directory.
  CopyTestSettings(list, "vdbtset.ini");

  if (const int committed = CommitGenerated(list, path, &file); committed != kWritten) {
    return committed;
  }
  list.Output(1, "Finished generating %s file\n", path.c_str());
  RunRegcopy(record.getHomeDir());
  return kWritten;
}

}  // namespace

int write_informix_ini_files(config::DbConfigList& list, int count) {
  list.Output(1, "\nwrite_informix_ini_files: enter\n");
  for (int index = 0; index < count; ++index) {
    const config::DbConfig* record = list.GetAt(index, kInformix);
    if (record == nullptr) continue;
    if (WriteOne(list, *record) != kWritten) return 0;
  }
  list.Output(1, "write_informix_ini_files: exit\n");
  return count;
}

}  // namespace generate
