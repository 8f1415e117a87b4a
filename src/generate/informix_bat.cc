// The start-up .bat files of all Informix agent instances of the list.
#include <string>

#include "generate/agent_files.h"
#include "generate/bat_blocks.h"
#include "generate/bat_text.h"
#include "generate/channel_file.h"
#include "generate/current_path.h"
#include "generate/regcopy.h"
#include "support/config_log.h"

namespace generate {

namespace {

constexpr auto kBat = support::Channel::kBat;
constexpr ServerKind kInformix = ServerKind::kInformix;

void WriteBody(config::DbConfigList& list, const config::DbConfig& record) {
  const std::string server = record.getServerName();
  WriteEditableHeading(list, "VIX");
  list.Output(kBat, "SET KDC_PORTS=(2 135 %s)\n",
              BatText(list.GetPortNumber(config::PathForm::kResolved)).c_str());
  WriteBatSetting(list, "INFORMIXDIR", record.getHomeDir());
  WriteBatSetting(list, "INFORMIXSERVER", server);
  list.Output(kBat, "SET ONCONFIG=onconfig\n");
  WriteBatSetting(list, "INFORMIXSQLHOSTS", "\\\\" + list.GetHostName());
  WriteBatSetting(list, "COLL_ERRORLOG", record.getErrorLog());
  WriteBatLogonSettings(list, record);
  WriteBatSetting(list, "COLL_BINPATH", list.GetBinDir(config::PathForm::kResolved));
  WriteFixedHeading(list);
  WriteFixedCollectorSettings(list);
  WriteBatSetting(list, "COLL_CTL_HOME", list.GetEtcDir(config::PathForm::kResolved));
  WriteBatSetting(list, "COLL_HOME", list.GetLogDir(config::PathForm::kResolved));
  list.Output(kBat, "SET COLL_VERSION=VIX\n");
  // The Informix agent is of release 301, not 610.
  WriteStartLines(list, "VIXCOLL", "VIX", "301", server);
}

}  // namespace

int write_informix_bat_files(config::DbConfigList& list, int count) {
  list.Output(Channel::kLog, "\nwrite_informix_bat_files: enter\n");
  for (int index = 0; index < count; ++index) {
    const config::DbConfig* record = list.GetAt(index, kInformix);
    if (record == nullptr) continue;
    std::string& path = CurrentFilePath();
    path = list.GetEtcDir(config::PathForm::kResolved) + "\\" +
           support::NamesOf(kInformix)->BatFile(record->getServerName());
    // An existing file is replaced without a trace.
    ChannelFile file(list);
    if (OpenWithDirectories(list, path, &file, open_bat) != kWritten) return 0;
    WriteBody(list, *record);
    if (CommitGenerated(list, path, &file) != kWritten) return 0;
    list.Output(Channel::kLog, "Finished generating %s file\n", path.c_str());
    RunRegcopy(record->getHomeDir());
  }
  list.Output(Channel::kLog, "write_informix_bat_files: exit\n");
  return count;
}

}  // namespace generate
