// The instance .ini files of all Informix agent instances of the list.
#include <string>

#include "generate/agent_files.h"
#include "generate/channel_file.h"
#include "generate/ini_blocks.h"
#include "generate/instance_ini.h"
#include "generate/regcopy.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kIni = support::Channel::kIni;
constexpr ServerKind kInformix = ServerKind::kInformix;

const Identity kIdentity = {"VIX", "301", "Marlox Informix Monitoring Agent",
                            "Informix Monitoring Agent"};

const ServiceNames kServices = {"VMAInformixAgent",
                                "VMAInformixCollector",
                                "VIXAGENT",
                                "VIXCOLL",
                                "Marlox Vigilon Agent for Informix Instance ",
                                "Marlox Collector for Informix Instance ",
                                "VIXAGENT.EXE"};

void WriteLocalSettings(config::DbConfigList& list, const config::DbConfig& record,
                        int /*serviceNumber*/) {
  BeginLocalSettings(list, History::kNone);
  list.Output(kIni, "KDC_PORTS=(2 135 %s)\n",
              list.GetPortNumber(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "KDC_FAMILIES=@Protocol@\n");
  WriteLogonSettings(list, record);
  list.Output(kIni, "COLL_VERSION=VIX\n");
  list.Output(kIni, "COLL_SERVERID=@INSTANCENAME@\n");
  list.Output(kIni, "COLL_HOSTNAME=@COMPUTERNAME@\n");
  // With a backslash, unlike the other kinds; the Informix collector has
  // always been configured so.
  list.Output(kIni, "COLL_PREFIX=\\TEMP\n");
  list.Output(kIni, "COLL_USESHM=1\n");
  list.Output(kIni, "COLL_BINPATH=%s\n", list.GetBinDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "COLL_HOME=%s\n", list.GetLogDir(config::PathForm::kAtSign).c_str());
  list.Output(kIni, "INFORMIXDIR=%s\n", record.getHomeDir().c_str());
  list.Output(kIni, "INFORMIXSERVER=%s\n", record.getServerName().c_str());
  list.Output(kIni, "ONCONFIG=onconfig\n");
  list.Output(kIni, "INFORMIXSQLHOSTS=\\\\%s\n", list.GetHostName().c_str());
  list.Output(kIni, "MTIRA_PRODUCT=AFF_ALL_INFORMIX\n");
  list.Output(kIni, "CONFIG_VERSION=2.0.0\n");
}

const IniLayout kLayout = {
    // The enter and exit traces frame the whole list.
    .writer = nullptr,
    .kind = ServerKind::kInformix,
    .banner = Banner::kInformixTitle,
    .identity = kIdentity,
    .local_settings = &WriteLocalSettings,
    .services = kServices,
    // The Informix tools keep their test settings in the working directory.
    .test_settings = TestSettingsDir::kWorking,
};

}  // namespace

int write_informix_ini_files(config::DbConfigList& list, int count) {
  list.Output(Channel::kLog, "\nwrite_informix_ini_files: enter\n");
  for (int index = 0; index < count; ++index) {
    const config::DbConfig* record = list.GetAt(index, kInformix);
    if (record == nullptr) continue;
    if (WriteInstanceIni(list, *record, record->getServiceNumber(), kLayout, "VIXCOLL.EXE") !=
        kWritten) {
      return 0;
    }
    RunRegcopy(record->getHomeDir());
  }
  list.Output(Channel::kLog, "write_informix_ini_files: exit\n");
  return count;
}

}  // namespace generate
